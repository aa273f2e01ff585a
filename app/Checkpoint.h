// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_CHECKPOINT_H
#define SELVANE_APP_CHECKPOINT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"

class cGrid;

/// The file from which an interrupted scan goes on: where each worker stood in its range of rotations and
/// what its set of candidates held.
///
/// Layout, in the machine's own byte order: a magic word, the version of the layout, and sections of which
/// each has its length in front and its hash behind. The first says what the scan belongs to, the version of
/// the program included; then follows one per worker.
namespace checkpoint {

/// What a scan belongs to: it can only go on if all of it is as it was.
struct Identity {
    std::uint64_t map = 0;   ///< hash of what was read from the map
    std::uint64_t model = 0; ///< hash of what was read from the model
    std::uint64_t modes = 0; ///< hash of the modes that candidates carry amplitudes of; 0 if none do
    /// Name and value of every option that bears on the results, in a fixed order.
    std::vector<std::pair<std::string, std::string>> options;
};

/// What candidates of the present scan look like.
struct Shape {
    std::shared_ptr<const cGrid> grid; ///< of the correlation, which candidates share
    std::size_t nModes = 0;
    std::size_t capacity = 1; ///< of each worker's set
    std::size_t workers = 1;
};

using CandidateSet = LimitedSizeSet<HexaustFlexibleFitConformation>;

struct Worker {
    unsigned long done; ///< rotations of its range
    CandidateSet candidates;
};

/// A checkpoint that no scan can go on from. The text names the file and the remedy.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A worker's part of the file.
/// @param done  rotations of its range that its set has seen
std::string encode(unsigned long done, const CandidateSet& candidates);

/// Puts the file in place of an older one, which stays as it was if this fails: written beside it as
/// path + ".new", synced, renamed. From then on a signal that ends the run tells of it.
/// @param parts  of encode(), one per worker
/// @throws std::system_error
void write(const std::string& path, const Identity& identity, const std::vector<std::string>& parts);

/// The workers as write() left them: their sets hold the same candidates in the same order, bit by bit.
/// @param inputs  names of map and model, for the texts of errors
/// @throws Error if there is no such file, or it is damaged, of another version or of another scan
std::vector<Worker> read(const std::string& path, const Identity& identity, const Shape& shape,
                         const std::pair<std::string, std::string>& inputs);

/// Whether a file is there, of whatever content.
bool exists(const std::string& path);

/// @throws Error if there is no file
void require(const std::string& path);

} // namespace checkpoint

#endif
