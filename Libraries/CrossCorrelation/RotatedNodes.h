// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_ROTATEDNODES_H
#define SELVANE_CROSSCORRELATION_ROTATEDNODES_H

#include <array>
#include <cstddef>
#include <vector>

#include "CrossCorrelation/SigmaFilter.h"
#include "Interpolation/TrilinearSampler.h"
#include "Math/RotatedLattice.h"
#include "Math/cGrid.h"

/// One rotation of a map, read at single nodes: what MapRotator gives there, filtered, bit for bit if the
/// filter is the one of that rotation.
class RotatedNodes {
public:
    /// The source and its grid as for MapRotator.
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
