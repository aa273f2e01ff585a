// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_BENCHMARKS_BENCHMARKMODEL_H
#define SELVANE_BENCHMARKS_BENCHMARKMODEL_H

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include "Math/cGrid.h"
#include "Math/pi.h"
#include "NMAEngine/NormalModeEngine.h"

/// A ball of atoms packed as densely as the heavy atoms of a protein, and grids around it.
struct BenchmarkModel {
    static constexpr double spacing = 2.0;        ///< voxel edge and sigma, angstrom
    static constexpr double volumePerAtom = 17.0; ///< cubic angstrom

    /// @param modes  number of normal modes; their displacements are random
    explicit BenchmarkModel(std::size_t atoms, unsigned int modes = 0)
        : engine(std::make_shared<NormalModeEngine>(modes)) {
        const double radius = std::cbrt(volumePerAtom * static_cast<double>(atoms) * 3.0 / (4.0 * pi));
        std::mt19937 random(1);
        std::uniform_real_distribution<double> along(-1.0, 1.0);
        while (positions.size() < atoms) {
            const std::array<double, 3> p{along(random), along(random), along(random)};
            if (p[0] * p[0] + p[1] * p[1] + p[2] * p[2] < 1.0) {
                positions.push_back({radius * p[0], radius * p[1], radius * p[2]});
            }
        }
        engine->m_modes.set_size(3 * atoms, modes);
        for (double& element : engine->m_modes) {
            element = along(random);
        }
    }

    /// A cubic grid with the ball in its middle.
    static std::shared_ptr<cGrid> makeGrid(unsigned int nodes) {
        auto grid = std::make_shared<cGrid>();
        const double half = 0.5 * spacing * (nodes - 1);
        grid->m_box = cBBox(cVector3(-half, -half, -half), cVector3(half, half, half));
        grid->setSize(nodes, nodes, nodes);
        return grid;
    }

    std::shared_ptr<NormalModeEngine> engine;
    std::vector<std::array<double, 3>> positions;
};

/// The map's axis that pads to a power of two, as maps do: 25 voxels to 32, 50 to 64, 100 to 128.
inline unsigned int mapEdge(unsigned int paddedEdge) {
    return paddedEdge * 25 / 32;
}

/// A field of reproducible noise of mean 0.
inline std::vector<double> noiseField(std::size_t size) {
    std::mt19937 random(2);
    std::normal_distribution<double> value(0.0, 1.0);
    std::vector<double> field(size);
    for (double& element : field) {
        element = value(random);
    }
    return field;
}

#endif
