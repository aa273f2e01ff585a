// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_PDB_H
#define SELVANE_EXAMPLES_PDB_H

#include <optional>
#include <string>
#include <vector>

#include "examples/Model.h"

namespace example {

/// A PDB file of one model: its title, ATOM records with the element right-justified in columns 77 and 78, a
/// TER record behind each chain, END.
std::string pdbText(const Model& model, const std::string& title);

/// One pose of a solution file; the scores are absent where the file has no such remark.
struct Pose {
    int number = 0;
    std::optional<double> score;
    std::optional<double> refinedScore;
    Model atoms;
};

/// The poses of a solution file in their order. A file without MODEL records is one pose, number 0.
/// @throws std::runtime_error for a line whose numbers cannot be read, with its line number
std::vector<Pose> posesFromPdb(const std::string& text);

} // namespace example

#endif
