// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_ROTATEDMAP_H
#define SELVANE_CROSSCORRELATION_ROTATEDMAP_H

#include <array>
#include <cstddef>
#include <vector>

#include "CrossCorrelation/CornerField.h"
#include "Interpolation/TrilinearSampler.h"
#include "Math/cGrid.h"

/// A map turned about the centre of its grid and resampled on the same grid, with zeros where it lies below
/// the filter: the target of one rotation of a scan, without its padding.
///
/// At the node p it holds the density of the source at c + R (p - c), c the centre of the grid's box and R =
/// cMatrix33::rotationXYZ(alpha, beta, gamma), by trilinear interpolation; 0 outside the source's box.
class RotatedMap {
public:
    /// @param source  grid.getTotalSize() values; neither it nor the grid is owned, both must stay
    /// @param filterSigmas  of the fccf::SigmaFilter that each rotated map goes through
    /// @throws std::length_error if the source hasn't as many values as the grid
    RotatedMap(const std::vector<double>& source, const cGrid& grid, double filterSigmas);

    /// Takes up a rotation, angles in radians. The present one costs nothing.
    void rotate(const std::array<double, 3>& eulerAngles);

    /// The density at the nodes (i, j, 0), (i, j, 1), ...; after the first rotate().
    const double* row(std::size_t i, std::size_t j) const {
        return m_values.data() + (i * m_grid.m_size[1] + j) * m_grid.m_size[2];
    }

    /// The density as a field on any grid that begins at the same node and has no fewer nodes; it changes
    /// with the rotation.
    CornerField field() const { return CornerField::whole(m_values.data(), m_grid); }

    const cGrid& grid() const { return m_grid; }

private:
    const cGrid& m_grid;
    lerp::TrilinearSampler m_sampler;
    double m_filterSigmas;
    std::array<double, 3> m_eulerAngles{};
    std::vector<double> m_values; ///< empty before the first rotation
};

#endif
