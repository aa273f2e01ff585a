// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/ScanWorker.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

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

// Deliberate: the share is formed in double.
ScanShare ScanShare::of(std::size_t worker, std::size_t workers, std::size_t rotations) {
    const double share =
        std::ceil(static_cast<double>(rotations) / static_cast<double>(std::max<std::size_t>(workers, 1)));
    const auto chunk = static_cast<std::size_t>(share);
    const std::size_t first = worker * chunk;
    const std::size_t end = std::min(first + chunk, rotations);
    return {first, end > first ? end - first : 0, worker};
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
