// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/copies.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace {

/// The indices of the places, those equivalent to the best first.
std::vector<std::size_t> byEquivalence(const std::vector<RankedPlace>& places) {
    std::vector<std::size_t> order(places.size());
    for (std::size_t n = 0; n < order.size(); ++n) {
        order[n] = n;
    }
    std::stable_partition(order.begin(), order.end(), [&](std::size_t n) {
        return places[n].equivalentTo == places.front().equivalentTo;
    });
    return order;
}

/// The least score of a further copy.
double leastScore(const std::vector<RankedPlace>& places, const std::vector<std::size_t>& taken,
                  const CopyRule& rule) {
    const auto count = static_cast<double>(taken.size());
    double sum = 0.0, squares = 0.0;
    for (const std::size_t n : taken) {
        sum += places[n].score;
    }
    const double mean = sum / count;
    for (const std::size_t n : taken) {
        squares += (places[n].score - mean) * (places[n].score - mean);
    }
    const double spread = std::max(std::sqrt(squares / count), rule.leastSpread * std::abs(mean));
    return mean - rule.deviations * spread;
}

const std::string singleLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

std::string numbered(const std::string& name, std::size_t copy, const std::set<std::string>& used) {
    std::string candidate = name + std::to_string(copy);
    while (used.count(candidate) > 0) {
        candidate += 'x';
    }
    return candidate;
}

} // namespace

std::vector<std::size_t> chooseCopies(const std::vector<RankedPlace>& places, std::size_t wanted,
                                      const std::function<bool(std::size_t, std::size_t)>& clash,
                                      const CopyRule& rule) {
    std::vector<std::size_t> taken;
    for (const std::size_t place : byEquivalence(places)) {
        if (wanted > 0 && taken.size() == wanted) {
            break;
        }
        const bool isOut =
            wanted == 0 && !taken.empty() && places[place].score < leastScore(places, taken, rule);
        const bool isFree =
            std::none_of(taken.begin(), taken.end(), [&](std::size_t other) { return clash(place, other); });
        if (!isOut && isFree) {
            taken.push_back(place);
        }
    }
    return taken;
}

std::vector<std::vector<std::string>> chainNames(const std::vector<std::string>& original,
                                                 std::size_t copies) {
    std::set<std::string> used(original.begin(), original.end());
    std::vector<std::string> letters;
    for (const char letter : singleLetters) {
        if (used.count(std::string(1, letter)) == 0) {
            letters.emplace_back(1, letter);
        }
    }
    std::vector<std::vector<std::string>> names;
    if (copies > 0) {
        names.push_back(original);
    }
    const bool areLettersEnough = copies > 0 && (copies - 1) * original.size() <= letters.size();
    auto letter = letters.cbegin();
    for (std::size_t copy = 2; copy <= copies; ++copy) {
        names.emplace_back();
        for (const std::string& name : original) {
            names.back().push_back(areLettersEnough ? *letter++ : numbered(name, copy, used));
            used.insert(names.back().back());
        }
    }
    return names;
}
