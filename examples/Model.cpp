// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/Model.h"

#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace example {
namespace {

double squaredNorm(const Vec3& v) {
    return dot(v, v);
}

double rounded(double coordinate) {
    return std::round(coordinate * 1000.0) / 1000.0;
}

} // namespace

Vec3 centroid(const Model& model) {
    Vec3 sum;
    for (const Atom& atom : model) {
        sum = sum + atom.position;
    }
    return (1.0 / static_cast<double>(model.size())) * sum;
}

double radiusOfGyration(const Model& model) {
    const Vec3 center = centroid(model);
    double sum = 0.0;
    for (const Atom& atom : model) {
        sum += squaredNorm(atom.position - center);
    }
    return std::sqrt(sum / static_cast<double>(model.size()));
}

double rmsd(const Model& a, const Model& b) {
    if (a.size() != b.size() || a.empty()) {
        throw std::invalid_argument("models of " + std::to_string(a.size()) + " and " +
                                    std::to_string(b.size()) + " atoms cannot be compared");
    }
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        sum += squaredNorm(a[i].position - b[i].position);
    }
    return std::sqrt(sum / static_cast<double>(a.size()));
}

Model placed(const Model& model, const Placement& placement) {
    Model result = model;
    for (Atom& atom : result) {
        atom.position = placement.rotation * atom.position + placement.translation;
    }
    return result;
}

Model roundedToFile(const Model& model) {
    Model result = model;
    for (Atom& atom : result) {
        atom.position = {rounded(atom.position.x), rounded(atom.position.y), rounded(atom.position.z)};
    }
    return result;
}

} // namespace example
