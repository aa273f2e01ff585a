// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <complex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "FFTWrapper/ComplexArray.h"
#include "FFTWrapper/dft.h"
#include "testFields.h"

using namespace testfields;

namespace {

/// sum in exp(-2 pi i (p i / n_i + q j / n_j + r k / n_k)) at one frequency.
std::complex<double> directTransform(const Shape& n, const std::vector<double>& in, int p, int q, int r) {
    const double turn = 2.0 * std::acos(-1.0);
    std::complex<double> sum = 0.0;
    for (int i = 0; i < n.n_i; ++i) {
        for (int j = 0; j < n.n_j; ++j) {
            for (int k = 0; k < n.n_k; ++k) {
                const double phase = static_cast<double>(p * i) / n.n_i + static_cast<double>(q * j) / n.n_j +
                                     static_cast<double>(r * k) / n.n_k;
                sum += in[n.flat(i, j, k)] * std::polar(1.0, -turn * phase);
            }
        }
    }
    return sum;
}

class Dft : public testing::TestWithParam<Shape> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Shapes, Dft, testing::ValuesIn(shapes), testing::PrintToStringParamName());

TEST_P(Dft, ForwardPlanGivesTheHalfSpectrumOfTheDirectSum) {
    const Shape n = GetParam();
    std::vector<double> in = randomField(n, 1);
    const std::vector<double> original = in;
    dft::ComplexArray out(n.halfSize());
    dft::RealToComplexPlan* plan = dft::create_plan(n.n_i, n.n_j, n.n_k, in.data(), out.data());
    EXPECT_EQ(in, original) << "planning leaves the input alone";
    dft::execute_plan(plan);
    dft::destroy_plan(plan);
    EXPECT_EQ(in, original) << "so does the transform";
    const int columns = n.n_k / 2 + 1;
    for (int p = 0; p < n.n_i; ++p) {
        for (int q = 0; q < n.n_j; ++q) {
            for (int r = 0; r < columns; ++r) {
                const auto expected = directTransform(n, in, p, q, r);
                const auto* pair = out.data()[(p * n.n_j + q) * columns + r];
                EXPECT_NEAR(pair[0], expected.real(), 100 * tolerance);
                EXPECT_NEAR(pair[1], expected.imag(), 100 * tolerance);
            }
        }
    }
}

TEST_P(Dft, InversePlanUndoesTheForwardOneUpToTheVoxelCount) {
    const Shape n = GetParam();
    const std::vector<double> in = randomField(n, 2);
    dft::ComplexArray spectrum(n.halfSize());
    dft::RealToComplexPlan(n.n_i, n.n_j, n.n_k, in.data(), spectrum.data()).execute();
    std::vector<double> out(n.size());
    dft::ComplexToRealPlan* plan = dft::create_plan(n.n_i, n.n_j, n.n_k, spectrum.data(), out.data());
    dft::execute_plan(plan);
    dft::destroy_plan(plan);
    for (std::size_t v = 0; v < n.size(); ++v) {
        EXPECT_NEAR(out[v], static_cast<double>(n.size()) * in[v], 100 * tolerance);
    }
}

TEST(DftPlans, DestroyIgnoresNull) {
    dft::destroy_plan(static_cast<dft::RealToComplexPlan*>(nullptr));
    dft::destroy_plan(static_cast<dft::ComplexToRealPlan*>(nullptr));
}

TEST(DftPlans, SizesWithoutAPlanThrowWithTheSizes) {
    std::vector<double> real(8);
    dft::ComplexArray spectrum(8);
    try {
        dft::create_plan(2, 0, 2, real.data(), spectrum.data());
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("2 x 0 x 2"), std::string::npos) << error.what();
    }
    EXPECT_THROW(dft::create_plan(2, -1, 2, spectrum.data(), real.data()), std::runtime_error);
}

TEST(DftPlans, AreMadeRunAndDestroyedOnManyThreads) {
    const Shape n{3, 4, 5};
    const std::vector<double> in = randomField(n, 3);
    dft::ComplexArray expected(n.halfSize());
    dft::RealToComplexPlan(n.n_i, n.n_j, n.n_k, in.data(), expected.data()).execute();
    std::vector<int> wrong(4, 0);
    std::vector<std::thread> threads;
    for (int& count : wrong) {
        threads.emplace_back([&] {
            for (int repeat = 0; repeat < 50; ++repeat) {
                dft::ComplexArray out(n.halfSize());
                dft::RealToComplexPlan(n.n_i, n.n_j, n.n_k, in.data(), out.data()).execute();
                for (std::size_t p = 0; p < out.size(); ++p) {
                    count += out.data()[p][0] != expected.data()[p][0] ||
                             out.data()[p][1] != expected.data()[p][1];
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}
