// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_SCANSHARE_H
#define SELVANE_SEARCH_SCANSHARE_H

#include <cstddef>

/// The part of a list of rotations that one worker does. Parts are contiguous and follow each other in the
/// order of the workers' indices, so that any list, however it is dealt to threads and processes, gives the
/// same sets as long as the number of all workers is the same.
struct ScanShare {
    std::size_t first = 0;
    std::size_t count = 0;
    std::size_t worker = 0; ///< index among all workers, whatever process they belong to

    /// The share of a worker: ceil(rotations / workers) each, late workers fewer or none.
    static ScanShare of(std::size_t worker, std::size_t workers, std::size_t rotations);
};

#endif
