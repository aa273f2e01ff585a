// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_COPIES_H
#define SELVANE_ASSESSMENT_COPIES_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "Assessment/confidence.h"

/// When a place still belongs to the copies found so far, if their number is not given: its score is not
/// below their mean by more than `deviations` of their standard deviations, which count as no less than
/// `leastSpread` of the mean, for one or a few copies show no scatter. Copies of a real map of fourteen score
/// 0.46 to 0.47 and the next place 0.21; two proteins of one fold in a complex 0.94 and 0.37.
struct CopyRule {
    double deviations = 3.0;
    double leastSpread = 0.1;
};

/// Copies of a model that stand beside each other in a map: the places equivalent to the best, by their
/// scores, and then the others by theirs, each taken unless it clashes with one taken before.
/// @param places  best score first
/// @param wanted  how many, of which there may be fewer; 0: as many as the rule lets in
/// @param clash   whether two places, by their indices, take the same space
/// @return indices of the places in the order in which they were taken
std::vector<std::size_t> chooseCopies(const std::vector<RankedPlace>& places, std::size_t wanted,
                                      const std::function<bool(std::size_t, std::size_t)>& clash,
                                      const CopyRule& rule = {});

/// Names of the chains of an assembly of copies. The first copy keeps those of the model. Where A to Z, a to
/// z and 0 to 9 suffice for all, every chain of a further copy gets the first of them that is free. Otherwise
/// a chain gets the name that it has in the model with the number of the copy behind, A2 for the second A,
/// which takes mmCIF; a name that is taken gets an x at its end until it is free.
/// @param original  different names, one for each chain of the model
/// @return for each copy its names, in the order of the original ones
std::vector<std::vector<std::string>> chainNames(const std::vector<std::string>& original,
                                                 std::size_t copies);

#endif
