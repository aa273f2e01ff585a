// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_TESTS_TESTMODEL_H
#define SELVANE_CROSSCORRELATION_TESTS_TESTMODEL_H

#include <array>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include "CrossCorrelation/ElectronDensity.h"
#include "Math/cGrid.h"
#include "Math/cVector3.h"
#include "NMAEngine/NormalModeEngine.h"

/// A handful of atoms on a small grid with unequal axes, with random modes.
struct TestModel {
    explicit TestModel(unsigned int modes = 0)
        : grid(std::make_shared<cGrid>()), engine(std::make_shared<NormalModeEngine>(modes)) {
        grid->m_box = cBBox(cVector3(-1.0, 2.0, 0.5), cVector3(15.5, 18.5, 12.5));
        grid->setSize(12, 11, 9);
        std::mt19937 random(7);
        std::uniform_real_distribution<double> along(0.0, 1.0);
        for (int a = 0; a < 6; ++a) {
            positions.push_back(
                {5.0 + 4.0 * along(random), 8.0 + 4.0 * along(random), 4.5 + 3.0 * along(random)});
        }
        engine->m_modes.set_size(3 * positions.size(), modes);
        for (auto& element : engine->m_modes) {
            element = along(random) - 0.5;
        }
    }

    ElectronDensity density() const {
        return ElectronDensity(positions.data(), sigma, positions.size(), grid, *engine,
                               arma::Col<double>(engine->m_nModes, arma::fill::zeros),
                               ElectronDensity::EPSILON);
    }

    cVector3 node(std::size_t flatIndex) const {
        const auto [i, j, k] = grid->m_flatIndex2Index[flatIndex];
        return {grid->m_box.m_min.x + static_cast<double>(i) * grid->m_cellDim.x,
                grid->m_box.m_min.y + static_cast<double>(j) * grid->m_cellDim.y,
                grid->m_box.m_min.z + static_cast<double>(k) * grid->m_cellDim.z};
    }

    std::shared_ptr<cGrid> grid;
    std::shared_ptr<NormalModeEngine> engine;
    std::vector<std::array<double, 3>> positions;
    double sigma = 1.4;
};

/// A field of reproducible noise.
inline std::vector<double> noise(std::size_t size, unsigned int seed, double low = -1.0, double high = 1.0) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(low, high);
    std::vector<double> field(size);
    for (double& element : field) {
        element = value(random);
    }
    return field;
}

#endif
