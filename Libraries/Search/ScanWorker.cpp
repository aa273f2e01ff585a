// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/ScanWorker.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

#include "Math/structure.h"
#include "Sampler/cAngularSampler.h"

std::vector<Rotation> scanRotations(double step) {
    std::vector<Rotation> rotations = cAngularSampler::constructRotations(step);
    constexpr double identityTolerance = 1e-11;
    const bool hasIdentity = std::any_of(rotations.begin(), rotations.end(), [](const Rotation& rotation) {
        return norm(rotation) < identityTolerance;
    });
    if (!hasIdentity) {
        rotations.push_back({0.0, 0.0, 0.0});
    }
    return rotations;
}

std::vector<HexaustFlexibleFitConformation> mergeCandidates(std::vector<CandidateSet>& sets) {
    if (sets.empty()) {
        throw std::invalid_argument("there are no sets of workers to merge");
    }
    CandidateSet& merged = sets.front();
    for (std::size_t i = 1; i < sets.size(); ++i) {
        for (const HexaustFlexibleFitConformation& candidate : sets[i]) {
            merged.add(candidate);
        }
    }
    return merged.toStdVector();
}

std::vector<CandidateSet> takeSetsOfScore(std::vector<CandidateSet>& sets, std::size_t perWorker,
                                          std::size_t score) {
    if (perWorker == 0 || sets.size() % perWorker != 0) {
        throw std::invalid_argument(std::to_string(sets.size()) + " sets of workers with " +
                                    std::to_string(perWorker) + " each");
    }
    std::vector<CandidateSet> taken;
    for (std::size_t i = score; i < sets.size(); i += perWorker) {
        taken.push_back(std::move(sets[i]));
    }
    return taken;
}
