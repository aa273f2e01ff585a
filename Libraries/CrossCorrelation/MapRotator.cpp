// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/MapRotator.h"

#include <stdexcept>
#include <string>

#include "Math/cMatrix33.h"

MapRotator::MapRotator(const ScanMap& map, double filterSigmas)
    : MapRotator(map.values(), map.grid(), filterSigmas) {
    if (!map.singles().empty()) {
        m_sampler = lerp::SingleTrilinearSampler(map.grid(), map.singles());
    }
}

MapRotator::MapRotator(const std::vector<double>& source, const cGrid& grid, double filterSigmas)
    : m_grid(grid), m_sampler(lerp::TrilinearSampler(grid, source)), m_filterSigmas(filterSigmas) {
    if (source.size() != grid.getTotalSize()) {
        throw std::length_error("MapRotator: " + std::to_string(source.size()) + " values on a grid of " +
                                std::to_string(grid.getTotalSize()) + " nodes");
    }
}

fccf::SigmaFilter MapRotator::filterOf(const std::array<double, 3>& eulerAngles) const {
    std::vector<double> row(m_grid.m_size[2]);
    return rotate(eulerAngles, [&](std::size_t, std::size_t) { return row.data(); });
}

RotatedLattice MapRotator::latticeOf(const cGrid& grid, const std::array<double, 3>& eulerAngles) {
    return {grid, cMatrix33::rotationXYZ(eulerAngles[0], eulerAngles[1], eulerAngles[2]),
            grid.m_box.center()};
}
