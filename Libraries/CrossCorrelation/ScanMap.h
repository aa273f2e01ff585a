// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_SCANMAP_H
#define SELVANE_CROSSCORRELATION_SCANMAP_H

#include <vector>

#include "Math/cGrid.h"

/// The map that a scan turns; immutable, so that all workers share it.
///
/// Besides its values it holds them in single precision if that is exact, as it is for every map that comes
/// from a file and was not resampled: the same numbers in half the memory, which the sampling waits for. For
/// a scan in single precision, to which the unit of the map is of no account, it holds them rounded.
class ScanMap {
public:
    enum class Singles {
        IfExact,
        Rounded ///< times the power of two that brings the largest below 1, so that squares fit
    };

    /// @param values  one per node of the grid, which MapRotator checks; neither they nor the grid are owned,
    ///                both must stay
    ScanMap(const std::vector<double>& values, const cGrid& grid, Singles singles = Singles::IfExact);

    const std::vector<double>& values() const { return m_values; }
    const cGrid& grid() const { return m_grid; }

    /// The values in single precision; empty if they were to be exact and one of them isn't.
    const std::vector<float>& singles() const { return m_singles; }

private:
    const std::vector<double>& m_values;
    const cGrid& m_grid;
    std::vector<float> m_singles;
};

#endif
