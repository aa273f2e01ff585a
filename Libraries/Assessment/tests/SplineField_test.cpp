// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/SplineField.h"
#include "Preparation/tests/mapsOfBlobs.h"

namespace {

constexpr double single = 2e-6;      // of values about 1 whose coefficients are floats
constexpr double differences = 1e-6; // of central quotients of doubles, in units of the derivative
constexpr double step = 1e-4;        // of those, angstrom

const cVector3 origin(-4.0, 7.5, 30.0);
const cVector3 voxel(1.1, 1.3, 0.9);

DensityMap noise(const std::array<std::size_t, 3>& size) {
    std::mt19937 random(3);
    std::normal_distribution<double> normal;
    return mapOf(size, origin, voxel, [&](const cVector3&) { return normal(random); });
}

std::vector<cVector3> placesAround(const DensityMap& map) {
    std::mt19937 random(9);
    std::uniform_real_distribution<double> within(-2.5, 1.5);
    std::vector<cVector3> places;
    constexpr int count = 200;
    for (int n = 0; n < count; ++n) {
        cVector3 u;
        for (int axis = 0; axis < 3; ++axis) {
            const auto size = static_cast<double>(map.size[static_cast<std::size_t>(axis)]);
            u[axis] = within(random) + (n % 2 == 0 ? 0.0 : 0.5 * size);
        }
        places.push_back(map.origin + u * map.voxel);
    }
    return places;
}

cVector3 alongAxis(int axis, double length) {
    cVector3 v(0.0);
    v[axis] = length;
    return v;
}

} // namespace

TEST(SplineField, GoesThroughTheVoxels) {
    const DensityMap map = noise({7, 5, 9});
    const SplineField field(map);
    for (std::size_t i = 0; i < map.size[0]; ++i) {
        for (std::size_t j = 0; j < map.size[1]; ++j) {
            for (std::size_t k = 0; k < map.size[2]; ++k) {
                EXPECT_NEAR(field.value(placeOf(map, i, j, k)),
                            static_cast<double>(map.values[map.index(i, j, k)]), single);
            }
        }
    }
}

TEST(SplineField, IsExactForACubicFarFromTheFaces) {
    const std::array<std::size_t, 3> size = {29, 31, 33};
    const cVector3 middle = origin + cVector3(14.0, 15.0, 16.0) * voxel;
    const auto cubic = [&](const cVector3& x) {
        const cVector3 u = (x - middle) / 15.0;
        return 0.3 + u.x - u.y * u.z + u.x * u.x * u.y + 0.5 * u.z * u.z * u.z;
    };
    const SplineField field(mapOf(size, origin, voxel, cubic));
    for (const cVector3& off :
         {cVector3(0.2, 0.4, -0.3), cVector3(-0.9, 0.1, 0.8), cVector3(1.2, -1.1, 0.5)}) {
        EXPECT_NEAR(field.value(middle + off), cubic(middle + off), single);
    }
}

TEST(SplineField, FollowsAGaussianThatIsWiderThanAVoxel) {
    const Blob blob{origin + cVector3(9.3, 10.1, 8.7), 2.2, 1.0};
    const SplineField field(mapOfBlobs({18, 17, 21}, origin, voxel, {blob}));
    constexpr double tolerance = 2e-3; // the fourth power of the voxel over the width
    for (const cVector3& off :
         {cVector3(0.3, -0.2, 0.5), cVector3(-2.0, 1.0, 1.5), cVector3(3.1, 0.4, -2.2)}) {
        EXPECT_NEAR(field.value(blob.middle + off), blob(blob.middle + off), tolerance);
    }
}

TEST(SplineField, HasTheDerivativesOfItsValues) {
    const DensityMap map = noise({7, 5, 9});
    const SplineField field(map);
    for (const cVector3& x : placesAround(map)) {
        const FieldDerivatives here = field.derivatives(x);
        constexpr std::array<std::array<std::size_t, 3>, 3> element = {{{0, 3, 4}, {3, 1, 5}, {4, 5, 2}}};
        for (int axis = 0; axis < 3; ++axis) {
            const cVector3 h = alongAxis(axis, step);
            EXPECT_NEAR(here.gradient[axis], (field.value(x + h) - field.value(x - h)) / (2.0 * step),
                        differences);
            const cVector3 change =
                (field.derivatives(x + h).gradient - field.derivatives(x - h).gradient) / (2.0 * step);
            for (int other = 0; other < 3; ++other) {
                // Along its own axis the second derivative has kinks at the nodes, of less than a step.
                const double tolerance = axis == other ? 50.0 * step : differences;
                EXPECT_NEAR(
                    here.hessian[element[static_cast<std::size_t>(axis)][static_cast<std::size_t>(other)]],
                    change[other], tolerance);
            }
        }
    }
}

