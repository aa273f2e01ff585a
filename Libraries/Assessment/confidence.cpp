// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/confidence.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Preparation/numberText.h"

namespace {

/// The middle one, or the mean of the two in the middle.
double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : 0.5 * (values[half - 1] + values[half]);
}

/// The scores of the places that are not equivalent to the best.
class Others {
public:
    Others(const std::vector<RankedPlace>& places, double leastDeviation) {
        for (const RankedPlace& place : places) {
            if (place.isMeasured && place.equivalentTo != places.front().equivalentTo) {
                m_scores.push_back(place.score);
            }
        }
        m_deviation = leastDeviation;
        if (m_scores.empty()) {
            return;
        }
        m_median = medianOf(m_scores);
        std::vector<double> distances;
        for (const double score : m_scores) {
            distances.push_back(std::abs(score - m_median));
        }
        constexpr double deviationsPerMedian = 1.4826; // of a normal distribution
        m_deviation = std::max(leastDeviation, deviationsPerMedian * medianOf(distances));
    }

    std::size_t count() const { return m_scores.size(); }
    double deviation() const { return m_deviation; }
    double z(double score) const { return m_scores.empty() ? 0.0 : (score - m_median) / m_deviation; }

private:
    std::vector<double> m_scores;
    double m_median = 0.0;
    double m_deviation = 0.0;
};

/// One judgement of a list of places.
class Judge {
public:
    Judge(const std::vector<RankedPlace>& places, const ConfidenceContext& context,
          const ConfidenceRule& rule)
        : m_places(places), m_context(context), m_rule(rule), m_others(places, rule.leastDeviation) {}

    const Others& others() const { return m_others; }

    bool isTooCoarse() const { return m_context.resolution > m_rule.coarsest * m_context.radiusOfGyration; }

    /// The best rival of a place; the place itself if it has none.
    std::size_t rivalOf(std::size_t place) const {
        for (std::size_t n = 0; n < m_places.size(); ++n) {
            if (isRival(place, n)) {
                return n;
            }
        }
        return place;
    }

    PlaceJudgement judge(std::size_t place) const {
        PlaceJudgement judgement;
        const double score = m_places[place].score;
        const std::size_t rival = rivalOf(place);
        judgement.z = m_others.z(score);
        judgement.gap = rival == place ? judgement.z : (score - m_places[rival].score) / m_others.deviation();
        judgement.confidence = isTooCoarse() ? Confidence::Low
                               : m_others.count() < m_rule.leastOthers
                                   ? withoutScatter(score, m_places[rival].score, rival == place)
                                   : byScatter(place, rival, judgement);
        return judgement;
    }

private:
    bool isRival(std::size_t place, std::size_t other) const {
        if (m_places[other].equivalentTo == m_places[place].equivalentTo) {
            return false;
        }
        return m_others.z(m_places[other].score) < m_rule.lowZ || sharesSpace(place, other);
    }

    bool sharesSpace(std::size_t place, std::size_t other) const {
        return !m_context.clash || m_context.clash(place, other);
    }

    /// Whether another place may be a copy or not, and if it is none comes too close in score.
    bool isInDoubt(std::size_t place) const {
        for (std::size_t n = 0; n < m_places.size(); ++n) {
            const double z = m_others.z(m_places[n].score);
            const bool mayBeCopy = z >= m_rule.lowZ && z < m_rule.copyZ &&
                                   m_places[n].equivalentTo != m_places[place].equivalentTo;
            const double distance = m_places[place].score - m_places[n].score;
            const bool isClose = distance < m_rule.highGap * m_others.deviation();
            if (mayBeCopy && isClose && !sharesSpace(place, n)) {
                return true;
            }
        }
        return false;
    }

    /// Of high confidence.
    double leastZOf(double score, double rivalScore) const {
        if (score < m_rule.weakScore) {
            return std::max(m_rule.weakZ, m_rule.leastZ(m_others.count()));
        }
        const bool isAlone = score >= m_rule.aloneScore && score >= m_rule.aloneRatio * rivalScore;
        return isAlone ? m_rule.highZ : m_rule.leastZ(m_others.count());
    }

