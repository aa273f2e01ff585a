// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/hand.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace {

/// Of the larger local correlation, by which it is above the other where the hand is told.
constexpr double leastAdvantage = 0.1;

double bestOf(const Assessment& assessment) {
    return assessment.poses.empty() ? 0.0 : assessment.poses.front().scores.localCorrelation;
}

std::string twoDigits(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f", value);
    return text.data();
}

} // namespace

std::string nameOf(Hand hand) {
    switch (hand) {
    case Hand::Given:
        return "given";
    case Hand::Mirrored:
        return "mirrored";
    case Hand::Undecided:
        break;
    }
    return "undecided";
}

HandVerdict compareHands(const Assessment& given, const Assessment& mirrored) {
    const double here = bestOf(given), there = bestOf(mirrored);
    const Assessment& better = there > here ? mirrored : given;
    const bool isTold = std::abs(here - there) >= leastAdvantage * std::max(here, there) &&
                        better.confidence != Confidence::Low;
    const std::string scores =
        "local correlation " + twoDigits(here) + " as given, " + twoDigits(there) + " mirrored";
    if (given.confidence == Confidence::Low && mirrored.confidence == Confidence::Low) {
        return {Hand::Undecided,
                "The model stands out in neither hand of the map, so that nothing is told of the hand (" +
                    scores + ")."};
    }
    if (!isTold) {
        return {Hand::Undecided,
                "Which hand the map has cannot be told at this resolution: both fit about equally well (" +
                    scores + ")."};
    }
    if (there > here) {
        return {Hand::Mirrored,
                "The mirrored map fits better (" + scores +
                    "): the map seems to have the other hand, and the poses are of the map as given."};
    }
    return {Hand::Given, "The map has the right hand (" + scores + ")."};
}