TEST(SplineField, IsNothingBeyondTwoVoxelsAndSmoothBefore) {
    const DensityMap map = noise({6, 4, 5});
    const SplineField field(map);
    const cVector3 onFace = placeOf(map, 5, 2, 2);
    EXPECT_EQ(field.value(onFace + cVector3(2.0 * voxel.x + 1e-9, 0.0, 0.0)), 0.0);
    EXPECT_EQ(field.value(origin - cVector3(0.0, 2.0 * voxel.y + 1e-9, 0.0)), 0.0);
    constexpr double near = 1e-3; // of a voxel
    const FieldDerivatives last = field.derivatives(onFace + cVector3((2.0 - near) * voxel.x, 0.0, 0.0));
    EXPECT_LT(std::abs(last.value), near * near);
    EXPECT_LT(last.gradient.norm(), 2.0 * near);
    EXPECT_NE(last.value, 0.0);
}

TEST(SplineField, ReachesBeyondEveryFaceAlike) {
    const std::array<std::size_t, 3> size = {6, 4, 5};
    const cVector3 middle = origin + cVector3(2.5, 1.5, 2.0) * voxel;
    const SplineField field(mapOf(
        size, origin, voxel, [&](const cVector3& x) { return 1.0 + 0.01 * ((x - middle) / voxel).norm2(); }));
    for (int axis = 0; axis < 3; ++axis) {
        const double toFace = 0.5 * static_cast<double>(size[static_cast<std::size_t>(axis)] - 1);
        for (const double beyond : {0.4, 1.1, 1.7, 1.99}) {
            const cVector3 off = alongAxis(axis, (toFace + beyond) * voxel[axis]);
            EXPECT_NE(field.value(middle + off), 0.0);
            EXPECT_NEAR(field.value(middle + off), field.value(middle - off), single);
            EXPECT_NE(field.value(middle - off), 0.0);
        }
    }
}

TEST(SplineField, AnswersForManyPlacesAsForOne) {
    const DensityMap map = noise({7, 5, 9});
    const SplineField field(map);
    const std::vector<cVector3> places = placesAround(map);
    std::vector<FieldDerivatives> results(places.size());
    const std::size_t inside = field.derivatives(places.data(), places.size(), results.data());
    std::size_t notZero = 0;
    for (std::size_t n = 0; n < places.size(); ++n) {
        const FieldDerivatives one = field.derivatives(places[n]);
        EXPECT_EQ(results[n].value, one.value);
        EXPECT_EQ(results[n].hessian, one.hessian);
        notZero += one.value != 0.0 ? 1 : 0;
    }
    EXPECT_EQ(inside, notZero);
    EXPECT_LT(inside, places.size());
}

TEST(SplineField, TakesAMapOneVoxelThick) {
    const DensityMap map = noise({7, 1, 1});
    const SplineField field(map);
    EXPECT_NEAR(field.value(placeOf(map, 3, 0, 0)), static_cast<double>(map.values[3]), single);
    EXPECT_EQ(field.derivatives(placeOf(map, 3, 0, 0)).gradient.y, 0.0);
}

TEST(SplineField, IsBoundedByItsBound) {
    const DensityMap map = noise({7, 5, 9});
    const SplineField field(map);
    for (const cVector3& x : placesAround(map)) {
        EXPECT_LE(std::abs(field.value(x)), field.bound());
    }
}

TEST(SplineField, HasNoValueWhereThereIsNoPlace) {
    const SplineField field(noise({4, 4, 4}));
    EXPECT_EQ(field.value(cVector3(std::numeric_limits<double>::quiet_NaN())), 0.0);
    EXPECT_EQ(field.value(cVector3(std::numeric_limits<double>::infinity())), 0.0);
}

TEST(SplineField, RefusesValuesThatDoNotFit) {
    DensityMap map = noise({4, 4, 4});
    map.values[21] = std::numeric_limits<float>::max();
    EXPECT_THROW(SplineField{map}, std::invalid_argument);
}
