// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_ATOMICMODEL_H
#define SELVANE_FORMATS_ATOMICMODEL_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Math/RigidMotion.h"
#include "Math/cVector3.h"

enum class ModelFormat { Pdb, Cif };

/// An atom that takes part in a search.
struct ModelAtom {
    cVector3 position = cVector3(0.0); ///< in the frame of the file, angstrom
    std::string name;                  ///< "CA", without blanks
    std::string residue;               ///< "ALA"
    std::string chain;                 ///< as the author named it, of any length
    int residueNumber = 0;
    char insertionCode = ' ';
    std::string element; ///< "C", "Zn"
    double mass = 0.0;   ///< dalton
};

/// Which part of a file is the model.
struct ModelChoice {
    std::string selection;            ///< in gemmi's selection syntax; empty: all
    std::optional<std::string> model; ///< the name (number) of one of several models; none: the first
    std::string assembly;             ///< name of a biological assembly; empty: the atoms as they stand
    std::optional<double> plddt;      ///< residues with a mean B factor below take no part in the search
};

/// An atomic model with everything it came with: atoms that are searched for, atoms that are carried along,
/// and the records or categories of its file, so that a moved copy can be written.
class AtomicModel {
public:
    /// Reads PDB (hybrid-36 included) or mmCIF, plain or gzipped, each by its content.
    /// @throws InputError with the reason and the remedy for what cannot be read, a selection that is no
    ///         selection or leaves no atom, a model or an assembly that is not there
    static AtomicModel read(const std::string& path, const ModelChoice& choice = {});

    AtomicModel(AtomicModel&&) noexcept;
    AtomicModel& operator=(AtomicModel&&) noexcept;
    ~AtomicModel();

    /// Those of the search: no hydrogens, no waters, of alternate locations the first of each residue.
    const std::vector<ModelAtom>& searchAtoms() const;

    /// Of the model, all of them.
    std::size_t atomCount() const;

    /// The chains, each once, in the order of the file, as the author named them; a blank one is empty.
    std::vector<std::string> chains() const;

    /// The format that it was read from.
    ModelFormat format() const;

    /// What the user should know about the reading, a sentence each.
    const std::vector<std::string>& remarks() const;

    /// Writes the whole model, every atom moved by x' = R x + t and the ANISOU tensors turned with it, with
    /// those records or categories that the motion leaves true (no cell, no symmetry, no assemblies that
    /// refer to the old place). It appears under its name only when it is complete.
    ///
    /// PDB holds 99,999 serial numbers and chains of one letter: a larger model, or what does not fit its
    /// columns after the motion, is written as mmCIF.
    /// @param stem    the path without its extension
    /// @return the path written: stem + ".pdb" or ".cif"
    /// @throws std::runtime_error with the path and the reason when it cannot be written
    std::string writeMoved(const std::string& stem, const RigidMotion& motion, ModelFormat format) const;

    /// Writes copies of the model, each moved as by writeMoved(), into one file: their atoms with their
    /// tensors, numbered through, under the names of chains that are given. What names chains or serial
    /// numbers beside them is left out: bonds, secondary structure, sites, sequences by chain.
    ///
    /// PDB has TER records where the model has them, one behind a copy that has none, and remarks in front
    /// that tell the chains of each copy. mmCIF has the entities and what else is true of all copies; labels
    /// of chains (label_asym_id) get the number of the copy behind, from the second on. What PDB does not
    /// hold, all copies together, is written as mmCIF.
    /// @param stem        the path without its extension
    /// @param places      of the copies
    /// @param chainNames  for each copy its names, in the order of chains(), all of them different
    /// @return the path written: stem + ".pdb" or ".cif"
    /// @throws std::invalid_argument if there is no place, if the sizes do not fit, or if a name is there
    ///         twice; std::runtime_error with the path and the reason when it cannot be written
    std::string writeAssembly(const std::string& stem, const std::vector<RigidMotion>& places,
                              const std::vector<std::vector<std::string>>& chainNames,
                              ModelFormat format) const;

    /// Whether writeMoved() can keep to PDB.
    bool fitsPdb() const;

private:
    struct Content;
    explicit AtomicModel(std::unique_ptr<Content> content);
    std::unique_ptr<Content> m_content;
};

#endif
