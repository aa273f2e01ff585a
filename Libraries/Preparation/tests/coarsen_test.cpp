// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <random>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "Math/pi.h"
#include "Preparation/AxisFilter.h"
#include "Preparation/ScanChoice.h"
#include "Preparation/coarsen.h"
#include "Preparation/tests/mapsOfBlobs.h"

namespace {

DensityMap noise(const std::array<std::size_t, 3>& size, const cVector3& voxel) {
    std::mt19937 random(3);
    std::normal_distribution<double> normal;
    return mapOf(size, cVector3(-4.0, 7.5, 100.0), voxel, [&](const cVector3&) { return normal(random); });
}

/// The sum over all voxels of the product of three weights, as it stands.
double directSum(const DensityMap& map, const std::array<AxisFilter, 3>& filters,
                 const std::array<std::size_t, 3>& node) {
    double sum = 0.0;
    const auto weight = [&](std::size_t axis, std::size_t t) {
        return static_cast<double>(filters[axis].weights[node[axis]][t]);
    };
    const auto count = [&](std::size_t axis) { return filters[axis].weights[node[axis]].size(); };
    const auto first = [&](std::size_t axis) { return filters[axis].first[node[axis]]; };
    for (std::size_t a = 0; a < count(0); ++a) {
        for (std::size_t b = 0; b < count(1); ++b) {
            for (std::size_t c = 0; c < count(2); ++c) {
                sum += weight(0, a) * weight(1, b) * weight(2, c) *
                       static_cast<double>(map.values[map.index(first(0) + a, first(1) + b, first(2) + c)]);
            }
        }
    }
    return sum;
}

} // namespace

TEST(Coarsen, EqualsTheDirectSumOnUnequalAxes) {
    const DensityMap map = noise({13, 18, 25}, cVector3(1.1, 1.3, 0.9));
    const Coarsening coarsening{4.0, 7.0, 2.3, {}, nullptr};
    const DensityMap result = coarsen(map, coarsening);
    const auto filter = [&](std::size_t count, double source) {
        return AxisFilter(count, source, 2.3, LowPass::between(4.0, 7.0, source, 2.3));
    };
    const std::array<AxisFilter, 3> filters = {filter(13, 1.1), filter(18, 1.3), filter(25, 0.9)};
    ASSERT_EQ(result.size, (std::array<std::size_t, 3>{6, 10, 10}));
    for (std::size_t i = 0; i < result.size[0]; ++i) {
        for (std::size_t j = 0; j < result.size[1]; ++j) {
            for (std::size_t k = 0; k < result.size[2]; ++k) {
                EXPECT_NEAR(static_cast<double>(result.values[result.index(i, j, k)]),
                            directSum(map, filters, {i, j, k}), 2e-6);
            }
        }
    }
}

TEST(Coarsen, BringsABlobToTheCoarserResolution) {
    const double from = 5.0, to = 12.0;
    const cVector3 middle(31.0, 40.0, -22.0);
    const cVector3 origin(0.0, 10.0, -55.0);
    const double before = gaussianOf(from), after = gaussianOf(to);
    const DensityMap map = mapOfBlobs({64, 62, 66}, origin, cVector3(1.0), {{middle, before, 1.0}});
    const DensityMap result = coarsen(map, {from, to, 3.0, {}, nullptr});
    const Blob expected{middle, after, std::pow(before / after, 3.0)};
    EXPECT_EQ(result.voxel.x, 3.0);
    EXPECT_EQ((result.origin - origin).norm(), 0.0);
    for (std::size_t i = 0; i < result.size[0]; ++i) {
        for (std::size_t j = 0; j < result.size[1]; ++j) {
            for (std::size_t k = 0; k < result.size[2]; ++k) {
                EXPECT_NEAR(static_cast<double>(result.values[result.index(i, j, k)]),
                            expected(placeOf(result, i, j, k)), 0.03 * expected.height);
            }
        }
    }
}

