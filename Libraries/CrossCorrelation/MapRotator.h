// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_MAPROTATOR_H
#define SELVANE_CROSSCORRELATION_MAPROTATOR_H

#include <array>
#include <cstddef>
#include <variant>
#include <vector>

#include "CrossCorrelation/ScanMap.h"
#include "CrossCorrelation/SigmaFilter.h"
#include "Interpolation/TrilinearSampler.h"
#include "Math/RotatedLattice.h"
#include "Math/cGrid.h"

/// Turns a map about the centre of its grid and resamples it on the same grid: the target of one rotation of
/// a scan, without its padding.
///
/// At the node p it holds the density of the source, of a ScanMap its singles where it has them, at c + R (p
/// - c), c the centre of the grid's box and R = cMatrix33::rotationXYZ(alpha, beta, gamma), by trilinear
/// interpolation; 0 outside the source's box. What lies below a fccf::SigmaFilter of the whole turned map
/// counts as 0; the filter is known only at the end, so the rows come without it.
class MapRotator {
public:
    /// @param map  not owned, must stay
    /// @throws std::length_error if it has more or fewer values than nodes
    MapRotator(const ScanMap& map, double filterSigmas);

    /// For few rotations, which do not pay for a ScanMap.
    /// @param source  grid.getTotalSize() values; neither it nor the grid is owned, both must stay
    /// @throws std::length_error if there are more or fewer values
    MapRotator(const std::vector<double>& source, const cGrid& grid, double filterSigmas);

    /// @param eulerAngles  in radians
    /// @param rowAt  rowAt(i, j), asked for in flat order, is where the densities at the nodes (i, j, 0),
    ///               (i, j, 1), ... go
    /// @return the filter that these densities have yet to go through
    template <class RowAt>
    fccf::SigmaFilter rotate(const std::array<double, 3>& eulerAngles, RowAt&& rowAt) const {
        return std::visit([&](const auto& sampler) { return rotate(eulerAngles, sampler, rowAt); },
                          m_sampler);
    }

    /// The same without a filter, for who can do with one plane at a time.
    /// @param planeDone  planeDone(i), behind the last row of plane i
    template <class RowAt, class PlaneDone>
    void rotatePlanes(const std::array<double, 3>& eulerAngles, RowAt&& rowAt, PlaneDone&& planeDone) const {
        std::visit(
            [&](const auto& sampler) {
                const RotatedLattice lattice = latticeOf(m_grid, eulerAngles);
                for (unsigned int i = 0; i < m_grid.m_size[0]; ++i) {
                    for (unsigned int j = 0; j < m_grid.m_size[1]; ++j) {
                        sampler.sampleRow(lattice.rowStart(i, j), lattice.rowStep(), m_grid.m_size[2],
                                          rowAt(i, j));
                    }
                    planeDone(i);
                }
            },
            m_sampler);
    }

    /// The filter of a rotation alone.
    fccf::SigmaFilter filterOf(const std::array<double, 3>& eulerAngles) const;

    /// Where the nodes of the grid lie in the source.
    static RotatedLattice latticeOf(const cGrid& grid, const std::array<double, 3>& eulerAngles);

private:
    template <class Sampler, class RowAt>
    fccf::SigmaFilter rotate(const std::array<double, 3>& eulerAngles, const Sampler& sampler,
                             RowAt& rowAt) const {
        const RotatedLattice lattice = latticeOf(m_grid, eulerAngles);
        fccf::FieldMoments moments;
        for (unsigned int i = 0; i < m_grid.m_size[0]; ++i) {
            for (unsigned int j = 0; j < m_grid.m_size[1]; ++j) {
                double* const row = rowAt(i, j);
                sampler.sampleRow(lattice.rowStart(i, j), lattice.rowStep(), m_grid.m_size[2], row);
                moments.add(row, m_grid.m_size[2]);
            }
        }
        return {moments, m_filterSigmas};
    }

    const cGrid& m_grid;
    std::variant<lerp::TrilinearSampler, lerp::SingleTrilinearSampler> m_sampler;
    double m_filterSigmas;
};

#endif
