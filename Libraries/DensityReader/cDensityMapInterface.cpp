// SPDX-License-Identifier: GPL-3.0-or-later
#include "DensityReader/cDensityMapInterface.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "Decompositions/trilinear.h"

namespace {

/// Position of node n on one axis. The order of the operations is part of every look-up.
double nodePosition(std::size_t n, double cell, double min) {
    return static_cast<double>(n) * cell + min;
}

} // namespace

double cDensityMapInterface::getValue(const cVector3& position) const {
    if (isEmpty() || !m_grid.m_box.inBox(position)) {
        return 0.0;
    }
    const cVector3 index = m_grid.vectorToIndex(position);
    const int i = truncateToInt(index.x), j = truncateToInt(index.y), k = truncateToInt(index.z);
    return m_data->contains(i, j, k) ? getDensity(i, j, k) : 0.0;
}

double cDensityMapInterface::getValue(double x, double y, double z) const {
    return getValue(cVector3(x, y, z));
}

/// The look-up of a node is separable: per axis and node index, the index of the voxel that the node finds,
/// or -1 where it reads 0.
std::array<std::vector<long>, 3> cDensityMapInterface::makeLookUpTables() const {
    const cVector3& min = m_grid.m_box.m_min;
    const cVector3& max = m_grid.m_box.m_max;
    std::array<std::vector<long>, 3> tables;
    for (int axis = 0; axis < 3; ++axis) {
        auto& table = tables[static_cast<std::size_t>(axis)];
        table.assign(m_grid.m_size[axis], -1);
        const auto voxels = static_cast<long>(m_data->shape()[static_cast<std::size_t>(axis)]);
        cVector3 position = min;
        for (std::size_t n = 0; n < table.size(); ++n) {
            // Deliberate: each node is looked up again by its position. A face reads 0, and a node whose
            // quotient falls short of a whole number reads its lower neighbour.
            position[axis] = nodePosition(n, m_grid.m_cellDim[axis], min[axis]);
            const long found = truncateToInt(m_grid.vectorToIndex(position)[axis]);
            const bool inside = min[axis] < position[axis] && position[axis] < max[axis];
            table[n] = inside && found >= 0 && found < voxels ? found : -1;
        }
    }
    return tables;
}

std::vector<double> cDensityMapInterface::getValue() const {
    return sampleNodes([this](const cVector3& position) { return getValue(position); });
}

std::vector<double> cDensityMapInterface::lookUpNodes() const {
    std::vector<double> values(m_grid.getTotalSize());
    if (isEmpty() || values.empty()) {
        return values;
    }
    const auto tables = makeLookUpTables();
    const std::size_t ny = tables[1].size(), nz = tables[2].size();
    const std::size_t voxelsY = m_data->shape()[1], voxelsZ = m_data->shape()[2];
    for (std::size_t row = 0; row < tables[0].size() * ny; ++row) {
        const long i = tables[0][row / ny];
        const long j = tables[1][row % ny];
        if (i < 0 || j < 0) {
            continue;
        }
        const std::size_t voxelRow = static_cast<std::size_t>(i) * voxelsY + static_cast<std::size_t>(j);
        const double* voxels = m_data->values().data() + voxelRow * voxelsZ;
        for (std::size_t k = 0; k < nz; ++k) {
            const long found = tables[2][k];
            values[row * nz + k] = found < 0 ? 0.0 : voxels[found];
        }
    }
    return values;
}

template <class Field>
std::vector<double> cDensityMapInterface::sampleNodes(const Field& field) const {
    const cVector3& min = m_grid.m_box.m_min;
    const cVector3& cell = m_grid.m_cellDim;
    std::vector<double> values;
    values.reserve(m_grid.getTotalSize());
    for (unsigned int i = 0; i < m_grid.m_size[0]; ++i) {
        for (unsigned int j = 0; j < m_grid.m_size[1]; ++j) {
            for (unsigned int k = 0; k < m_grid.m_size[2]; ++k) {
                values.push_back(
                    field(cVector3(nodePosition(i, cell.x, min.x), nodePosition(j, cell.y, min.y),
                                   nodePosition(k, cell.z, min.z))));
            }
        }
    }
    return values;
}

std::vector<double> cDensityMapInterface::getAverageValue() const {
    return sampleNodes([this](const cVector3& position) { return getAverageValue(position); });
}

double cDensityMapInterface::getDensity(int i, int j, int k) const {
    if (isEmpty() || !m_data->contains(i, j, k)) {
        throw std::out_of_range("the density map has no voxel (" + std::to_string(i) + ", " +
                                std::to_string(j) + ", " + std::to_string(k) + ")");
    }
    return (*m_data)(static_cast<std::size_t>(i), static_cast<std::size_t>(j), static_cast<std::size_t>(k));
}

