// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/makePolishField.h"
#include "Assessment/splineLines.h"
#include "Math/pi.h"
#include "Preparation/tests/mapsOfBlobs.h"

namespace {

const cVector3 origin(3.0, -20.0, 11.0);

/// A Gaussian convolved with one of integral 1.
Blob blurred(const Blob& blob, double sigma) {
    const double width = std::sqrt(blob.sigma * blob.sigma + sigma * sigma);
    return {blob.middle, width, blob.height * std::pow(blob.sigma / width, 3.0)};
}

/// The largest difference from the closed form near the middle, in units of its height.
double errorOf(const Blob& blob, const cVector3& voxel, double sigma) {
    const SplineField field = makePolishField(mapOfBlobs({21, 23, 25}, origin, voxel, {blob}), sigma);
    const Blob expected = blurred(blob, sigma);
    double worst = 0.0;
    for (const cVector3& off : {cVector3(0.0), cVector3(0.5, 0.0, 0.0), cVector3(-0.5, 0.5, 1.5),
                                cVector3(1.0, -2.0, 0.3), cVector3(0.2, 0.2, -3.0)}) {
        const cVector3 x = blob.middle + off * voxel;
        worst = std::max(worst, std::abs(field.value(x) - expected(x)) / expected.height);
    }
    return worst;
}

/// The integral over the field times a Gaussian of integral 1, by a sum over steps.
double directConvolution(const SplineField& field, const cVector3& x, double sigma, double step) {
    const int reach = static_cast<int>(std::ceil(6.0 * sigma / step));
    const double height = std::pow(2.0 * pi * sigma * sigma, -1.5) * step * step * step;
    double sum = 0.0;
    for (int i = -reach; i <= reach; ++i) {
        for (int j = -reach; j <= reach; ++j) {
            for (int k = -reach; k <= reach; ++k) {
                const cVector3 off = cVector3(i, j, k) * step;
                sum += field.value(x + off) * height * std::exp(-0.5 * off.norm2() / (sigma * sigma));
            }
        }
    }
    return sum;
}

cVector3 middleOf(const cVector3& voxel) {
    return origin + cVector3(10.0, 11.0, 12.0) * voxel;
}

} // namespace

TEST(BlurredBSpline, AddsUpToOneWithTheSumOfTheVariances) {
    for (const double sigma : {0.06, 0.3, 0.675, 2.0, 7.0}) {
        const std::vector<double> kernel = blurredBSpline(sigma);
        double sum = kernel[0], variance = 0.0;
        for (std::size_t n = 1; n < kernel.size(); ++n) {
            sum += 2.0 * kernel[n];
            variance += 2.0 * static_cast<double>(n * n) * kernel[n];
        }
        constexpr double tolerance = 1e-7; // of the integral
        EXPECT_NEAR(sum, 1.0, tolerance);
        EXPECT_NEAR(variance, sigma * sigma + 1.0 / 3.0, tolerance * (1.0 + sigma * sigma));
    }
}

TEST(BlurredBSpline, IsTheSplineItselfWithoutABlur) {
    const std::vector<double> kernel = blurredBSpline(0.0);
    EXPECT_DOUBLE_EQ(kernel[0], 4.0 / 6.0);
    EXPECT_DOUBLE_EQ(kernel[1], 1.0 / 6.0);
}

TEST(MakePolishField, IsTheConvolutionInClosedForm) {
    const cVector3 voxel(1.0, 1.1, 0.9);
    constexpr double tolerance = 1e-3; // the spline through a Gaussian of 2.5 voxels
    EXPECT_LT(errorOf({middleOf(voxel) + cVector3(0.3, 0.1, -0.4), 2.5, 1.0}, voxel, 1.7), tolerance);
}

TEST(MakePolishField, BlursTheSplineAndNotTheVoxels) {
    // Voxels a third of a resolution, of which the atom has 0.225: a sum over voxels would be 2.5e-4 off.
    const cVector3 voxel(4.0);
    constexpr double sigma = 2.7, tolerance = 1e-5;
    std::mt19937 random(3);
    std::normal_distribution<double> normal;
    const DensityMap map = mapOf({9, 9, 9}, origin, voxel, [&](const cVector3&) { return normal(random); });
    const SplineField field = makePolishField(map, sigma);
    for (const std::size_t node : {std::size_t{4}, std::size_t{5}}) {
        const cVector3 x = placeOf(map, node, 4, 3);
        EXPECT_NEAR(field.value(x), directConvolution(SplineField(map), x, sigma, 0.125 * voxel.x),
                    tolerance);
    }
}

TEST(MakePolishField, LeavesAFieldWithoutABlurAsItIs) {
    const cVector3 voxel(1.0);
    const DensityMap map = mapOfBlobs({9, 8, 7}, origin, voxel, {{origin + cVector3(4.0), 1.2, 5.0}});
    constexpr double single = 1e-5;
    EXPECT_NEAR(makePolishField(map, 0.0).value(placeOf(map, 3, 5, 2)),
                static_cast<double>(map.values[map.index(3, 5, 2)]), single);
}
