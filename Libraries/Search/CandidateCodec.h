// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_CANDIDATECODEC_H
#define SELVANE_SEARCH_CANDIDATECODEC_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Search/ScanWorker.h"

class cGrid;

/// A worker's set of candidates as bytes and back, bit by bit. The bytes are of the machine that made them.
namespace checkpoint {

/// What candidates of the present scan look like.
struct Shape {
    std::shared_ptr<const cGrid> grid; ///< of the correlation, which candidates share
    std::size_t nModes = 0;
    std::size_t capacity = 1; ///< of each worker's set
    std::size_t workers = 1;
    std::size_t setsPerWorker = 1; ///< as ScanMethod has it
};

struct Worker {
    unsigned long done; ///< rotations of its share
    CandidateSet candidates;
};

/// @param done  rotations of the worker's share that its set has seen
std::string encode(unsigned long done, const CandidateSet& candidates);

/// The worker as encode() had it: its set holds the same candidates in the same order and goes on as that one
/// would.
/// @throws Damage if the bytes are not all that encode() gave, or of candidates that no scan of this shape
/// leaves
Worker decode(std::string_view bytes, const Shape& shape);

/// The same for all sets of a worker, of which there are `count`, one after another. One alone gives the
/// bytes of encode().
std::string encodeAll(unsigned long done, const CandidateSet* sets, std::size_t count);

/// The sets of a worker as encodeAll() had them, shape.setsPerWorker of them, each with the worker's count.
/// @throws Damage as decode(), or if the counts differ
std::vector<Worker> decodeAll(std::string_view bytes, const Shape& shape);

} // namespace checkpoint

#endif
