// SPDX-License-Identifier: GPL-3.0-or-later
#define GEMMI_WRITE_IMPLEMENTATION
#include "Formats/convertModel.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <sstream>
#include <utility>

#include <gemmi/modify.hpp>
#include <gemmi/polyheur.hpp>
#include <gemmi/select.hpp>
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

bool isPdbChain(const std::string& name) {
    return name.size() <= 1 && isPrintable(name);
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

/// Leaves out what a motion makes untrue, and gives names to what a file of its kind names.
void prepare(gemmi::Structure& structure) {
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

void moveAtoms(gemmi::Structure& structure, const RigidMotion& motion) {
    gemmi::transform_pos_and_adp(structure.models.front(), transformOf(motion));
    prepare(structure);
}

std::set<std::string> labelsOf(const gemmi::Model& model) {
    std::set<std::string> labels;
    for (const gemmi::Chain& chain : model.chains) {
        for (const gemmi::Residue& residue : chain.residues) {
            labels.insert(residue.subchain);
        }
    }
    return labels;
}

gemmi::Chain copied(const gemmi::Chain& chain, const ModelCopy& copy, const ChainNames& labels) {
    gemmi::Chain own = chain;
    own.name = copy.renamed.at(chain.name);
    for (gemmi::Residue& residue : own.residues) {
        residue.subchain = labels.at(residue.subchain);
    }
    gemmi::transform_pos_and_adp(own, transformOf(copy.motion));
    return own;
}

/// An entity is in all copies of its chains.
void copyEntities(gemmi::Structure& structure, const std::vector<ChainNames>& labels) {
    for (gemmi::Entity& entity : structure.entities) {
        std::vector<std::string> subchains;
        for (const ChainNames& names : labels) {
            for (const std::string& subchain : entity.subchains) {
                const auto found = names.find(subchain);
                if (found != names.end()) {
                    subchains.push_back(found->second);
                }
            }
        }
        entity.subchains = std::move(subchains);
    }
}

gemmi::Structure assembled(gemmi::Structure structure, const std::vector<ModelCopy>& copies) {
    prepare(structure);
    structure.connections.clear();
    structure.helices.clear();
    structure.sheets.clear();
    gemmi::Model& model = structure.models.front();
    gemmi::Model original(model.name);
    original.chains.swap(model.chains);
    const std::vector<ChainNames> labels = copiedLabels(labelsOf(original), copies.size());
    for (std::size_t n = 0; n < copies.size(); ++n) {
        for (const gemmi::Chain& chain : original.chains) {
            model.chains.push_back(copied(chain, copies[n], labels[n]));
        }
    }
    copyEntities(structure, labels);
    return structure;
}

/// Whether gemmi's writer, which ends the polymers of chains, ends any.
bool hasPolymer(const gemmi::Model& model) {
    return std::any_of(model.chains.begin(), model.chains.end(), [](const gemmi::Chain& chain) {
        return std::any_of(chain.residues.begin(), chain.residues.end(), [](const gemmi::Residue& residue) {
            return residue.entity_type == gemmi::EntityType::Polymer;
        });
    });
}

std::string writtenAsCif(const gemmi::Structure& structure) {
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

} // namespace

bool fitsPdbNames(const gemmi::Model& model, bool exceptResidueNames) {
    std::size_t atoms = 0;
    for (const gemmi::Chain& chain : model.chains) {
        if (!isPdbChain(chain.name)) {
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

bool fitsPdbCopies(const gemmi::Model& model, bool exceptResidueNames, const std::vector<ModelCopy>& copies) {
    return fitsPdbNames(model, exceptResidueNames) &&
           gemmi::count_atom_sites(model) * copies.size() <= mostPdbAtoms &&
           std::all_of(copies.begin(), copies.end(), [&](const ModelCopy& copy) {
               return std::all_of(copy.chains.begin(), copy.chains.end(), isPdbChain) &&
                      fitsPdbColumns(model, copy.motion);
           });
}

std::string convertedToPdb(gemmi::Structure structure, const RigidMotion& motion) {
    moveAtoms(structure, motion);
    gemmi::PdbWriteOptions options;
    options.cryst1_record = false;
    std::ostringstream text;
    gemmi::write_pdb(structure, text, options);
    return text.str();
}

std::string convertedToCif(gemmi::Structure structure, const RigidMotion& motion) {
    moveAtoms(structure, motion);
    return writtenAsCif(structure);
}

std::string assembledToPdb(const gemmi::Structure& structure, const std::vector<ModelCopy>& copies) {
    gemmi::Structure atoms; // of which nothing else is written
    atoms.models.push_back(std::move(assembled(structure, copies).models.front()));
    gemmi::PdbWriteOptions options;
    options.cryst1_record = false;
    options.ter_ignores_type = !hasPolymer(atoms.models.front());
    std::ostringstream text;
    gemmi::write_pdb(atoms, text, options);
    return remarksOnCopies(copies) + text.str();
}

std::string assembledToCif(const gemmi::Structure& structure, const std::vector<ModelCopy>& copies) {
    return writtenAsCif(assembled(structure, copies));
}
