// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_PARSECIF_H
#define SELVANE_FORMATS_PARSECIF_H

#include <stdexcept>
#include <string>

namespace gemmi {
namespace cif {
struct Document;
}
} // namespace gemmi

/// A text that is no CIF; the text is "line 12: reason".
class CifError : public std::runtime_error {
public:
    CifError(std::size_t line, const std::string& reason)
        : std::runtime_error("line " + std::to_string(line) + ": " + reason) {}
};

/// The data blocks of a text in the syntax of CIF 1.1 (Hall, Allen & Brown 1991; International Tables G 2.2).
/// Values stay as they stand there, quotes included. Save frames, which only dictionaries have, are read
/// over.
/// @throws CifError for what breaks that syntax, a loop whose values are no multiple of its tags included
gemmi::cif::Document parseCif(const std::string& text);

#endif
