// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_ASSESSPOSES_H
#define SELVANE_ASSESSMENT_ASSESSPOSES_H

#include <cstddef>
#include <string>
#include <vector>

#include "Assessment/AssessedPose.h"
#include "Assessment/ScoringMap.h"
#include "Assessment/confidence.h"
#include "Formats/AtomicModel.h"
#include "Search/SearchObserver.h"

/// What is asked about the places of a model.
struct AssessmentRequest {
    std::size_t copies = 1; ///< wanted in the map; 0: the best and what stands out as it does
    ConfidenceRule rule;
    std::size_t threads = 1; ///< at least 1; the result is the same for any number
};

/// Places of a model, by their local correlations.
struct Assessment {
    std::vector<AssessedPose> poses; ///< best first
    std::vector<std::size_t> copies; ///< indices of poses that stand beside each other
    Confidence confidence = Confidence::Low;
    std::string reason; ///< a sentence
};

/// Scores places, puts the best first, finds those that are equivalent, judges how they stand out, and
/// chooses copies.
/// @param map     at its own resolution
/// @param coarse  the same map at the resolution of equivalence::resolutionFor()
/// @param poses   merged, so that no two are one; motion and what tells of scan and polish are kept
/// @throws SearchCancelled when the observer asks for it
Assessment assessPoses(const ScoringMap& map, const ScoringMap& coarse, const std::vector<ModelAtom>& atoms,
                       std::vector<AssessedPose> poses, const AssessmentRequest& request,
                       SearchObserver& observer);

#endif
