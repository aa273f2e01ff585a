// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_ASSESSEDPOSE_H
#define SELVANE_ASSESSMENT_ASSESSEDPOSE_H

#include <cstddef>
#include <vector>

#include "Assessment/PoseScorer.h"
#include "Assessment/climb.h"
#include "Assessment/confidence.h"
#include "Math/RigidMotion.h"

/// A place of the model with all that is said about it.
struct AssessedPose {
    RigidMotion motion;       ///< from the model's file to the frame of the map
    PoseScores scores;        ///< at the map's own resolution
    double scanScore = 0.0;   ///< of the scan that found it
    double polishValue = 0.0; ///< the overlap that it was climbed to, in units of the largest of all
    double polishGain = 0.0;  ///< over that at the start, in the same
    PolishEnd end = PolishEnd::Converged;
    std::size_t hits = 0;         ///< places of the scan that came to it
    std::size_t equivalentTo = 0; ///< index of the first place that is equivalent, or its own
    double z = 0.0;               ///< see PlaceJudgement
    double gap = 0.0;             ///< see PlaceJudgement
    Confidence confidence = Confidence::Low;
    std::vector<double> amplitudes; ///< of the model's modes, if it was let flex
};

#endif