    Confidence byScatter(std::size_t place, std::size_t rival, const PlaceJudgement& judgement) const {
        if (judgement.z < m_rule.lowZ || judgement.gap < m_rule.lowGap) {
            return Confidence::Low;
        }
        const double leastZ = leastZOf(m_places[place].score, rival == place ? 0.0 : m_places[rival].score);
        const bool isHigh = judgement.z >= leastZ && judgement.gap >= m_rule.highGap && !isInDoubt(place);
        return isHigh ? Confidence::High : Confidence::Medium;
    }

    Confidence withoutScatter(double score, double rivalScore, bool isAlone) const {
        const bool isApart = isAlone || score - rivalScore >= m_rule.mediumDifference;
        return score >= m_rule.mediumScore && isApart ? Confidence::Medium : Confidence::Low;
    }

    const std::vector<RankedPlace>& m_places;
    const ConfidenceContext& m_context;
    const ConfidenceRule& m_rule;
    Others m_others;
};

std::string toHundredths(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.2f", value);
    return buffer;
}

/// To a tenth, with its unit.
std::string deviationsText(double value) {
    const std::string number = numberText(std::round(10.0 * value) / 10.0);
    return number + (number == "1" ? " deviation" : " deviations");
}

/// "The best place scores 0.83", with those that are equivalent.
std::string bestText(const std::vector<RankedPlace>& places) {
    const auto alike = std::count_if(places.begin(), places.end(), [&](const RankedPlace& place) {
        return place.equivalentTo == places.front().equivalentTo;
    });
    const std::string score = toHundredths(places.front().score);
    if (alike == 1) {
        return "The best place scores " + score;
    }
    return "The best place, with " + std::to_string(alike - 1) + " equivalent to it, scores " + score;
}

std::string reasonOf(const std::vector<RankedPlace>& places, const Judge& judge, const PlaceJudgement& best,
                     const ConfidenceContext& context, const ConfidenceRule& rule) {
    const std::size_t others = judge.others().count();
    if (judge.isTooCoarse()) {
        constexpr double smallest = 1.0; // radius of gyration of what can be turned, angstrom
        if (context.radiusOfGyration < smallest) {
            return "The model is too small to tell how it is turned.";
        }
        return "At a resolution of " + numberText(context.resolution) + " A, " +
               numberText(std::round(10.0 * context.resolution / context.radiusOfGyration) / 10.0) +
               " times the model's radius of gyration, the orientations of this model cannot be told apart.";
    }
    if (others < rule.leastOthers) {
        return bestText(places) + "; " + (others == 0 ? "no" : "only " + std::to_string(others)) +
               " other place" + (others == 1 ? " was" : "s were") +
               " found, too few to tell how a wrong one scores.";
    }
    const std::size_t rival = judge.rivalOf(0);
    if (rival == 0) {
        return bestText(places) + ", " + deviationsText(best.z) + " above the " + std::to_string(others) +
               " other places.";
    }
    const auto firstOther = std::find_if(places.begin(), places.end(), [&](const RankedPlace& place) {
        return place.equivalentTo != places.front().equivalentTo;
    });
    const bool isFirst = firstOther == places.begin() + static_cast<std::ptrdiff_t>(rival);
    return bestText(places) + "; " + (isFirst ? "" : "apart from those that stand out elsewhere, ") +
           "the best of the " + std::to_string(others) + " other places scores " +
           toHundredths(places[rival].score) + ", " + deviationsText(best.gap) + " below it.";
}

} // namespace

std::string textOf(Confidence confidence) {
    switch (confidence) {
    case Confidence::High:
        return "high";
    case Confidence::Medium:
        return "medium";
    case Confidence::Low:
        break;
    }
    return "low";
}

// Close above the quantiles of a thousandth for 5 to 50 places.
double ConfidenceRule::leastZ(std::size_t n) const {
    constexpr double many = 4.2, perPlace = 60.0, tooFew = 4.0;
    return std::max(highZ, many + perPlace / (static_cast<double>(n) - tooFew));
}

Verdict judge(const std::vector<RankedPlace>& places, const ConfidenceContext& context,
              const ConfidenceRule& rule) {
    Verdict verdict;
    if (places.empty()) {
        verdict.reason = "No place was found.";
        return verdict;
    }
    const Judge judge(places, context, rule);
    for (std::size_t n = 0; n < places.size(); ++n) {
        verdict.places.push_back(judge.judge(n));
    }
    verdict.confidence = verdict.places.front().confidence;
    verdict.reason = reasonOf(places, judge, verdict.places.front(), context, rule);
    return verdict;
}
