// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/assessPoses.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Assessment/ClashTest.h"
#include "Assessment/TaskPool.h"
#include "Assessment/copies.h"
#include "Assessment/equivalence.h"

namespace {

/// Every atom the same.
double radiusOfGyration(const std::vector<ModelAtom>& atoms) {
    if (atoms.empty()) {
        return 0.0;
    }
    const double share = 1.0 / static_cast<double>(atoms.size());
    cVector3 middle(0.0);
    for (const ModelAtom& atom : atoms) {
        middle += atom.position * share;
    }
    double squares = 0.0;
    for (const ModelAtom& atom : atoms) {
        squares += (atom.position - middle).norm2();
    }
    return std::sqrt(squares * share);
}

void score(const ScoringMap& map, const std::vector<ModelAtom>& atoms, std::size_t threads,
           SearchObserver& observer, std::vector<AssessedPose>& poses) {
    observer.stageBegins("judging", poses.size());
    const PoseScorer scorer(map, atoms);
    TaskPool(poses.size(), observer).run(threads, [&](std::size_t n) {
        poses[n].scores = scorer(poses[n].motion);
    });
    std::stable_sort(poses.begin(), poses.end(), [](const AssessedPose& a, const AssessedPose& b) {
        return a.scores.localCorrelation > b.scores.localCorrelation;
    });
}

std::vector<RankedPlace> rank(const ScoringMap& coarse, const std::vector<ModelAtom>& atoms,
                              std::vector<AssessedPose>& poses) {
    std::vector<RigidMotion> motions;
    for (const AssessedPose& pose : poses) {
        motions.push_back(pose.motion);
    }
    const std::vector<std::size_t> groups = equivalence::group(coarse, atoms, motions);
    std::vector<RankedPlace> places;
    for (std::size_t n = 0; n < poses.size(); ++n) {
        poses[n].equivalentTo = groups[n];
        const double score = poses[n].scores.localCorrelation;
        places.push_back({score, groups[n], score != 0.0 && poses[n].end != PolishEnd::OutOfMap});
    }
    return places;
}

/// Nobody asked for so many: beside the best only copies that may well be right.
void keepSure(Assessment& assessment) {
    const auto isUnsure = [&](std::size_t n) {
        return n > 0 && assessment.poses[n].confidence == Confidence::Low;
    };
    assessment.copies.erase(std::remove_if(assessment.copies.begin(), assessment.copies.end(), isUnsure),
                            assessment.copies.end());
}

} // namespace

Assessment assessPoses(const ScoringMap& map, const ScoringMap& coarse, const std::vector<ModelAtom>& atoms,
                       std::vector<AssessedPose> poses, const AssessmentRequest& request,
                       SearchObserver& observer) {
    Assessment assessment;
    assessment.poses = std::move(poses);
    score(map, atoms, request.threads, observer, assessment.poses);
    const std::vector<RankedPlace> places = rank(coarse, atoms, assessment.poses);
    const ClashTest test(atoms);
    const auto clash = [&](std::size_t a, std::size_t b) {
        return test.clashes(assessment.poses[a].motion, assessment.poses[b].motion);
    };
    const Verdict verdict = judge(places, {map.resolution, radiusOfGyration(atoms), clash}, request.rule);
    for (std::size_t n = 0; n < places.size(); ++n) {
        assessment.poses[n].z = verdict.places[n].z;
        assessment.poses[n].gap = verdict.places[n].gap;
        assessment.poses[n].confidence = verdict.places[n].confidence;
    }
    assessment.confidence = verdict.confidence;
    assessment.reason = verdict.reason;
    assessment.copies = chooseCopies(places, request.copies, clash);
    if (request.copies == 0) {
        keepSure(assessment);
    }
    return assessment;
}
