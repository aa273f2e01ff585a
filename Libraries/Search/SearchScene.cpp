// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/SearchScene.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <armadillo>

#include "CrossCorrelation/ElectronDensity.h"
#include "NMAEngine/NormalModeEngine.h"

namespace {

constexpr double largestNodeCount = 2147483647.0;

/// Moves the corners of the model's box: the low one onto a node of the map. fmod has the sign of its
/// dividend, so below the map's corner the low corner moves inwards.
// Deliberate: the high corner moves away by its remainder and does not land on a node; the node count comes
// from the map.
void alignWithMap(cBBox& box, const cGrid& map) {
    const cVector3 origin = map.m_box.m_min;
    const cVector3 cell = map.m_cellDim;
    const cVector3 lowShift(std::fmod(box.m_min.x - origin.x, cell.x),
                            std::fmod(box.m_min.y - origin.y, cell.y),
                            std::fmod(box.m_min.z - origin.z, cell.z));
    const cVector3 highShift(std::fmod(box.m_max.x - origin.x, cell.x),
                             std::fmod(box.m_max.y - origin.y, cell.y),
                             std::fmod(box.m_max.z - origin.z, cell.z));
    box.m_min -= lowShift;
    box.m_max += highShift;
}

double nodeCount(const cBBox& box, const cVector3& cell) {
    const auto nodes = [](double edge, double step) { return std::ceil(edge / step) + 1.0; };
    return nodes(box.m_max.x - box.m_min.x, cell.x) * nodes(box.m_max.y - box.m_min.y, cell.y) *
           nodes(box.m_max.z - box.m_min.z, cell.z);
}

double paddedNodeCount(const cGrid& map, bool padding) {
    double count = 1.0;
    for (unsigned int size : map.m_size) {
        count *= padding ? getPowerTwo(size) : size;
    }
    return count;
}

} // namespace

std::shared_ptr<cGrid> laySearchGrid(const cGrid& map, const std::vector<std::array<double, 3>>& positions,
                                     double sigma) {
    cBBox box = ElectronDensity::getBoundingBox(positions, sigma, ElectronDensity::EPSILON, 1.0);
    alignWithMap(box, map);
    if (!(nodeCount(box, map.m_cellDim) <= largestNodeCount)) {
        throw std::length_error("the model's box has more than 2^31 nodes at the map's voxel size");
    }
    const auto grid = std::make_shared<cGrid>(box, map.m_size);
    grid->setCellDim(map.m_cellDim);
    return grid;
}

void padSearchGrids(SearchGrids& grids, const cGrid& map, bool padding, cInfo& info) {
    if (!(paddedNodeCount(map, padding) <= largestNodeCount)) {
        throw std::length_error("the padded map has more than 2^31 voxels");
    }
    grids.paddedStructure = std::make_shared<cGrid>();
    cGrid::paddTwoGridsToPowerTwo(map, *grids.structure, grids.padded, *grids.paddedStructure, info,
                                  !padding);
    grids.paddedStructure->m_center = grids.structure->m_center;
}

bool cutsModel(const SearchGrids& grids) {
    return grids.structure->m_size[0] > grids.padded.m_size[0] ||
           grids.structure->m_size[1] > grids.padded.m_size[1] ||
           grids.structure->m_size[2] > grids.padded.m_size[2];
}

cVector3 SearchScene::rotationCenter() const {
    return map->m_box.center();
}

std::shared_ptr<const ElectronDensity> SearchScene::modelDensity() const {
    const arma::Col<double> eta(modes->m_nModes, arma::fill::zeros);
    auto density = std::make_shared<ElectronDensity>(positions->data(), sigma, positions->size(),
                                                     paddedStructure, *modes, eta, ElectronDensity::EPSILON);
    density->setRotationCenter(rotationCenter());
    return density;
}
