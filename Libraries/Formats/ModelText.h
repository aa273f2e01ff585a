// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_MODELTEXT_H
#define SELVANE_FORMATS_MODELTEXT_H

#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Formats/AtomicModel.h"
#include "Formats/ModelCopy.h"
#include "Math/RigidMotion.h"

namespace gemmi {
struct Structure;
}

/// The file of a model, of which one model is chosen: its atoms for the search, and all of its records or
/// categories, so that the file can be written again with its atoms moved in place.
class ModelText {
public:
    virtual ~ModelText() = default;

    virtual ModelFormat format() const = 0;

    /// The kept atoms as the one model of a structure. The serial number of each is its place among the atoms
    /// of the chosen model in the file, from 1, whatever the file calls it.
    virtual gemmi::Structure structure() const = 0;

    /// Leaves out the atoms at whose place (from 0) is false, and what the file says about them.
    virtual void keepOnly(const std::vector<bool>& kept) = 0;

    /// The file with the kept atoms moved, without what the motion makes untrue.
    virtual std::string moved(const RigidMotion& motion) const = 0;

    /// Whether chains can get other names in a file of this format: names of other things that a file runs
    /// into those of chains may be told apart only by what they are.
    virtual bool canRenameChains() const { return true; }

    /// A file of several copies of the kept atoms, of which each is moved and its chains are renamed.
    virtual std::string assembled(const std::vector<ModelCopy>& copies) const = 0;

    const std::vector<std::string>& remarks() const { return m_remarks; }

protected:
    std::vector<std::string> m_remarks;
};

/// Coordinates farther out are no places in angstrom, and no format has columns for them.
constexpr double farthestCoordinate = 9999999.0;

/// False for what is no number.
inline bool isBounded(double value) {
    return std::abs(value) <= farthestCoordinate;
}

/// The text as PDB or mmCIF, told apart by what it begins with.
/// @param model  the name of the model to take; none: the first that has atoms
/// @throws InputError
std::unique_ptr<ModelText> readModelText(const std::string& path, std::string text,
                                         const std::optional<std::string>& model);

/// The place of the chosen one of the models of a file, and a remark if there are others.
/// @param names   of the models, in the order of the file
/// @param counts  of their atoms
/// @throws InputError if there is none of that name, or none with atoms
std::size_t chooseModel(const std::string& path, const std::vector<std::string>& names,
                        const std::vector<std::size_t>& counts, const std::optional<std::string>& wanted,
                        std::vector<std::string>& remarks);

#endif
