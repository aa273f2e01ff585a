// SPDX-License-Identifier: GPL-3.0-or-later
// Derivatives of the correlation, made when they are read.
#include <algorithm>
#include <cmath>

#include "CrossCorrelation/AnyOrderCrossCorrelation.h"
#include "CrossCorrelation/DerivativeReader.h"
#include "CrossCorrelation/shiftedBox.h"
#include "CrossCorrelation/shiftedSums.h"
#include "Math/pi.h"

namespace {

constexpr double correlationScale = 1.0 / (8.0 * pi * pi * pi); // (2 pi)^-3

/// Up to here the weighted sums for each voxel are cheaper than gradient maps of n degrees of freedom.
std::size_t mostVoxelsWithoutMaps(std::size_t n) {
    return 4 + n;
}

/// Flat index of the node at -s, wrapped per axis.
std::size_t mirrored(const cGrid& grid, std::size_t s) {
    const auto [i, j, k] = grid.m_flatIndex2Index[s];
    const auto opposite = [](std::size_t index, std::size_t n) { return index == 0 ? 0 : n - index; };
    return (opposite(i, grid.m_size[0]) * grid.m_size[1] + opposite(j, grid.m_size[1])) * grid.m_size[2] +
           opposite(k, grid.m_size[2]);
}

/// Calls visit(place in the box, flat index on the grid) for every node of a box.
template <class Visit>
void forEachNode(const NodeBox& box, const cGrid& grid, Visit&& visit) {
    std::size_t b = 0;
    for (int i = box.low[0]; i <= box.high[0]; ++i) {
        for (int j = box.low[1]; j <= box.high[1]; ++j) {
            for (int k = box.low[2]; k <= box.high[2]; ++k) {
                visit(b++, grid.indexToFlatIndex(i, j, k));
            }
        }
    }
}

} // namespace

const double* AnyOrderCrossCorrelation::targetAsExecuted() const {
    if (!m_reader) {
        m_reader = std::make_unique<DerivativeReader>();
    }
    if (m_reader->target.empty()) {
        m_reader->target.resize(m_ccf.size());
        m_correlator.recoverTarget(m_reader->target.data());
    }
    return m_reader->target.data();
}

bool AnyOrderCrossCorrelation::isTabulated() const {
    return m_tabulatedPattern == m_executedPattern;
}

const DensityTable& AnyOrderCrossCorrelation::tableAsExecuted() const {
    if (!isTabulated()) {
        m_table = m_executedPattern->density->tabulate(m_derivatives == Derivatives::Second);
        m_tabulatedPattern = m_executedPattern;
    }
    return m_table;
}

/// Operations per derivative map: a multiplication and an addition per node and shift, against two transforms
/// of about 2.5 N log2 N each.
bool AnyOrderCrossCorrelation::prefersDirectSums(std::size_t shifts, std::size_t nodes) const {
    const auto voxels = static_cast<double>(m_ccf.size());
    const double direct = 2.0 * static_cast<double>(shifts) * static_cast<double>(nodes);
    return direct <= 5.0 * voxels * std::log2(voxels + 1.0);
}

DerivativeReader& AnyOrderCrossCorrelation::readerOfWholeGrids() const {
    targetAsExecuted();
    m_reader->makeEngine(*m_grid);
    return *m_reader;
}

std::vector<double> AnyOrderCrossCorrelation::derivativesAt(const std::vector<std::size_t>& shifts) const {
    if (!m_executedPattern || m_derivatives == Derivatives::None) {
        return std::vector<double>(shifts.size() * columns(), 0.0);
    }
    const NodeBox box = m_executedPattern->density->reachedBox();
    return prefersDirectSums(shifts.size(), isTabulated() ? m_table.nodes.size() : box.size())
               ? derivativesAt(shifts, targetAsExecuted())
               : derivativesByTransforms(shifts);
}

/// A table costs about as many evaluations of the density as it has columns, the moments of one shift a few.
std::vector<double> AnyOrderCrossCorrelation::derivativesAt(const std::vector<std::size_t>& shifts,
                                                            const double* target) const {
    constexpr std::size_t evaluationsOfMoments = 4;
    if (!isTabulated() && evaluationsOfMoments * shifts.size() <= columns()) {
        return derivativesOfMoments(shifts, target);
    }
    return shiftedSums(tableAsExecuted(), *m_grid, target, shifts);
}

std::vector<double> AnyOrderCrossCorrelation::derivativesOfMoments(const std::vector<std::size_t>& shifts,
                                                                   const double* target) const {
    std::vector<double> rows;
    rows.reserve(shifts.size() * columns());
    for (const std::size_t shift : shifts) {
        const std::vector<double> row = weightedDerivatives({{shift, 1.0}}, target);
        rows.insert(rows.end(), row.begin(), row.end());
    }
    return rows;
}

