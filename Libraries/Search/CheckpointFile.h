// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_CHECKPOINTFILE_H
#define SELVANE_SEARCH_CHECKPOINTFILE_H

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Search/CandidateCodec.h"

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

/// A checkpoint that no scan can go on from. The text names the file and the remedy.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Puts the file in place of an older one, which stays as it was if this fails: written beside it as
/// path + ".new", synced, renamed.
/// @param parts   of encode(), one per worker
/// @param placed  called as soon as the file has its name, while the directory is still on its way to the
/// disk
/// @throws std::system_error
void write(const std::string& path, const Identity& identity, const std::vector<std::string>& parts,
           const std::function<void()>& placed = {});

/// The workers as write() left them, one for each of their sets: these hold the same candidates in the same
/// order, bit by bit.
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
