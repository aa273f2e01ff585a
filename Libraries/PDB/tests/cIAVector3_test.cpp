// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "PDB/cIAVector3.h"

namespace {

void expectBox(const cIAVector3& box, double x0, double x1, double y0, double y1, double z0, double z1) {
    EXPECT_EQ(box.x.lower, x0);
    EXPECT_EQ(box.x.upper, x1);
    EXPECT_EQ(box.y.lower, y0);
    EXPECT_EQ(box.y.upper, y1);
    EXPECT_EQ(box.z.lower, z0);
    EXPECT_EQ(box.z.upper, z1);
}

} // namespace

TEST(CIAVector3, Constructors) {
    expectBox(cIAVector3(1.0, 2.0, 3.0), 1, 1, 2, 2, 3, 3);
    expectBox(cIAVector3(cVector3(1.0, 2.0, 3.0)), 1, 1, 2, 2, 3, 3);
    expectBox(cIAVector3(4.0), 4, 4, 4, 4, 4, 4);
    expectBox(cIAVector3(0.0, 1.0, 2.0, 3.0, 4.0, 5.0), 0, 1, 2, 3, 4, 5);
    const double bounds[3][2] = {{0.0, 1.0}, {2.0, 3.0}, {4.0, 5.0}};
    expectBox(cIAVector3(bounds), 0, 1, 2, 3, 4, 5);
    expectBox(cIAVector3(cInterval(0.0, 1.0), cInterval(2.0), cInterval(3.0, 4.0)), 0, 1, 2, 2, 3, 4);
}

TEST(CIAVector3, ProductsOfPointBoxesAreThoseOfVectors) {
    const cVector3 a(1.0, -2.0, 3.0);
    const cVector3 b(-4.0, 5.0, 6.0);
    const cInterval dot = cIAVector3(a) | cIAVector3(b);
    EXPECT_EQ(dot.lower, a | b);
    EXPECT_EQ(dot.upper, a | b);
    const cVector3 c = a ^ b;
    expectBox(cIAVector3(a) ^ cIAVector3(b), c.x, c.x, c.y, c.y, c.z, c.z);
}

TEST(CIAVector3, BoundGrowsToHoldPoints) {
    cIAVector3 box(cVector3(1.0, 1.0, 1.0));
    box.bound(cIAVector3(cVector3(-1.0, 2.0, 1.0)));
    box.bound(cIAVector3(cVector3(0.0, 0.0, 5.0)));
    expectBox(box, -1, 1, 0, 2, 1, 5);
}

TEST(CIAVector3, Measures) {
    const cIAVector3 box(0.0, 1.0, 0.0, 2.0, 0.0, 4.0);
    EXPECT_EQ(box.lengthsSum(), 7.0);
    EXPECT_EQ(box.volume(), 8.0);
    EXPECT_EQ(box.center(), cVector3(0.5, 1.0, 2.0));
    EXPECT_EQ(box.distance2ToPoint(cVector3(0.5, 1.0, 1.0)), 0.0);
    EXPECT_EQ(box.distance2ToPoint(cVector3(-1.0, 4.0, 5.0)), 1.0 + 4.0 + 1.0);
    cIAVector3 point = box;
    point.makePointBox();
    expectBox(point, 0.5, 0.5, 1, 1, 2, 2);
}

TEST(CIAVector3, ContainmentAndOverlap) {
    const cIAVector3 outer(0.0, 4.0, 0.0, 4.0, 0.0, 4.0);
    const cIAVector3 inner(1.0, 2.0, 1.0, 4.0, 1.0, 2.0);
    const cIAVector3 apart(5.0, 6.0, 0.0, 4.0, 0.0, 4.0);
    EXPECT_TRUE(outer.contain(inner));
    EXPECT_FALSE(inner.contain(outer));
    EXPECT_TRUE(inner.inBounds(outer));
    EXPECT_TRUE(outer.overlaps(inner));
    EXPECT_FALSE(outer.overlaps(apart));
    EXPECT_FALSE(outer.overlaps(apart, 0.5));
    EXPECT_TRUE(outer.overlaps(apart, 1.0));
}

TEST(CIAVector3, AdvancedOverlapTestsTheRangeOfDistances) {
    const cIAVector3 a(0.0, 1.0, 0.0, 0.0, 0.0, 0.0);
    const cIAVector3 b(3.0, 4.0, 0.0, 0.0, 0.0, 0.0); // distances 2 to 4
    EXPECT_TRUE(a.overlapsAdvanced(b, 0.0, 4.0));
    EXPECT_FALSE(a.overlapsAdvanced(b, 0.0, 3.9));
    EXPECT_TRUE(a.overlapsAdvanced(b, 16.0, 20.0));
    EXPECT_FALSE(a.overlapsAdvanced(b, 16.1, 20.0));
}

TEST(CIAVector3, SplitHalvesTheLongestAxisAndXOnATie) {
    cIAVector3 a;
    cIAVector3 b;
    cIAVector3(0.0, 2.0, 0.0, 2.0, 0.0, 2.0).split(a, b);
    expectBox(a, 0, 1, 0, 2, 0, 2);
    expectBox(b, 1, 2, 0, 2, 0, 2);
    cIAVector3(0.0, 1.0, 0.0, 3.0, 0.0, 3.0).split(a, b);
    expectBox(a, 0, 1, 0, 1.5, 0, 3);
    cIAVector3(0.0, 1.0, 0.0, 3.0, 0.0, 4.0).split(a, b);
    expectBox(b, 0, 1, 0, 3, 2, 4);
    a = cIAVector3(0.0, 4.0, 0.0, 1.0, 0.0, 1.0);
    a.split(a, b);
    expectBox(a, 0, 2, 0, 1, 0, 1);
    expectBox(b, 2, 4, 0, 1, 0, 1);
}

TEST(CIAVector3, ExpandMovesEveryFaceOutwardsAndShrinkBack) {
    cIAVector3 box(0.0, 1.0, 2.0, 4.0, -3.0, 0.0);
    box.expand(0.5);
    expectBox(box, -0.5, 1.5, 1.5, 4.5, -3.5, 0.5);
    box.shrink(0.25);
    expectBox(box, -0.25, 1.25, 1.75, 4.25, -3.25, 0.25);
}