std::vector<double>
AnyOrderCrossCorrelation::derivativesByTransforms(const std::vector<std::size_t>& shifts) const {
    const DensityTable& table = tableAsExecuted();
    DerivativeReader& reader = readerOfWholeGrids();
    std::fill(reader.map.begin(), reader.map.end(), 0.0);
    std::vector<double> rows(shifts.size() * columns());
    for (std::size_t q = 0; q < columns(); ++q) {
        for (std::size_t n = 0; n < table.nodes.size(); ++n) {
            reader.map[table.nodes[n]] = table.row(n)[1 + q];
        }
        reader.correlateMap();
        for (std::size_t p = 0; p < shifts.size(); ++p) {
            rows[p * columns() + q] = reader.correlation[shifts[p]];
        }
    }
    return rows;
}

/// (2 pi)^-3 times the sum over the voxels s of weight * target(u - s), at the nodes u of the box: derivative
/// maps need summing against this field only once, however many voxels there are.
std::vector<double> AnyOrderCrossCorrelation::blendTarget(const NodeBox& box,
                                                          const std::vector<WeightedVoxel>& voxels,
                                                          const double* target) const {
    if (!prefersDirectSums(voxels.size(), box.size())) {
        return blendTargetByTransforms(box, voxels);
    }
    std::vector<double> blend(box.size(), 0.0);
    for (const WeightedVoxel& voxel : voxels) {
        addShiftedTarget(box, *m_grid, target, voxel.shift, correlationScale * voxel.weight, blend.data());
    }
    return blend;
}

/// The same sum is the correlation of the target with the weights mirrored, read at -u.
std::vector<double>
AnyOrderCrossCorrelation::blendTargetByTransforms(const NodeBox& box,
                                                  const std::vector<WeightedVoxel>& voxels) const {
    DerivativeReader& reader = readerOfWholeGrids();
    std::fill(reader.map.begin(), reader.map.end(), 0.0);
    for (const WeightedVoxel& voxel : voxels) {
        reader.map[mirrored(*m_grid, voxel.shift)] = voxel.weight;
    }
    reader.correlateMap();
    std::vector<double> blend(box.size());
    forEachNode(box, *m_grid, [&](std::size_t b, std::size_t node) {
        blend[b] = reader.correlation[mirrored(*m_grid, node)];
    });
    return blend;
}

std::vector<double> AnyOrderCrossCorrelation::weightedDerivatives(const std::vector<WeightedVoxel>& voxels,
                                                                  const double* target) const {
    const ElectronDensity& density = *m_executedPattern->density;
    return density.weighDerivatives({blendTarget(density.reachedBox(), voxels, target)},
                                    m_derivatives == Derivatives::Second);
}

std::vector<double> AnyOrderCrossCorrelation::gradientsAt(const std::vector<WeightedVoxel>& voxels,
                                                          const double* target) const {
    const ElectronDensity& density = *m_executedPattern->density;
    const NodeBox box = density.reachedBox();
    const std::size_t n = nDof();
    if (voxels.size() <= mostVoxelsWithoutMaps(n)) {
        std::vector<std::vector<double>> targets;
        targets.reserve(voxels.size());
        for (const WeightedVoxel& voxel : voxels) {
            targets.push_back(blendTarget(box, {{voxel.shift, 1.0}}, target));
        }
        return density.weighDerivatives(targets, false);
    }
    std::vector<double> rows(voxels.size() * n);
    const std::vector<double> maps = density.gradientOnBox();
    if (prefersDirectSums(voxels.size(), box.size())) {
        std::vector<double> shifted(box.size());
        for (std::size_t p = 0; p < voxels.size(); ++p) {
            std::fill(shifted.begin(), shifted.end(), 0.0);
            addShiftedTarget(box, *m_grid, target, voxels[p].shift, correlationScale, shifted.data());
            for (std::size_t i = 0; i < n; ++i) {
                rows[p * n + i] = dotProduct(maps.data() + i * box.size(), shifted.data(), box.size());
            }
        }
        return rows;
    }
    DerivativeReader& reader = readerOfWholeGrids();
    std::fill(reader.map.begin(), reader.map.end(), 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        const double* map = maps.data() + i * box.size();
        forEachNode(box, *m_grid, [&](std::size_t b, std::size_t node) { reader.map[node] = map[b]; });
        reader.correlateMap();
        for (std::size_t p = 0; p < voxels.size(); ++p) {
            rows[p * n + i] = reader.correlation[voxels[p].shift];
        }
    }
    return rows;
}
