// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_MODELCOPY_H
#define SELVANE_FORMATS_MODELCOPY_H

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Math/RigidMotion.h"

/// From a chain of the model to that of a copy.
using ChainNames = std::map<std::string, std::string>;

/// One of several copies of a model in a file.
struct ModelCopy {
    RigidMotion motion;
    std::vector<std::string> chains; ///< its names, in the order of those of the model
    ChainNames renamed;
};

/// @param chains  the names in the model
/// @param names   for each copy its names, in the order of chains
/// @throws std::invalid_argument if there is no place, if the sizes do not fit, or if a name is there twice
std::vector<ModelCopy> modelCopies(const std::vector<std::string>& chains,
                                   const std::vector<RigidMotion>& places,
                                   const std::vector<std::vector<std::string>>& names);

/// Labels of mmCIF for each copy, no two of them alike: the first copy keeps those of the model, the others
/// get the number of the copy behind, and an x as long as that is taken.
std::vector<ChainNames> copiedLabels(const std::set<std::string>& labels, std::size_t copies);

/// The lines of a PDB file that tell which chains are which copy.
std::string remarksOnCopies(const std::vector<ModelCopy>& copies);

#endif
