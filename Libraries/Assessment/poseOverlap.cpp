// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/poseOverlap.h"

#include <algorithm>

#include "Math/multiversion.h"

namespace {

/// A symmetric matrix as FieldDerivatives has it, times a vector.
inline cVector3 times(const std::array<double, 6>& h, const cVector3& v) {
    return {h[0] * v.x + h[3] * v.y + h[4] * v.z, h[3] * v.x + h[1] * v.y + h[5] * v.z,
            h[4] * v.x + h[5] * v.y + h[2] * v.z};
}

/// Sums over the points, each with its weight.
struct Sums {
    double value = 0.0;
    cVector3 gradient = cVector3(0.0);
    cVector3 torque = cVector3(0.0);            ///< y x g
    std::array<double, 6> hessian{};            ///< H
    std::array<cVector3, 3> mixed;              ///< columns of H J
    std::array<cVector3, 3> turning;            ///< columns of J'H J
    std::array<double, 9> gradientTimesPlace{}; ///< g y', row-major

    Sums() {
        mixed.fill(cVector3(0.0));
        turning.fill(cVector3(0.0));
    }

    void add(const FieldDerivatives& field, const cVector3& y, double weight) {
        value += weight * field.value;
        const cVector3 g = field.gradient * weight;
        gradient += g;
        torque += y ^ g;
        std::array<double, 6> h = field.hessian;
        for (std::size_t e = 0; e < h.size(); ++e) {
            h[e] *= weight;
            hessian[e] += h[e];
        }
        const std::array<cVector3, 3> columns = {times(h, {0.0, -y.z, y.y}), times(h, {y.z, 0.0, -y.x}),
                                                 times(h, {-y.y, y.x, 0.0})};
        for (std::size_t i = 0; i < 3; ++i) {
            mixed[i] += columns[i];
            turning[i] += y ^ columns[i];
        }
        const std::array<double, 3> gs = {g.x, g.y, g.z}, ys = {y.x, y.y, y.z};
        for (std::size_t i = 0; i < 9; ++i) {
            gradientTimesPlace[i] += gs[i / 3] * ys[i % 3];
        }
    }
};

PoseOverlap assembled(const Sums& sums) {
    PoseOverlap overlap;
    overlap.value = sums.value;
    const std::array<double, 6>& h = sums.hessian;
    const std::array<double, 9> full = {h[0], h[3], h[4], h[3], h[1], h[5], h[4], h[5], h[2]};
    const std::array<double, 9>& gy = sums.gradientTimesPlace;
    const double along = gy[0] + gy[4] + gy[8]; // g.y
    for (std::size_t i = 0; i < 3; ++i) {
        const int row = static_cast<int>(i);
        overlap.gradient[i] = sums.gradient[row];
        overlap.gradient[3 + i] = sums.torque[row];
        for (std::size_t j = 0; j < 3; ++j) {
            overlap.hessian[i][j] = full[3 * i + j];
            overlap.hessian[i][3 + j] = overlap.hessian[3 + j][i] = sums.mixed[j][row];
            // Half of both triangles, as rounding tells them apart.
            overlap.hessian[3 + i][3 + j] =
                0.5 * ((sums.turning[j][row] + sums.turning[i][static_cast<int>(j)]) +
                       (gy[3 * i + j] + gy[3 * j + i])) -
                (i == j ? along : 0.0);
        }
    }
    return overlap;
}

constexpr std::size_t blockSize = 64; // points whose derivatives stay in the fastest cache

SELVANE_MULTIVERSION void place(const cVector3* points, std::size_t count, const Placement& placement,
                                cVector3* turned, cVector3* places) {
    for (std::size_t n = 0; n < count; ++n) {
        turned[n] = placement.rotation * points[n];
        places[n] = turned[n] + placement.middle;
    }
}

SELVANE_MULTIVERSION void addBlock(const FieldDerivatives* fields, const cVector3* turned,
                                   const double* weights, std::size_t count, Sums& result) {
    Sums sums = result; // a local one stays in registers
    for (std::size_t n = 0; n < count; ++n) {
        sums.add(fields[n], turned[n], weights[n]);
    }
    result = sums;
}

} // namespace

Placement moved(const Placement& placement, const cVector3& d, const cVector3& w) {
    const double angle = w.norm();
    if (!(angle > 0.0)) {
        return {placement.rotation, placement.middle + d};
    }
    cMatrix33 rotation = cMatrix33::fromAxisAngle(w / angle, angle) * placement.rotation;
    rotation.orthonormalize();
    return {rotation, placement.middle + d};
}

PoseOverlap poseOverlap(const SplineField& field, const PolishModel& model, const Placement& placement) {
    std::array<cVector3, blockSize> turned, places;
    std::array<FieldDerivatives, blockSize> fields;
    Sums sums;
    std::size_t inside = 0;
    for (std::size_t first = 0; first < model.points.size(); first += blockSize) {
        const std::size_t count = std::min(blockSize, model.points.size() - first);
        place(&model.points[first], count, placement, turned.data(), places.data());
        inside += field.derivatives(places.data(), count, fields.data());
        addBlock(fields.data(), turned.data(), &model.weights[first], count, sums);
    }
    PoseOverlap overlap = assembled(sums);
    overlap.inside = inside;
    return overlap;
}
