// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/copies.h"

namespace {

using Indices = std::vector<std::size_t>;

bool never(std::size_t, std::size_t) {
    return false;
}

std::vector<std::string> flat(const std::vector<std::vector<std::string>>& names) {
    std::vector<std::string> all;
    for (const std::vector<std::string>& copy : names) {
        all.insert(all.end(), copy.begin(), copy.end());
    }
    return all;
}

} // namespace

TEST(ChooseCopies, TakesEquivalentsOfTheBestFirstThenByScore) {
    const std::vector<RankedPlace> places = {{0.9, 0}, {0.8, 1}, {0.79, 0}, {0.78, 3}, {0.7, 1}, {0.6, 0}};
    EXPECT_EQ(chooseCopies(places, 1, never), (Indices{0}));
    EXPECT_EQ(chooseCopies(places, 4, never), (Indices{0, 2, 5, 1}));
    EXPECT_EQ(chooseCopies(places, 99, never), (Indices{0, 2, 5, 1, 3, 4}));
    EXPECT_TRUE(chooseCopies({}, 3, never).empty());
}

TEST(ChooseCopies, LeavesOutWhatClashesWithAPlaceTaken) {
    const std::vector<RankedPlace> places = {{0.9, 0}, {0.8, 1}, {0.7, 2}, {0.6, 3}};
    const auto neighbours = [](std::size_t a, std::size_t b) { return a + 1 == b || b + 1 == a; };
    EXPECT_EQ(chooseCopies(places, 4, neighbours), (Indices{0, 2}));
}

TEST(ChooseCopies, WithoutANumberEndsWhereTheScoresFall) {
    std::vector<RankedPlace> places;
    for (int n = 0; n < 14; ++n) {
        places.push_back({0.472 - 0.001 * n, 0});
    }
    places.push_back({0.213, 14});
    places.push_back({0.21, 15});
    EXPECT_EQ(chooseCopies(places, 0, never).size(), 14U);
    EXPECT_EQ(chooseCopies({{0.94, 0}, {0.37, 1}, {0.22, 2}}, 0, never), (Indices{0}));
    // Copies that see different surroundings scatter more.
    EXPECT_EQ(chooseCopies({{0.8, 0}, {0.7, 1}, {0.6, 2}, {0.3, 3}}, 0, never), (Indices{0, 1, 2}));
}

TEST(ChainNames, FurtherCopiesGetTheFirstFreeLetters) {
    const std::vector<std::vector<std::string>> expected = {{"B", "x"}, {"A", "C"}, {"D", "E"}};
    EXPECT_EQ(chainNames({"B", "x"}, 3), expected);
    EXPECT_EQ(chainNames({"AA"}, 2), (std::vector<std::vector<std::string>>{{"AA"}, {"A"}}));
    EXPECT_TRUE(chainNames({"A"}, 0).empty());
    EXPECT_EQ(chainNames({"A"}, 62)[61][0], "9");
}

TEST(ChainNames, AreNumberedWhereSingleLettersDoNotSuffice) {
    const std::vector<std::vector<std::string>> names = chainNames({"A", "B", "A2"}, 25);
    EXPECT_EQ(names[0], (std::vector<std::string>{"A", "B", "A2"}));
    EXPECT_EQ(names[1], (std::vector<std::string>{"A2x", "B2", "A22"}));
    EXPECT_EQ(names[24][1], "B25");
    const std::vector<std::string> all = flat(names);
    EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size());
    EXPECT_EQ(chainNames({"A"}, 63)[62][0], "A63");
}
