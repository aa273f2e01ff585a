// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_ROTATEDMAP_H
#define SELVANE_CROSSCORRELATION_ROTATEDMAP_H

#include <array>
#include <cstddef>
#include <vector>

#include "CrossCorrelation/fccf.h"
#include "Interpolation/TrilinearSampler.h"
#include "Math/RotatedLattice.h"
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

    /// Takes up a rotation, angles in radians.
    void rotate(const std::array<double, 3>& eulerAngles);

    /// Writes the density at the nodes (i, j, 0), (i, j, 1), ...; after the first rotate().
    void copyRow(std::size_t i, std::size_t j, double* out) const;

    /// The filter of the present rotation.
    const fccf::SigmaFilter& filter() const { return m_filter; }

private:
    const cGrid& m_grid;
    lerp::TrilinearSampler m_sampler;
    double m_filterSigmas;
    std::vector<double> m_values; ///< rotated, before the filter; empty before the first rotation
    fccf::SigmaFilter m_filter;
};

/// One rotation of a map, read at single nodes: what RotatedMap holds there, bit for bit, if the filter is
/// the one that it had at that rotation.
class RotatedNodes {
public:
    /// The source and its grid as for RotatedMap.
    RotatedNodes(const std::vector<double>& source, const cGrid& grid,
                 const std::array<double, 3>& eulerAngles, const fccf::SigmaFilter& filter);

    /// The density at a node; 0 for one that the grid doesn't have.
    double operator()(std::size_t i, std::size_t j, std::size_t k) const;

private:
    std::array<std::size_t, 3> m_size;
    lerp::TrilinearSampler m_sampler;
    RotatedLattice m_lattice;
    fccf::SigmaFilter m_filter;
};

#endif