void cDensityMapInterface::loadFromValues(const std::vector<double>& values, const cGrid& grid) {
    const std::size_t total = grid.getTotalSize();
    if (total > values.size()) {
        throw std::invalid_argument("values.size() < grid.getTotalSize()");
    }
    if (std::size_t{grid.m_size[0]} * grid.m_size[1] * grid.m_size[2] != total) {
        throw std::invalid_argument("the grid's total size does not agree with its sizes");
    }
    auto voxels = std::make_shared<VoxelArray<double>>(grid.m_size[0], grid.m_size[1], grid.m_size[2]);
    std::copy_n(values.begin(), total, voxels->values().begin()); // both in cGrid order
    m_data = std::move(voxels);
    m_grid = grid;
    m_xAxis = cVector3(1.0, 0.0, 0.0);
    m_yAxis = cVector3(0.0, 1.0, 0.0);
    m_zAxis = cVector3(0.0, 0.0, 1.0);
    m_delta = grid.m_cellDim;
    m_origin = grid.m_box.m_min;
    if (total > 0) {
        const auto extremes = std::minmax_element(m_data->values().begin(), m_data->values().end());
        m_minDensity = static_cast<float>(*extremes.first);
        m_maxDensity = static_cast<float>(*extremes.second);
    }
}

void cDensityMapInterface::loadFromDecomposition(const cDecomposition& source) {
    double min = 0.0, max = 0.0;
    source.getMinMaxValues(min, max);
    m_grid = source.m_grid;
    loadFromValues(sampleNodes([&](const cVector3& position) { return source.getAverageValue(position); }),
                   source.m_grid);
    m_minDensity = static_cast<float>(min);
    m_maxDensity = static_cast<float>(max);
}

/// Coordinates along the crystal axes, in angstrom, solved from z down because the axes form a triangle.
cVector3 cDensityMapInterface::toMapFrame(const cVector3& position, const cVector3& origin) const {
    const double z = (position.z - origin.z) / m_zAxis.z;
    const double y = (position.y - origin.y - z * m_zAxis.y) / m_yAxis.y;
    const double x = (position.x - origin.x - z * m_zAxis.x - y * m_yAxis.x) / m_xAxis.x;
    return {x, y, z};
}

void cDensityMapInterface::worldToMap(const cVector3& position, int& i, int& j, int& k) const {
    cVector3 index = toMapFrame(position, m_origin) / m_delta;
    index.round();
    i = truncateToInt(index.x);
    j = truncateToInt(index.y);
    k = truncateToInt(index.z);
}

void cDensityMapInterface::mapToWorld(int i, int j, int k, cVector3& out) const {
    out = m_origin + i * m_delta.x * m_xAxis + j * m_delta.y * m_yAxis + k * m_delta.z * m_zAxis;
}

double cDensityMapInterface::getAverageValue(const cVector3& position) const {
    int i = 0, j = 0, k = 0;
    worldToMap(position, i, j, k);
    if (isEmpty() || !m_data->contains(i, j, k) || !m_data->contains(i + 1L, j + 1L, k + 1L)) {
        return 0.0;
    }
    cVector3 corner;
    mapToWorld(i, j, k, corner);
    const auto voxel = [this](int a, int b, int c) { return getDensity(a, b, c); };
    return blendTrilinearly(voxel, i, j, k, toMapFrame(position, corner) / m_delta);
}

cVector3 cDensityMapInterface::getWeightedCenter() const {
    cVector3 sum(0.0);
    double weight = 0.0;
    for (unsigned int i = 0; !isEmpty() && i < m_data->shape()[0]; ++i) {
        for (unsigned int j = 0; j < m_data->shape()[1]; ++j) {
            for (unsigned int k = 0; k < m_data->shape()[2]; ++k) {
                const double density = (*m_data)(i, j, k);
                cVector3 place;
                mapToWorld(static_cast<int>(i), static_cast<int>(j), static_cast<int>(k), place);
                sum += density * place;
                weight += density;
            }
        }
    }
    return sum / weight;
}

std::string cDensityMapInterface::getDefect() const {
    if (isEmpty()) {
        return "the map holds no voxels";
    }
    const auto finite = [](double value) { return std::isfinite(value); };
    for (int axis = 0; axis < 3; ++axis) {
        const std::string name(1, "xyz"[axis]);
        if (m_grid.m_size[axis] < 2) {
            return "the map has one voxel only along " + name;
        }
        for (const double edge : {m_delta[axis], m_grid.m_cellDim[axis]}) {
            if (!finite(edge) || !(edge > 0.0)) {
                return "the voxel size of the map along " + name + " is " + std::to_string(edge) +
                       ", not a positive number";
            }
        }
        if (!finite(m_grid.m_box.m_min[axis]) || !finite(m_grid.m_box.m_max[axis])) {
            return "the place of the map along " + name + " is not a number";
        }
    }
    const auto& voxels = m_data->values();
    const auto bad = std::count_if(voxels.begin(), voxels.end(), [&](double v) { return !finite(v); });
    return bad == 0 ? "" : "the map has " + std::to_string(bad) + " voxels that are not finite numbers";
}

void cDensityMapInterface::clearVoxels() {
    m_data.reset();
    m_grid = cGrid();
}
