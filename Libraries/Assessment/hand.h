// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_HAND_H
#define SELVANE_ASSESSMENT_HAND_H

#include <string>

#include "Assessment/assessPoses.h"

/// Which hand of a map a model fits.
enum class Hand { Given, Mirrored, Undecided };

/// "given", "mirrored" or "undecided".
std::string nameOf(Hand hand);

struct HandVerdict {
    Hand better = Hand::Undecided;
    std::string reason; ///< a sentence for the user
};

/// Compares the answers that the same model got in a map and in its mirror image: the best local correlations
/// c and c'. A hand is told when the larger one is of a place that stands out (not of low confidence) and
/// above the other by a tenth of itself at least. At a resolution that shows no helices both hands of a
/// protein are nearly the same density, and it cannot be told.
HandVerdict compareHands(const Assessment& given, const Assessment& mirrored);

#endif
