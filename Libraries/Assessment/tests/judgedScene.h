// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_TESTS_JUDGEDSCENE_H
#define SELVANE_ASSESSMENT_TESTS_JUDGEDSCENE_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <utility>
#include <vector>

#include "Assessment/ScoringMap.h"
#include "Formats/AtomicModel.h"
#include "Math/RigidMotion.h"
#include "Math/pi.h"
#include "Preparation/ScanChoice.h"
#include "Preparation/tests/mapsOfBlobs.h"

/// Atoms of unequal masses in a ball that is longer along x than along z.
inline std::vector<ModelAtom> cloud(std::size_t count, double radius, unsigned int seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> place(-radius, radius);
    std::uniform_real_distribution<double> mass(10.0, 20.0);
    std::vector<ModelAtom> atoms;
    while (atoms.size() < count) {
        const cVector3 x(place(random), place(random), place(random));
        if (x.norm2() < radius * radius) {
            ModelAtom atom;
            atom.position = cVector3(1.2 * x.x, x.y, 0.7 * x.z);
            atom.mass = mass(random);
            atoms.push_back(atom);
        }
    }
    return atoms;
}

/// A rotation by an angle in degrees about an axis of any length, and a shift.
inline RigidMotion turned(const cVector3& axis, double angle, const cVector3& shift) {
    return {cMatrix33::fromAxisAngle(axis.normalizedVersion(), angle * radiansPerDegree), shift};
}

/// The density of atoms at some places, as an instrument of a resolution would show it.
inline DensityMap simulated(const std::vector<ModelAtom>& atoms, const std::vector<RigidMotion>& places,
                            double resolution, const std::array<std::size_t, 3>& size, const cVector3& origin,
                            double voxel) {
    DensityMap map = mapOf(size, origin, cVector3(voxel), [](const cVector3&) { return 0.0; });
    const double sigma = gaussianOf(resolution);
    const auto reach = static_cast<long>(std::ceil(6.0 * sigma / voxel));
    for (const RigidMotion& motion : places) {
        for (const ModelAtom& atom : atoms) {
            const Blob blob{motion(atom.position), sigma, atom.mass};
            const cVector3 node = (blob.middle - origin) / voxel;
            const auto range = [&](double at, std::size_t count) {
                const auto middle = static_cast<long>(std::floor(at));
                const auto last = static_cast<long>(count);
                return std::pair<std::size_t, std::size_t>(
                    static_cast<std::size_t>(std::clamp(middle - reach, 0L, last)),
                    static_cast<std::size_t>(std::clamp(middle + reach + 1, 0L, last)));
            };
            const auto x = range(node.x, size[0]), y = range(node.y, size[1]), z = range(node.z, size[2]);
            for (std::size_t i = x.first; i < x.second; ++i) {
                for (std::size_t j = y.first; j < y.second; ++j) {
                    for (std::size_t k = z.first; k < z.second; ++k) {
                        map.values[map.index(i, j, k)] += static_cast<float>(blob(placeOf(map, i, j, k)));
                    }
                }
            }
        }
    }
    return map;
}

#endif
