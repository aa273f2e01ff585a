// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_SCANWORKER_H
#define SELVANE_SEARCH_SCANWORKER_H

#include <array>
#include <cstddef>
#include <vector>

#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"

/// The candidates of a worker, best first, at most one per score.
using CandidateSet = LimitedSizeSet<HexaustFlexibleFitConformation>;

/// A rotation of the scan, as the angles of cMatrix33::rotationXYZ in radians.
using Rotation = std::array<double, 3>;

/// The rotations of a search: those of the sampling for a step in degrees, and the identity at the end unless
/// it is among them.
std::vector<Rotation> scanRotations(double step);

/// What one thread of a scan does with a rotation. The implementations differ in how a rotation is scored and
/// in nothing else; which one a search uses is chosen once, in ScanMethod. Belongs to one thread.
class ScanWorker {
public:
    virtual ~ScanWorker() = default;

    /// Takes up a rotation of the map.
    virtual void rotate(const Rotation& angles) = 0;
    /// Scores every translation of it.
    virtual void score() = 0;
    /// Offers all scores above ElectronDensity::EPSILON to a set, in flat order.
    virtual void offer(CandidateSet& set) = 0;
    /// The same where translations have several scores, each to a set of its own.
    /// @param sets  as many as ScanMethod::setsPerWorker() tells; the first is that of offer()
    virtual void offerAll(CandidateSet* sets) { offer(*sets); }

    /// The three in their order.
    void step(const Rotation& angles, CandidateSet& set) {
        rotate(angles);
        score();
        offer(set);
    }
    void stepAll(const Rotation& angles, CandidateSet* sets) {
        rotate(angles);
        score();
        offerAll(sets);
    }
};

/// The merge of the workers' sets: what sets 1, 2, ... hold is offered to set 0, in the order of the workers
/// and best first. Of equal scores the worker with the lowest index wins.
/// @param sets  the first is used up
/// @throws std::invalid_argument without any
std::vector<HexaustFlexibleFitConformation> mergeCandidates(std::vector<CandidateSet>& sets);

/// The sets of one score out of those of workers that have several.
/// @param sets       worker after worker, perWorker of each; those of the score are used up
/// @param perWorker  ScanMethod::setsPerWorker()
/// @param score      0 .. perWorker - 1
/// @throws std::invalid_argument if a worker lacks a set
std::vector<CandidateSet> takeSetsOfScore(std::vector<CandidateSet>& sets, std::size_t perWorker,
                                          std::size_t score);

#endif
