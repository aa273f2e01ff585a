// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_POSERECORD_H
#define SELVANE_SEARCH_POSERECORD_H

#include <array>
#include <cstddef>
#include <vector>

#include "Math/cMatrix33.h"
#include "Math/cVector3.h"

class FlexibleFitConformation;

/// A pose that a search found, as a value of its own: what MapFrame::place() needs to put the model there.
/// The increments and the amplitudes act in the frame of the model, before the rotation.
struct PoseRecord {
    double score = 0.0;               ///< of the node, by which poses are ranked
    double refinedScore = 0.0;        ///< by the local model, once refined
    std::array<double, 3> angles{};   ///< of cMatrix33::rotationXYZ, radians
    cVector3 tau = cVector3(0, 0, 0); ///< of the node: translation on the grid of the correlation, angstrom
    cVector3 period = cVector3(0, 0, 0);    ///< of that grid, in which translations are cyclic, angstrom
    cVector3 dTau = cVector3(0, 0, 0);      ///< increment of the translation, angstrom
    cVector3 dRotation = cVector3(0, 0, 0); ///< increment of the rotation as a vector, radians
    std::vector<double> amplitudes;         ///< of the modes
    std::size_t scoreKind = 0; ///< 0: of the scan's score; 1: of the overlap that a local scan ranks by, too

    cMatrix33 rotation() const { return cMatrix33::rotationXYZ(angles[0], angles[1], angles[2]); }
};

/// @throws std::logic_error for a conformation without a grid
PoseRecord toPoseRecord(const FlexibleFitConformation& conformation);

#endif
