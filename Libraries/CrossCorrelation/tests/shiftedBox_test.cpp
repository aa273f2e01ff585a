// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "CrossCorrelation/shiftedBox.h"
#include "testModel.h"

namespace {

TEST(ShiftedBox, AddsTheWrappedTarget) {
    const TestModel model;
    const cGrid& grid = *model.grid;
    const std::vector<double> target = noise(grid.getTotalSize(), 4);
    const NodeBox box{{2, 0, 1}, {5, 10, 8}};
    for (const std::size_t shift : {std::size_t{0}, std::size_t{37}, target.size() - 1}) {
        const auto [si, sj, sk] = grid.m_flatIndex2Index[shift];
        std::vector<double> out(box.size(), 1.0);
        addShiftedTarget(box, grid, target.data(), shift, 0.5, out.data());
        for (int i = box.low[0]; i <= box.high[0]; ++i) {
            for (int j = box.low[1]; j <= box.high[1]; ++j) {
                for (int k = box.low[2]; k <= box.high[2]; ++k) {
                    const auto wrapped = [&](std::size_t axis, int index, std::size_t by) {
                        const int n = static_cast<int>(grid.m_size[axis]);
                        return (index - static_cast<int>(by) + n) % n;
                    };
                    const double value = target[grid.indexToFlatIndex(wrapped(0, i, si), wrapped(1, j, sj),
                                                                      wrapped(2, k, sk))];
                    EXPECT_EQ(out[box.index(i, j, k)], 1.0 + 0.5 * value);
                }
            }
        }
    }
}

TEST(ShiftedBox, AddsNothingOnAnEmptyBox) {
    const TestModel model;
    const std::vector<double> target(model.grid->getTotalSize(), 1.0);
    const NodeBox box;
    EXPECT_EQ(box.size(), 0U);
    addShiftedTarget(box, *model.grid, target.data(), 5, 1.0, nullptr);
}

TEST(DotProduct, EqualsThePlainLoopForAwkwardLengths) {
    const std::vector<double> a = noise(40, 1);
    const std::vector<double> b = noise(40, 2);
    for (const std::size_t n :
         {std::size_t{0}, std::size_t{1}, std::size_t{7}, std::size_t{8}, std::size_t{9}, std::size_t{40}}) {
        double sum = 0.0;
        for (std::size_t k = 0; k < n; ++k) {
            sum += a[k] * b[k];
        }
        EXPECT_NEAR(dotProduct(a.data(), b.data(), n), sum, 1e-14);
    }
}

} // namespace
