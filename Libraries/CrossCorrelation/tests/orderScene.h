// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_TESTS_ORDERSCENE_H
#define SELVANE_CROSSCORRELATION_TESTS_ORDERSCENE_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "IO/cInfo.h"
#include "testModel.h"

/// A target of noise, a correlation of some order, and a third-order one of the same target to compare with.
template <class Correlation>
struct OrderScene {
    explicit OrderScene(unsigned int modes = 0, double low = -1.0, double high = 1.0)
        : model(modes)
        , target(noise(model.grid->getTotalSize(), 5, low, high))
        , correlation(target.data(), model.grid, model.positions, model.sigma, model.engine, false)
        , third(target.data(), model.grid, model.positions, model.sigma, model.engine, false) {
        correlation.setRotationCenter(center);
        correlation.initPatternEdm();
        third.setRotationCenter(center);
        third.initPatternEdm();
    }

    void move(const std::array<double, 3>& tau, const std::array<double, 3>& theta,
              const arma::Col<double>& eta) {
        correlation.setTweenDof(tau, theta, eta);
        third.setTweenDof(tau, theta, eta);
    }

    void executeBoth() {
        correlation.execute();
        third.execute();
    }

    TestModel model;
    std::vector<double> target;
    Correlation correlation;
    ThirdOrderCrossCorrelation third;
    cVector3 center{7.0, 9.0, 6.0};
};

inline double magnitude(const std::vector<double>& field) {
    double largest = 0.0;
    for (const double value : field) {
        largest = std::max(largest, std::abs(value));
    }
    return largest;
}

/// To `tolerance` of the second grid's largest magnitude.
inline void expectSameGrid(const std::vector<double>& grid, const std::vector<double>& expected,
                           double tolerance) {
    ASSERT_EQ(grid.size(), expected.size());
    const double bound = tolerance * magnitude(expected);
    for (std::size_t s = 0; s < grid.size(); ++s) {
        ASSERT_NEAR(grid[s], expected[s], bound) << "voxel " << s;
    }
}

/// What an execution with a report prints.
template <class Correlation>
std::string reportOf(Correlation& correlation) {
    cInfo info(80);
    testing::internal::CaptureStdout();
    correlation.execute(info);
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

#endif