TEST(Coarsen, LeavesOutWhatIsNotAboveTheLevelOrOutsideTheMask) {
    const DensityMap map = noise({12, 12, 12}, cVector3(1.0));
    DensityMap mask =
        mapOf(map.size, map.origin, map.voxel, [](const cVector3& x) { return x.z > 105.0 ? 0.6 : 0.5; });
    DensityMap emptied = map;
    for (std::size_t v = 0; v < map.values.size(); ++v) {
        if (!(map.values[v] > 0.25F) || !(mask.values[v] > 0.5F)) {
            emptied.values[v] = 0.0F;
        }
    }
    const DensityMap expected = coarsen(emptied, {3.0, 6.0, 2.0, {}, nullptr});
    const DensityMap result = coarsen(map, {3.0, 6.0, 2.0, 0.25, &mask});
    EXPECT_EQ(result.values, expected.values);
    mask.size[0] = 6;
    EXPECT_THROW(coarsen(map, {3.0, 6.0, 2.0, {}, &mask}), std::invalid_argument);
}

TEST(NegativeLaplacian, OfAWaveIsItsSquaredFrequency) {
    const double voxel = 2.0;
    for (const double samples : {3.0, 4.0, 6.0, 12.0}) { // nodes a period
        const double k = 2.0 * pi / (samples * voxel);
        const auto wave = [&](const cVector3& x) { return std::sin(k * x.y + 0.3); };
        const DensityMap map = mapOf({3, 30, 4}, cVector3(0.0), cVector3(5.0, voxel, 3.0), wave);
        const DensityMap result = negativeLaplacian(map);
        for (std::size_t j = 3; j < 27; ++j) {
            EXPECT_NEAR(static_cast<double>(result.values[result.index(1, j, 2)]),
                        k * k * wave(placeOf(map, 1, j, 2)), (samples > 3.5 ? 0.019 : 0.078) * k * k);
        }
    }
}

TEST(NegativeLaplacian, OfAConstantIsNothing) {
    const DensityMap map =
        mapOf({5, 6, 7}, cVector3(0.0), cVector3(1.0), [](const cVector3&) { return 7.0; });
    for (const float value : negativeLaplacian(map).values) {
        EXPECT_NEAR(static_cast<double>(value), 0.0, 1e-5);
    }
}

TEST(NegativeLaplacian, AddsUpToNothing) {
    // The flux through the faces of a field that ends before them.
    const DensityMap map =
        mapOfBlobs({40, 44, 36}, cVector3(0.0), cVector3(2.0), {{cVector3(38.0, 41.0, 33.0), 4.0, 1.0}});
    double sum = 0.0, magnitude = 0.0;
    for (const float value : negativeLaplacian(map).values) {
        sum += static_cast<double>(value);
        magnitude += std::abs(static_cast<double>(value));
    }
    EXPECT_LT(std::abs(sum), 1e-5 * magnitude);
}

/// The Laplacian weighs a frequency by its square, so that of a fine map shows its noise; at the resolution
/// of a scan the atoms are left.
TEST(NegativeLaplacian, OfANoisyFineMapIsSignalAtTheResolutionOfAScan) {
    const double resolution = 3.0;
    std::mt19937 random(21);
    std::uniform_real_distribution<double> place(10.0, 38.0);
    std::vector<Blob> atoms;
    for (int a = 0; a < 300; ++a) {
        atoms.push_back({cVector3(place(random), place(random), place(random)), gaussianOf(resolution), 1.0});
    }
    const DensityMap clean = mapOfBlobs({48, 48, 48}, cVector3(0.0), cVector3(1.0), atoms);
    DensityMap noisy = clean;
    double squares = 0.0, sum = 0.0;
    for (const float value : clean.values) {
        sum += static_cast<double>(value);
        squares += static_cast<double>(value) * static_cast<double>(value);
    }
    const auto count = static_cast<double>(clean.values.size());
    std::normal_distribution<double> noise(0.0, std::sqrt(squares / count - sum * sum / count / count));
    for (float& value : noisy.values) {
        value += static_cast<float>(noise(random));
    }
    const auto correlationAt = [&](double to) {
        const Coarsening coarsening{resolution, to, to / 3.0, {}, nullptr};
        const DensityMap a = negativeLaplacian(coarsen(clean, coarsening));
        const DensityMap b = negativeLaplacian(coarsen(noisy, coarsening));
        double ab = 0.0, aa = 0.0, bb = 0.0;
        for (std::size_t v = 0; v < a.values.size(); ++v) {
            const double p = static_cast<double>(a.values[v]), q = static_cast<double>(b.values[v]);
            ab += p * q;
            aa += p * p;
            bb += q * q;
        }
        return ab / std::sqrt(aa * bb);
    };
    EXPECT_LT(correlationAt(3.0), 0.5);
    EXPECT_GT(correlationAt(10.0), 0.9);
}
