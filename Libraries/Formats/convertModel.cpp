// SPDX-License-Identifier: GPL-3.0-or-later
#define GEMMI_WRITE_IMPLEMENTATION
#include "Formats/convertModel.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <utility>

#include <gemmi/modify.hpp>
#include <gemmi/polyheur.hpp>
#include <gemmi/to_cif.hpp>
#include <gemmi/to_mmcif.hpp>
#include <gemmi/to_pdb.hpp>

namespace {

constexpr std::size_t mostPdbAtoms = 99999;
constexpr int lowestPdbNumber = -999;
constexpr int highestPdbNumber = 9999;
constexpr double lowestPdbCoordinate = -999.9994; // that rounds to -999.999
constexpr double highestPdbCoordinate = 9999.9994;

bool isPrintable(const std::string& name) {
    return std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c <= '~'; });
}

bool fitsPdb(const gemmi::Residue& residue, bool exceptName) {
    const auto& number = residue.seqid.num;
    const bool fits = number.has_value() && *number >= lowestPdbNumber && *number <= highestPdbNumber;
    return fits && (exceptName || (residue.name.size() <= 3 && isPrintable(residue.name))) &&
           std::all_of(residue.atoms.begin(), residue.atoms.end(), [](const gemmi::Atom& atom) {
               return atom.name.size() <= 4 && isPrintable(atom.name);
           });
}

gemmi::Transform transformOf(const RigidMotion& motion) {
    gemmi::Transform transform;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            transform.mat[row][column] = motion.rotation(row, column);
        }
        transform.vec.at(row) = motion.translation[row];
    }
    return transform;
}

/// The structure in its new place, with names for what a file of its kind names.
void prepare(gemmi::Structure& structure, const RigidMotion& motion) {
    gemmi::transform_pos_and_adp(structure.models.front(), transformOf(motion));
    structure.cell = gemmi::UnitCell();
    structure.spacegroup_hm.clear();
    structure.ncs.clear();
    structure.assemblies.clear();
    structure.has_origx = false;
    structure.raw_remarks.clear();
    structure.models.front().merge_chain_parts();
    gemmi::assign_serial_numbers(structure.models.front());
    gemmi::setup_entities(structure);
}

} // namespace

bool fitsPdbNames(const gemmi::Model& model, bool exceptResidueNames) {
    std::size_t atoms = 0;
    for (const gemmi::Chain& chain : model.chains) {
        if (chain.name.size() > 1 || !isPrintable(chain.name)) {
            return false;
        }
        for (const gemmi::Residue& residue : chain.residues) {
            atoms += residue.atoms.size();
            if (!fitsPdb(residue, exceptResidueNames)) {
                return false;
            }
        }
    }
    return atoms <= mostPdbAtoms;
}

bool fitsPdbColumns(const gemmi::Model& model, const RigidMotion& motion) {
    for (const gemmi::Chain& chain : model.chains) {
        for (const gemmi::Residue& residue : chain.residues) {
            for (const gemmi::Atom& atom : residue.atoms) {
                const cVector3 place = motion(cVector3(atom.pos.x, atom.pos.y, atom.pos.z));
                for (int axis = 0; axis < 3; ++axis) {
                    if (!(place[axis] > lowestPdbCoordinate && place[axis] < highestPdbCoordinate)) {
                        return false;
                    }
                }
            }
        }
    }
    return true;
}

std::string convertedToPdb(gemmi::Structure structure, const RigidMotion& motion) {
    prepare(structure, motion);
    gemmi::PdbWriteOptions options;
    options.cryst1_record = false;
    std::ostringstream text;
    gemmi::write_pdb(structure, text, options);
    return text.str();
}

std::string convertedToCif(gemmi::Structure structure, const RigidMotion& motion) {
    prepare(structure, motion);
    gemmi::MmcifOutputGroups groups(true);
    groups.cell = false;
    groups.symmetry = false;
    groups.scale = false;
    groups.origx = false;
    groups.ncs = false;
    groups.assembly = false;
    groups.refine = false;
    groups.reflns = false;
    groups.diffrn = false;
    groups.tls = false;
    groups.group_pdb = true;
    std::ostringstream text;
    gemmi::cif::write_cif_to_stream(text, gemmi::make_mmcif_document(structure, groups),
                                    gemmi::cif::Style::Pdbx);
    return text.str();
}
