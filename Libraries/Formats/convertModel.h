// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_CONVERTMODEL_H
#define SELVANE_FORMATS_CONVERTMODEL_H

#include <string>
#include <vector>

#include "Formats/ModelCopy.h"
#include "Math/RigidMotion.h"

namespace gemmi {
struct Model;
struct Structure;
} // namespace gemmi

/// Whether names and numbers of a model fit the columns of PDB: at most 99,999 atoms, chains of one letter,
/// residue names of three and numbers of four characters, atom names of four.
/// @param exceptResidueNames  do not ask for these: lines that stay as they are hold names of four, too
bool fitsPdbNames(const gemmi::Model& model, bool exceptResidueNames);

/// Whether all coordinates fit after a motion.
bool fitsPdbColumns(const gemmi::Model& model, const RigidMotion& motion);

/// Whether copies of a model fit the columns of PDB, all atoms and names together.
bool fitsPdbCopies(const gemmi::Model& model, bool exceptResidueNames, const std::vector<ModelCopy>& copies);

/// The model, moved, as a file of its own, with what a structure tells beside atoms: entities, sequences,
/// bonds, secondary structure, title.
std::string convertedToPdb(gemmi::Structure structure, const RigidMotion& motion);
std::string convertedToCif(gemmi::Structure structure, const RigidMotion& motion);

/// Copies of the model as a file, without bonds and secondary structure. That of PDB begins with remarks on
/// the chains of the copies; that of mmCIF has entities and sequences.
std::string assembledToPdb(const gemmi::Structure& structure, const std::vector<ModelCopy>& copies);
std::string assembledToCif(const gemmi::Structure& structure, const std::vector<ModelCopy>& copies);

#endif
