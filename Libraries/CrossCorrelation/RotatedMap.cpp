// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/RotatedMap.h"

#include <stdexcept>
#include <string>

#include "Math/cMatrix33.h"

namespace {

RotatedLattice rotatedNodes(const cGrid& grid, const std::array<double, 3>& eulerAngles) {
    return RotatedLattice(grid, cMatrix33::rotationXYZ(eulerAngles[0], eulerAngles[1], eulerAngles[2]),
                          0.5 * (grid.m_box.m_min + grid.m_box.m_max));
}

void prefetchRow(const double* row, std::size_t n) {
    constexpr std::size_t perCacheLine = 8;
    for (std::size_t k = 0; k < n; k += perCacheLine) {
        __builtin_prefetch(row + k, 0, 2);
    }
}

} // namespace

RotatedMap::RotatedMap(const std::vector<double>& source, const cGrid& grid, double filterSigmas)
    : m_grid(grid), m_sampler(grid, source), m_filterSigmas(filterSigmas), m_filter({}, filterSigmas) {
    if (source.size() != grid.getTotalSize()) {
        throw std::length_error("RotatedMap: " + std::to_string(source.size()) + " values on a grid of " +
                                std::to_string(grid.getTotalSize()) + " nodes");
    }
}

void RotatedMap::rotate(const std::array<double, 3>& eulerAngles) {
    m_values.resize(m_grid.getTotalSize());
    const RotatedLattice lattice = rotatedNodes(m_grid, eulerAngles);
    fccf::MomentSums moments;
    double* row = m_values.data();
    for (unsigned int i = 0; i < m_grid.m_size[0]; ++i) {
        for (unsigned int j = 0; j < m_grid.m_size[1]; ++j) {
            m_sampler.sampleRow(lattice.rowStart(i, j), lattice.rowStep(), m_grid.m_size[2], row);
            moments.add(row, m_grid.m_size[2]);
            row += m_grid.m_size[2];
        }
    }
    m_filter = fccf::SigmaFilter(moments, m_filterSigmas);
}

void RotatedMap::copyRow(std::size_t i, std::size_t j, double* out) const {
    const std::size_t length = m_grid.m_size[2];
    const double* const row = m_values.data() + (i * m_grid.m_size[1] + j) * length;
    // The same row of the next plane will be asked for when this plane has been transformed.
    if (i + 1 < m_grid.m_size[0]) {
        prefetchRow(row + m_grid.m_size[1] * length, length);
    }
    const fccf::SigmaFilter filter = m_filter;
    for (std::size_t k = 0; k < length; ++k) {
        out[k] = filter(row[k]);
    }
}

RotatedNodes::RotatedNodes(const std::vector<double>& source, const cGrid& grid,
                           const std::array<double, 3>& eulerAngles, const fccf::SigmaFilter& filter)
    : m_size{grid.m_size[0], grid.m_size[1], grid.m_size[2]}
    , m_sampler(grid, source)
    , m_lattice(rotatedNodes(grid, eulerAngles))
    , m_filter(filter) {}

double RotatedNodes::operator()(std::size_t i, std::size_t j, std::size_t k) const {
    if (!(i < m_size[0] && j < m_size[1] && k < m_size[2])) {
        return 0.0;
    }
    return m_filter(m_sampler(
        m_lattice(static_cast<unsigned int>(i), static_cast<unsigned int>(j), static_cast<unsigned int>(k))));
}
