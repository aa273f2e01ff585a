// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_BENCHMARKS_SCANCASE_H
#define SELVANE_BENCHMARKS_SCANCASE_H

#include <cstddef>
#include <string>

/// Input of a run of a given size: copies of the example's protein side by side, as many atoms as asked for,
/// and a cubic map of noise that shows them in its middle.
struct ScanCase {
    static constexpr double spacing = 2.0;     ///< voxel edge in angstrom
    static constexpr double resolution = 10.0; ///< angstrom
    static constexpr double noise = 0.5;       ///< in units of the standard deviation of the map

    int edge; ///< voxels
    std::size_t atoms;

    /// Writes model.pdb and map.ccp4 into a directory that is there.
    /// @throws std::runtime_error if a file cannot be written completely
    void write(const std::string& directory) const;
};

#endif
