// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Search/ContentHash.h"

namespace {

std::uint64_t hashOf(const std::vector<double>& values) {
    ContentHash hash;
    hash.addAll(values);
    return hash.value();
}

TEST(ContentHash, IsTheSameForTheSameContent) {
    EXPECT_EQ(hashOf({1.0, 2.0}), hashOf({1.0, 2.0}));
    EXPECT_EQ(hashOf({}), hashOf({}));
}

TEST(ContentHash, FeelsEveryBitAndTheOrder) {
    std::set<std::uint64_t> hashes = {hashOf({1.0, 2.0}), hashOf({2.0, 1.0}), hashOf({1.0, 2.0, 0.0}),
                                      hashOf({1.0}),      hashOf({0.0}),      hashOf({-0.0}),
                                      hashOf({})};
    EXPECT_EQ(hashes.size(), 7U);
    const std::string text(21, 'a');
    hashes.clear();
    for (std::size_t bit = 0; bit < 8 * text.size(); ++bit) {
        std::string changed = text;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
        ContentHash hash;
        hash.addText(changed);
        hashes.insert(hash.value());
    }
    EXPECT_EQ(hashes.size(), 8 * text.size());
}

TEST(ContentHash, KeepsNeighbouringTextsApart) {
    const auto ofTexts = [](const std::string& a, const std::string& b) {
        ContentHash hash;
        hash.addText(a);
        hash.addText(b);
        return hash.value();
    };
    EXPECT_NE(ofTexts("ab", "c"), ofTexts("a", "bc"));
    EXPECT_NE(ofTexts("", "abc"), ofTexts("abc", ""));
}

TEST(ContentHash, CountsNumbersByTheirBits) {
    ContentHash a;
    a.add(1.0F);
    ContentHash b;
    b.add(0x3f800000);
    EXPECT_EQ(a.value(), b.value());
    ContentHash c;
    c.add(1);
    EXPECT_NE(a.value(), c.value());
}

} // namespace
