// SPDX-License-Identifier: GPL-3.0-or-later
#include <set>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

#include "examples/complex.h"
#include "examples/polypeptide.h"

using namespace example;

TEST(Complex, HasTheChainsThatWereAskedFor) {
    Random random(4);
    const Model complex = buildComplex({60, 40, 90}, random);
    const std::vector<int> wanted = {60, 40, 90};
    std::size_t atoms = 0;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const Model chain = chainOf(complex, static_cast<char>('A' + static_cast<int>(i)));
        std::set<int> residues;
        for (const Atom& atom : chain) {
            residues.insert(atom.residueNumber);
        }
        EXPECT_NEAR(static_cast<double>(residues.size()), wanted[i], 1.0);
        atoms += chain.size();
    }
    EXPECT_EQ(atoms, complex.size());
}

TEST(Complex, ChainsTouchAndDoNotClash) {
    Random random(4);
    const Model complex = buildComplex({60, 40, 50}, random);
    for (const auto& [a, b] : {std::pair{'A', 'B'}, std::pair{'A', 'C'}, std::pair{'B', 'C'}}) {
        double nearest = 1e9;
        for (const Atom& p : chainOf(complex, a)) {
            for (const Atom& q : chainOf(complex, b)) {
                nearest = std::min(nearest, norm(p.position - q.position));
            }
        }
        EXPECT_GE(nearest, contact::anyOther - 1e-6);
        EXPECT_LT(nearest, b == 'B' ? 4.0 : 60.0);
    }
}

TEST(Complex, IsTheSameForTheSameSeed) {
    Random one(9), other(9);
    const Model a = buildComplex({30, 30}, one), b = buildComplex({30, 30}, other);
    EXPECT_EQ(rmsd(a, b), 0.0);
}

TEST(Complex, RefusesNumbersThatMakeNone) {
    Random random(1);
    EXPECT_THROW(buildComplex({}, random), std::invalid_argument);
    EXPECT_THROW(buildComplex({60, 10}, random), std::invalid_argument);
    EXPECT_THROW(buildComplex(std::vector<int>(27, 30), random), std::invalid_argument);
}
