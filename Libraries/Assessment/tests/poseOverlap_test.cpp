// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <cstddef>
#include <random>

#include <gtest/gtest.h>

#include "Assessment/poseOverlap.h"
#include "Assessment/tests/polishScene.h"

namespace {

using namespace polishScene;
using Vector = std::array<double, 6>;

/// Of two helices in their map, off their place.
struct Case {
    Case() : random(8) {
        const RigidMotion motion = offBy(scene.all.middle, 2.0, 25.0, random);
        placement = {motion.rotation, motion(scene.all.middle)};
    }

    double valueAt(const Vector& v) const {
        return poseOverlap(scene.fine, scene.all,
                           moved(placement, cVector3(v[0], v[1], v[2]), cVector3(v[3], v[4], v[5])))
            .value;
    }

    const Scene& scene = sceneAt10();
    std::mt19937 random;
    Placement placement;
};

} // namespace

TEST(PoseOverlap, IsTheSumOverThePoints) {
    const Case c;
    double sum = 0.0;
    for (std::size_t n = 0; n < c.scene.all.points.size(); ++n) {
        const cVector3 place = c.placement.rotation * c.scene.all.points[n] + c.placement.middle;
        sum += c.scene.all.weights[n] * c.scene.fine.value(place);
    }
    const PoseOverlap overlap = poseOverlap(c.scene.fine, c.scene.all, c.placement);
    constexpr double rounding = 1e-12;
    EXPECT_NEAR(overlap.value, sum, rounding * std::abs(sum));
    EXPECT_EQ(overlap.inside, c.scene.all.points.size());
}

TEST(PoseOverlap, HasTheGradientOfItsValues) {
    const Case c;
    const PoseOverlap overlap = poseOverlap(c.scene.fine, c.scene.all, c.placement);
    constexpr double step = 1e-5, tolerance = 1e-6;
    for (std::size_t i = 0; i < 6; ++i) {
        Vector up{}, down{};
        up[i] = step;
        down[i] = -step;
        EXPECT_NEAR(overlap.gradient[i], (c.valueAt(up) - c.valueAt(down)) / (2.0 * step),
                    tolerance * std::abs(overlap.value));
    }
}

TEST(PoseOverlap, HasTheHessianOfItsValues) {
    const Case c;
    const PoseOverlap overlap = poseOverlap(c.scene.fine, c.scene.all, c.placement);
    constexpr double step = 1e-4, tolerance = 1e-5;
    for (std::size_t i = 0; i < 6; ++i) {
        for (std::size_t j = 0; j < 6; ++j) {
            double sum = 0.0;
            for (const int a : {-1, 1}) {
                for (const int b : {-1, 1}) {
                    Vector v{};
                    v[i] += a * step;
                    v[j] += b * step;
                    sum += a * b * c.valueAt(v);
                }
            }
            EXPECT_NEAR(overlap.hessian[i][j], sum / (4.0 * step * step),
                        tolerance * (std::abs(overlap.hessian[i][i]) + std::abs(overlap.value)))
                << i << " " << j;
            EXPECT_EQ(overlap.hessian[i][j], overlap.hessian[j][i]);
        }
    }
}

TEST(Moved, TurnsAboutTheMiddleAndStaysARotation) {
    Placement placement;
    placement.middle = cVector3(5.0, -3.0, 2.0);
    const cVector3 w(0.02, -0.05, 0.03);
    constexpr int times = 1000;
    for (int n = 0; n < times; ++n) {
        placement = moved(placement, cVector3(0.001, 0.0, 0.0), w);
    }
    constexpr double rounding = 1e-12;
    const cMatrix33 whole = cMatrix33::fromAxisAngle(w.normalizedVersion(), times * w.norm());
    for (int r = 0; r < 3; ++r) {
        for (int column = 0; column < 3; ++column) {
            EXPECT_NEAR(placement.rotation(r, column), whole(r, column), rounding);
        }
    }
    EXPECT_NEAR(placement.middle.x, 6.0, rounding);
    EXPECT_NEAR(placement.rotation.det(), 1.0, rounding);
}
