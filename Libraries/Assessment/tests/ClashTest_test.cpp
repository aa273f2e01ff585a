// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/ClashTest.h"
#include "Assessment/tests/judgedScene.h"

namespace {

/// Every pair of atoms.
double directShare(const std::vector<ModelAtom>& atoms, const RigidMotion& a, const RigidMotion& b) {
    std::size_t ofA = 0, ofB = 0;
    for (const ModelAtom& one : atoms) {
        bool nearB = false, nearA = false;
        for (const ModelAtom& other : atoms) {
            nearB = nearB || (a(one.position) - b(other.position)).norm() < 3.0;
            nearA = nearA || (b(one.position) - a(other.position)).norm() < 3.0;
        }
        ofA += nearB ? 1 : 0;
        ofB += nearA ? 1 : 0;
    }
    return static_cast<double>(std::max(ofA, ofB)) / static_cast<double>(atoms.size());
}

} // namespace

TEST(ClashTest, ShareEqualsThatOfAllPairs) {
    const std::vector<ModelAtom> atoms = cloud(150, 15.0, 41);
    const ClashTest test(atoms);
    std::mt19937 random(4);
    std::uniform_real_distribution<double> component(-1.0, 1.0);
    int partial = 0;
    for (int n = 0; n < 30; ++n) {
        const auto vector = [&] { return cVector3(component(random), component(random), component(random)); };
        const RigidMotion a = turned(vector(), 180.0 * component(random), vector() * 50.0);
        const RigidMotion b = {turned(vector(), 180.0 * component(random), cVector3(0.0)).rotation,
                               a.translation + vector() * 30.0};
        const double share = test.share(a, b);
        EXPECT_EQ(share, directShare(atoms, a, b));
        EXPECT_EQ(share, test.share(b, a));
        partial += share > 0.0 && share < 1.0 ? 1 : 0;
    }
    EXPECT_GT(partial, 10);
}

TEST(ClashTest, OfAPlacementWithItselfIsAllAndOfOneFarAwayNothing) {
    const ClashTest test(cloud(200, 15.0, 42));
    EXPECT_EQ(test.share(RigidMotion(), RigidMotion()), 1.0);
    EXPECT_TRUE(test.clashes(RigidMotion(), RigidMotion()));
    EXPECT_EQ(test.share(RigidMotion(), RigidMotion::shift(cVector3(60.0, 0.0, 0.0))), 0.0);
    EXPECT_FALSE(test.clashes(RigidMotion(), RigidMotion::shift(cVector3(60.0, 0.0, 0.0))));
}

TEST(ClashTest, TakesNoAtomsOneAtomAndAtomsFarApart) {
    EXPECT_EQ(ClashTest({}).share(RigidMotion(), RigidMotion()), 0.0);
    std::vector<ModelAtom> atoms(1);
    EXPECT_EQ(ClashTest(atoms).share(RigidMotion(), RigidMotion::shift(cVector3(2.9, 0.0, 0.0))), 1.0);
    EXPECT_EQ(ClashTest(atoms).share(RigidMotion(), RigidMotion::shift(cVector3(3.1, 0.0, 0.0))), 0.0);
    atoms.resize(2);
    atoms[1].position = cVector3(1e5, 2e5, -1e5);
    EXPECT_EQ(ClashTest(atoms).share(RigidMotion(), RigidMotion::shift(atoms[1].position)), 0.5);
}
