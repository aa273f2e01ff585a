// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/RotatedNodes.h"

#include "CrossCorrelation/MapRotator.h"

RotatedNodes::RotatedNodes(const std::vector<double>& source, const cGrid& grid,
                           const std::array<double, 3>& eulerAngles, const fccf::SigmaFilter& filter)
    : m_size{grid.m_size[0], grid.m_size[1], grid.m_size[2]}
    , m_sampler(grid, source)
    , m_lattice(MapRotator::latticeOf(grid, eulerAngles))
    , m_filter(filter) {}

double RotatedNodes::operator()(std::size_t i, std::size_t j, std::size_t k) const {
    if (!(i < m_size[0] && j < m_size[1] && k < m_size[2])) {
        return 0.0;
    }
    return m_filter(m_sampler(
        m_lattice(static_cast<unsigned int>(i), static_cast<unsigned int>(j), static_cast<unsigned int>(k))));
}
