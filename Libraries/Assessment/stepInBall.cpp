// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/stepInBall.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include <Eigen/Eigenvalues>

namespace {

constexpr std::size_t unknowns = 6;
using Vector = Eigen::Matrix<double, 6, 1>;
using Matrix = Eigen::Matrix<double, 6, 6>;

/// The problem along the eigenvectors: largest sum of b p - e p^2 / 2.
struct Principal {
    Vector b; ///< the gradient
    Vector e; ///< minus the curvatures, ascending
    std::array<bool, unknowns> isFlat{};

    /// Of the step for e + shift, all above 0.
    Vector step(double shift) const {
        Vector p = Vector::Zero();
        for (int i = 0; i < p.size(); ++i) {
            const double divisor = e[i] + shift;
            p[i] = isFlat[static_cast<std::size_t>(i)] || !(divisor > 0.0) ? 0.0 : b[i] / divisor;
        }
        return p;
    }

    /// The direction of the largest curvature, or -1 if all are flat.
    int steepest() const {
        const auto found = std::find(isFlat.begin(), isFlat.end(), false);
        return found == isFlat.end() ? -1 : static_cast<int>(found - isFlat.begin());
    }
};

void markFlat(Principal& principal, double radius) {
    constexpr double rounding = 1e-11; // of sums over a model
    const double scale = principal.e.cwiseAbs().maxCoeff() * radius + principal.b.norm();
    for (int i = 0; i < principal.e.size(); ++i) {
        principal.isFlat[static_cast<std::size_t>(i)] =
            !(std::max(std::abs(principal.e[i]) * radius, std::abs(principal.b[i])) > rounding * scale);
    }
}

/// The least shift whose step is not longer than the radius; the length falls as the shift grows.
double shiftFor(const Principal& principal, double lowest, double radius) {
    double low = std::max(0.0, -lowest);
    double high = std::max(low, principal.b.norm() / radius - lowest);
    constexpr int halvings = 200; // more than there are bits and steps of the exponent in reach
    for (int pass = 0; pass < halvings; ++pass) {
        const double middle = 0.5 * (low + high);
        if (!(middle > low && middle < high)) {
            break;
        }
        (principal.step(middle).norm() > radius ? low : high) = middle;
    }
    return high;
}

Vector bestStep(const Principal& principal, double radius) {
    const int steepest = principal.steepest();
    if (steepest < 0) {
        return Vector::Zero();
    }
    const double lowest = principal.e[steepest];
    if (lowest > 0.0) {
        Vector newton = principal.step(0.0);
        if (newton.norm() <= radius) {
            return newton;
        }
    }
    Vector p = principal.step(shiftFor(principal, lowest, radius));
    // With a part of the gradient along the largest curvature the step has reached the boundary. Without one
    // that curvature itself, which is no loss, brings it there.
    const double rest = radius * radius - p.squaredNorm() + p[steepest] * p[steepest];
    if (lowest <= 0.0 && rest > 0.0) {
        p[steepest] = std::copysign(std::sqrt(rest), principal.b[steepest]);
    }
    return p;
}

} // namespace

BallStep stepInBall(const std::array<double, 6>& gradient,
                    const std::array<std::array<double, 6>, 6>& hessian, double radius) {
    Matrix lossCurvature;
    for (std::size_t i = 0; i < unknowns; ++i) {
        for (std::size_t j = 0; j < unknowns; ++j) {
            lossCurvature(static_cast<int>(i), static_cast<int>(j)) = -hessian[i][j];
        }
    }
    const Eigen::SelfAdjointEigenSolver<Matrix> solver(lossCurvature);
    Principal principal;
    principal.e = solver.eigenvalues();
    principal.b = solver.eigenvectors().transpose() * Eigen::Map<const Vector>(gradient.data());
    markFlat(principal, radius);
    const Vector p = bestStep(principal, radius);
    const Vector step = solver.eigenvectors() * p;
    BallStep result;
    std::copy(step.data(), step.data() + step.size(), result.step.begin());
    result.length = p.norm();
    result.gain = std::max(0.0, principal.b.dot(p) - 0.5 * principal.e.dot(p.cwiseAbs2()));
    return result;
}
