// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Optimization/Solver.h"

namespace {

/// Counts its steps in m_x and hands out prepared residuals, the last one for ever.
class ScriptedSolver : public Solver {
public:
    explicit ScriptedSolver(std::vector<double> residuals) : m_residuals(std::move(residuals)) {
        m_x.zeros(1);
    }
    void doStep() override { m_x[0] += 1.0; }
    double getResiduals() override {
        const auto step = static_cast<std::size_t>(m_x[0]) - 1;
        return m_residuals[std::min(step, m_residuals.size() - 1)];
    }

private:
    std::vector<double> m_residuals;
};

TEST(Solver, FirstResidualIsTestedAbsolutely) {
    ScriptedSolver solver({0.5});
    EXPECT_EQ(solver.solve(0.5, 100)[0], 1.0);
    EXPECT_FALSE(solver.m_converged);
}

TEST(Solver, LaterResidualsAreTestedRelativeToTheFirst) {
    ScriptedSolver solver({1000.0, 500.0, 100.0, 99.0});
    EXPECT_EQ(solver.solve(0.1, 100)[0], 4.0); // 100 / 1000 isn't below 0.1, 99 / 1000 is
    EXPECT_TRUE(solver.m_converged);
}

TEST(Solver, OneIterationTakesOneStepWhateverTheResidual) {
    ScriptedSolver solver({1e6});
    EXPECT_EQ(solver.solve(1e-11, 1)[0], 1.0);
    EXPECT_FALSE(solver.m_converged);
}

TEST(Solver, ZeroIterationsStillTakeOneStep) {
    ScriptedSolver solver({1e6});
    EXPECT_EQ(solver.solve(1e-11, 0)[0], 1.0);
}

TEST(Solver, StopsAfterTheLastIteration) {
    ScriptedSolver solver({1.0});
    EXPECT_EQ(solver.solve(1e-11, 7)[0], 7.0);
    EXPECT_FALSE(solver.m_converged);
}

TEST(Solver, ResidualThatIsNotANumberEndsTheRunAtOnce) {
    ScriptedSolver solver({std::nan("")});
    EXPECT_EQ(solver.solve(1e-11, 100)[0], 1.0);
}

TEST(Solver, ReturnsTheMemberItself) {
    ScriptedSolver solver({0.0});
    EXPECT_EQ(&solver.solve(1.0, 1), &solver.m_x);
}

} // namespace
