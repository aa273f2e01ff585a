// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_TESTS_SCANSCENE_H
#define SELVANE_SEARCH_TESTS_SCANSCENE_H

#include <array>
#include <cstddef>
#include <random>
#include <vector>

#include "CrossCorrelation/tests/testModel.h"
#include "Search/ScanWorker.h"
#include "Search/SearchScene.h"

/// A model and a map on a grid smaller than that of the correlation, with unequal axes; who uses it fills in
/// the values.
struct ScanScene {
    explicit ScanScene(unsigned int modes) : model(modes) {
        map = cGrid(cBBox(cVector3(1.0, 3.0, 2.0), cVector3(13.0, 16.5, 11.0)), sizes.data());
        padded = *model.grid;
        padded.m_box.m_min = map.m_box.m_min;
    }

    SearchScene scene() const {
        return {&values,      &map,        &padded, model.grid,  &model.positions,
                model.engine, model.sigma, 0.5,     &trustRadius};
    }

    const std::array<unsigned int, 3> sizes = {9, 10, 7};
    TestModel model;
    cGrid map;
    cGrid padded;
    std::vector<double> values;
    double trustRadius = 0.5;
};

inline std::vector<Rotation> randomRotations(std::size_t count) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> angle(-3.0, 3.0);
    std::vector<Rotation> list(count);
    for (Rotation& rotation : list) {
        rotation = {angle(random), angle(random), angle(random)};
    }
    return list;
}

#endif
