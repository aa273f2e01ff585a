// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_CONFIDENCE_H
#define SELVANE_ASSESSMENT_CONFIDENCE_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// How sure it is that a place is right.
enum class Confidence { High, Medium, Low };

/// "high", "medium" or "low".
std::string textOf(Confidence confidence);

/// How far a place has to stand out. Scores are local correlations; a deviation is that of the scores of the
/// other places.
///
/// The scatter of few places is known badly: of n wrong places whose scores are normal the best comes to a z
/// of 69, 14, 7.3, 6.1 and 5.3 in one of a thousand cases for n = 5, 10, 20, 30 and 50. So the least z of
/// high confidence is leastZ(n), unless the score is well above all others by itself.
struct ConfidenceRule {
    double highZ = 5.0; ///< least z of a place of high confidence, be the others as many as they will
    /// Least gap of the same, in deviations: between the 2.9 of wrong places and the 4.1 of right ones.
    double highGap = 3.5;
    double copyZ = 6.0;  ///< z of a place that stands out so much that it is another copy
    double lowZ = 4.5;   ///< below it confidence is low: the best of a hundred wrong places comes to 4.4
    double lowGap = 1.5; ///< the same for the gap, which is up to 1.4 between wrong places
    /// A lucky scatter of few places does not count as less.
    double leastDeviation = 0.005;
    /// Of fewer other places the scatter is not known: the scores alone have to do, for no more than medium.
    std::size_t leastOthers = 5;
    double mediumScore = 0.5;      ///< least score of a place without scatter of others
    double mediumDifference = 0.1; ///< of the scores, from the best other one
    double aloneScore = 0.3;       ///< least score of a place of high confidence among few others
    double aloneRatio = 2.0;       ///< the same for its score over that of its best rival
    double weakScore = 0.2;        ///< below it a score may be that of noise in a small map
    double weakZ = 12.0; ///< least z of a place of high confidence and such a score, as in a noisy map
    /// Beyond this resolution, in radii of gyration of the model, no confidence is more than low.
    double coarsest = 1.6;

    /// Of high confidence among n >= leastOthers others.
    double leastZ(std::size_t n) const;
};

/// A place among others, best score first.
struct RankedPlace {
    double score = 0.0;
    std::size_t equivalentTo = 0; ///< index of the first place that is equivalent, or its own
    bool isMeasured = true;       ///< false: the score is none, as of a place without density
};

/// What the judgement depends on besides the scores.
struct ConfidenceContext {
    double resolution = 0.0;       ///< of the map, angstrom
    double radiusOfGyration = 0.0; ///< of the model, angstrom
    /// Whether two places, by their indices, cannot both hold a copy of the model; none: no two can.
    std::function<bool(std::size_t, std::size_t)> clash;
};

struct PlaceJudgement {
    double z = 0.0;   ///< of the score, in deviations above the median of the others
    double gap = 0.0; ///< from the best rival down, or up if negative, in deviations; as z without a rival
    Confidence confidence = Confidence::Low;
};

struct Verdict {
    std::vector<PlaceJudgement> places;      ///< one for each
    Confidence confidence = Confidence::Low; ///< of the best place
    std::string reason;                      ///< of that, a sentence for the user
};

/// Judges places by how they stand out from the others.
///
/// The others are the measured places that are not equivalent to the best one; m is the median of their
/// scores and d = 1.4826 times the median of their distances from m, the deviation of a normal distribution,
/// which a few other copies of the model among them do not spoil. A place of score s has z = (s - m) / d. Its
/// rivals are the places not equivalent to it, but for those that stand out themselves and share no space
/// with it: from a z of copyZ on these are other copies, and from lowZ on they may be, so that confidence is
/// medium at most where one of them is as close as no rival of a high one may be. Its gap is the difference
/// from its best rival, by d.
///
/// Where the resolution is much coarser than the model's radius of gyration (ConfidenceRule::coarsest) the
/// map shows little more than where a model is, whichever way it is turned, and confidence is low.
/// @param places  best first; of none the verdict is low
Verdict judge(const std::vector<RankedPlace>& places, const ConfidenceContext& context,
              const ConfidenceRule& rule = {});

#endif
