// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_PREPAREDFILES_H
#define SELVANE_FIT_PREPAREDFILES_H

#include <cstddef>
#include <string>
#include <vector>

#include "Formats/AtomicModel.h"
#include "Preparation/FrameBack.h"
#include "Preparation/PreparedMap.h"
#include "Preparation/PreparedModel.h"
#include "Preparation/ScanChoice.h"
#include "fit/FitOptions.h"

/// What the program selvane needs to scan a prepared pair, and the way back.
struct PreparedPair {
    PreparedMap map;
    PreparedModel model;
    ScanChoice choice;
};

/// Writes map.ccp4, model.pdb, frame.json and command.txt: map and model in the prepared frame, whose origin
/// is the first voxel of the map, with the middle of the model at the middle of the map.
/// @param folder  an existing one
/// @throws std::runtime_error with the path and the reason when a file cannot be written
void writePreparedFiles(const std::string& folder, const PreparedPair& pair, const FitOptions& options);

/// ATOM and HETATM lines of the PDB format in its standard columns, and END. Serial numbers beyond 99,999 and
/// residue numbers beyond 9,999 go on as hybrid-36; of longer names of chains and residues the first
/// characters stay.
/// @param shift  added to every position, angstrom
std::string pdbText(const std::vector<ModelAtom>& atoms, const cVector3& shift);

/// A number in so many columns, right-justified: decimal as long as it fits, then hybrid-36, upper case
/// letters before lower case ones; stars beyond.
std::string hybrid36(long number, std::size_t width);

/// The command line of selvane that scans the files of a folder.
std::string selvaneCommand(const std::string& folder, const ScanChoice& choice, std::size_t threads);

#endif
