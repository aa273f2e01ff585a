// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_CLIMB_H
#define SELVANE_ASSESSMENT_CLIMB_H

#include <cstddef>

#include "Assessment/PolishModel.h"
#include "Assessment/SplineField.h"
#include "Math/RigidMotion.h"

/// Why a climb stopped.
enum class PolishEnd {
    Converged, ///< a maximum: the last step was below a thousandth of an angstrom and a hundredth of a degree
    Iterations, ///< it was not there after as many trials as were allowed
    OutOfMap    ///< no point of the model is within two voxels of the map, so that no way leads up
};

/// How far a climb may go.
struct ClimbLimits {
    double firstRadius = 0.0;     ///< of the first step, angstrom, turns times the radius of gyration
    std::size_t iterations = 100; ///< trials, each of which takes one evaluation

    /// Of a field that shows details of this size, angstrom: a quarter of it is where the quadratic model of
    /// the overlap holds.
    static ClimbLimits forResolution(double resolution);
};

/// A pose at the top.
struct Polished {
    RigidMotion motion;          ///< from the file of the model to the frame of the map
    double value = 0.0;          ///< of the overlap
    double gain = 0.0;           ///< over that at the start, not below 0
    std::size_t evaluations = 0; ///< of the overlap with its derivatives
    PolishEnd end = PolishEnd::Converged;
};

/// Climbs from a pose to the nearest maximum of the overlap (see PoseOverlap): Newton's method in a trust
/// region whose radius follows the ratio of actual to expected gain (J. Nocedal, S. Wright, Numerical
/// Optimization, 2006, chapter 4), with exact second derivatives. Turns are counted as the arc at the radius
/// of gyration, so that all six unknowns are lengths, and every step starts anew from the placement that it
/// found, so that the result is a rotation however far it went. The value never falls.
/// @param start  from the file of the model to the frame of the map
/// @note The same bits on every run.
Polished climb(const SplineField& field, const PolishModel& model, const RigidMotion& start,
               const ClimbLimits& limits);

#endif
