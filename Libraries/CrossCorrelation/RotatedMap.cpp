// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/RotatedMap.h"

#include <stdexcept>

#include "CrossCorrelation/fccf.h"
#include "Math/RotatedLattice.h"
#include "Math/cMatrix33.h"

RotatedMap::RotatedMap(const std::vector<double>& source, const cGrid& grid, double filterSigmas)
    : m_grid(grid), m_sampler(grid, source), m_filterSigmas(filterSigmas) {
    if (source.size() != grid.getTotalSize()) {
        throw std::length_error("RotatedMap: " + std::to_string(source.size()) + " values on a grid of " +
                                std::to_string(grid.getTotalSize()) + " nodes");
    }
}

void RotatedMap::rotate(const std::array<double, 3>& eulerAngles) {
    if (!m_values.empty() && eulerAngles == m_eulerAngles) {
        return;
    }
    m_values.resize(m_grid.getTotalSize());
    m_eulerAngles = eulerAngles;
    const cMatrix33 rotation = cMatrix33::rotationXYZ(eulerAngles[0], eulerAngles[1], eulerAngles[2]);
    const cVector3 center = 0.5 * (m_grid.m_box.m_min + m_grid.m_box.m_max);
    const RotatedLattice lattice(m_grid, rotation, center);
    fccf::MomentSums moments;
    double* row = m_values.data();
    for (unsigned int i = 0; i < m_grid.m_size[0]; ++i) {
        for (unsigned int j = 0; j < m_grid.m_size[1]; ++j) {
            m_sampler.sampleRow(lattice.rowStart(i, j), lattice.rowStep(), m_grid.m_size[2], row);
            moments.add(row, m_grid.m_size[2]);
            row += m_grid.m_size[2];
        }
    }
    const fccf::SigmaFilter filter(moments, m_filterSigmas);
    for (double& value : m_values) {
        value = filter(value);
    }
}
