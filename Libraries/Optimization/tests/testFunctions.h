// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_OPTIMIZATION_TESTS_TESTFUNCTIONS_H
#define SELVANE_OPTIMIZATION_TESTS_TESTFUNCTIONS_H

#include <cmath>
#include <iostream>
#include <random>
#include <string>
#include <utility>

#include <armadillo>
#include <gtest/gtest.h>

#include "Optimization/ThirdOrderOracle.h"

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;

/// Random numbers with the same sequence in every run.
class Draw {
public:
    explicit Draw(unsigned seed) : m_engine(seed) {}
    double operator()() { return m_normal(m_engine); }
    Vector vector(arma::uword n) {
        Vector v(n);
        v.imbue([&] { return (*this)(); });
        return v;
    }
    Matrix symmetric(arma::uword n) {
        Matrix m(n, n);
        m.imbue([&] { return (*this)(); });
        return 0.5 * (m + m.t());
    }
    Matrix positiveDefinite(arma::uword n) {
        const Matrix m = symmetric(n);
        return m * m + 0.1 * arma::eye(n, n);
    }

private:
    std::mt19937 m_engine;
    std::normal_distribution<double> m_normal;
};

/// What a callable writes to the two standard streams.
struct Output {
    std::string out, err;
};
template <class F>
Output capture(F f) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    f();
    std::cout.flush();
    return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

/// f(x) = 0.5 x^T H x - g^T x
struct Quadratic : ThirdOrderOracle {
    Quadratic(Matrix hessian, Vector slope) : H(std::move(hessian)), g(std::move(slope)) {}
    virtual ~Quadratic() = default;
    double getFunctionValue(const Vector& x) override {
        ++valueCalls;
        return 0.5 * arma::dot(x, H * x) - arma::dot(g, x);
    }
    double getFunctionGradient(const Vector& x, Vector& gradient) override {
        ++gradientCalls;
        gradient = H * x - g;
        return 0.5 * arma::dot(x, H * x) - arma::dot(g, x);
    }
    double getFunctionGradiantAndHessian(const Vector& x, Vector& gradient, Matrix& hessian) override {
        ++hessianCalls;
        hessian = H;
        return getFunctionGradient(x, gradient);
    }
    Matrix H;
    Vector g;
    int valueCalls = 0;
    int gradientCalls = 0; ///< those for a Hessian included
    int hessianCalls = 0;
};

/// H. H. Rosenbrock, 1960, in n dimensions: minimum 0 at (1, .., 1).
struct Rosenbrock final : ThirdOrderOracle {
    double getFunctionValue(const Vector& x) override {
        double value = 0.0;
        for (arma::uword i = 0; i + 1 < x.n_elem; ++i) {
            value += 100.0 * std::pow(x[i + 1] - x[i] * x[i], 2) + std::pow(1.0 - x[i], 2);
        }
        return value;
    }
    double getFunctionGradient(const Vector& x, Vector& gradient) override {
        gradient.zeros(x.n_elem);
        for (arma::uword i = 0; i + 1 < x.n_elem; ++i) {
            const double d = x[i + 1] - x[i] * x[i];
            gradient[i] += -400.0 * x[i] * d - 2.0 * (1.0 - x[i]);
            gradient[i + 1] += 200.0 * d;
        }
        return getFunctionValue(x);
    }
    double getFunctionGradiantAndHessian(const Vector& x, Vector& gradient, Matrix& hessian) override {
        hessian.zeros(x.n_elem, x.n_elem);
        for (arma::uword i = 0; i + 1 < x.n_elem; ++i) {
            hessian(i, i) += 1200.0 * x[i] * x[i] - 400.0 * x[i + 1] + 2.0;
            hessian(i + 1, i + 1) += 200.0;
            hessian(i, i + 1) -= 400.0 * x[i];
            hessian(i + 1, i) -= 400.0 * x[i];
        }
        return getFunctionGradient(x, gradient);
    }
};

#endif
