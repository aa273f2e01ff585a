// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/atomSite.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "Formats/pdbColumns.h"

#include <gemmi/cifdoc.hpp>
#include <gemmi/model.hpp>
#include <gemmi/numb.hpp>

namespace cif = gemmi::cif;

namespace {

using Rows = const cif::Loop&;

int firstOf(Rows loop, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        const int column = loop.find_tag("_atom_site." + name);
        if (column >= 0) {
            return column;
        }
    }
    return AtomSiteColumns::none;
}

/// The value without its quotes; empty where there is none.
std::string valueOf(Rows loop, std::size_t row, int column) {
    return column < 0 ? std::string()
                      : pdb::printed(cif::as_string(loop.val(row, static_cast<std::size_t>(column))));
}

float numberOf(Rows loop, std::size_t row, int column, float otherwise) {
    if (column < 0) {
        return otherwise;
    }
    const double value = cif::as_number(loop.val(row, static_cast<std::size_t>(column)), otherwise);
    return std::isfinite(value) ? static_cast<float>(value) : otherwise;
}

/// Old files have the insertion code behind the number.
gemmi::SeqId residueNumber(Rows loop, std::size_t row, const AtomSiteColumns& columns) {
    std::string text = valueOf(loop, row, columns.number);
    if (text.empty()) {
        text = valueOf(loop, row, columns.labelNumber);
    }
    gemmi::SeqId id(0, ' ');
    const std::string code = valueOf(loop, row, columns.insertionCode);
    if (!code.empty() && std::isalnum(static_cast<unsigned char>(code[0])) != 0) {
        id.icode = code[0];
    }
    if (text.size() > 1 && std::isalpha(static_cast<unsigned char>(text.back())) != 0) {
        id.icode = text.back();
        text.pop_back();
    }
    id.num = pdb::integer(text).value_or(0);
    return id;
}

gemmi::Element elementOf(Rows loop, std::size_t row, const AtomSiteColumns& columns,
                         const std::string& atom) {
    const gemmi::Element element(valueOf(loop, row, columns.element));
    if (element != gemmi::El::X || atom.empty()) {
        return element;
    }
    const char single[] = {' ', atom[0], '\0'};
    const gemmi::Element guess(single);
    return guess != gemmi::El::X ? guess : gemmi::Element(atom);
}

gemmi::Atom atomOf(Rows loop, std::size_t row, const AtomSiteColumns& columns) {
    gemmi::Atom atom;
    atom.name = valueOf(loop, row, columns.atom);
    const std::string altLoc = valueOf(loop, row, columns.altLoc);
    atom.altloc =
        !altLoc.empty() && std::isalnum(static_cast<unsigned char>(altLoc[0])) != 0 ? altLoc[0] : '\0';
    atom.element = elementOf(loop, row, columns, atom.name);
    for (int axis = 0; axis < 3; ++axis) {
        const int column = columns.place[static_cast<std::size_t>(axis)];
        atom.pos.at(axis) = cif::as_number(loop.val(row, static_cast<std::size_t>(column)));
    }
    atom.occ = numberOf(loop, row, columns.occupancy, 1.0F);
    atom.b_iso = numberOf(loop, row, columns.bFactor, 0.0F);
    const int charge = pdb::integer(valueOf(loop, row, columns.charge)).value_or(0);
    atom.charge = static_cast<signed char>(std::clamp(charge, -9, 9));
    return atom;
}

gemmi::Residue residueOf(Rows loop, std::size_t row, const AtomSiteColumns& columns,
                         gemmi::ResidueId&& identity) {
    gemmi::Residue residue(identity);
    residue.subchain = valueOf(loop, row, columns.labelChain);
    residue.entity_id = valueOf(loop, row, columns.entity);
    if (const auto number = pdb::integer(valueOf(loop, row, columns.labelNumber))) {
        residue.label_seq = *number;
    }
    residue.het_flag = valueOf(loop, row, columns.group) == "HETATM" ? 'H' : 'A';
    return residue;
}

} // namespace

AtomSiteColumns::AtomSiteColumns(const cif::Loop& loop)
    : id(firstOf(loop, {"id"}))
    , group(firstOf(loop, {"group_PDB"}))
    , element(firstOf(loop, {"type_symbol"}))
    , atom(firstOf(loop, {"auth_atom_id", "label_atom_id"}))
    , altLoc(firstOf(loop, {"label_alt_id"}))
    , residue(firstOf(loop, {"auth_comp_id", "label_comp_id"}))
    , chain(firstOf(loop, {"auth_asym_id", "label_asym_id"}))
    , labelChain(firstOf(loop, {"label_asym_id", "auth_asym_id"}))
    , entity(firstOf(loop, {"label_entity_id"}))
    , labelNumber(firstOf(loop, {"label_seq_id"}))
    , number(firstOf(loop, {"auth_seq_id", "label_seq_id"}))
    , insertionCode(firstOf(loop, {"pdbx_PDB_ins_code"}))
    , occupancy(firstOf(loop, {"occupancy"}))
    , bFactor(firstOf(loop, {"B_iso_or_equiv"}))
    , charge(firstOf(loop, {"pdbx_formal_charge"}))
    , model(firstOf(loop, {"pdbx_PDB_model_num"}))
    , place{firstOf(loop, {"Cartn_x"}), firstOf(loop, {"Cartn_y"}), firstOf(loop, {"Cartn_z"})} {}

std::array<int, 6> tensorColumns(const cif::Loop& loop, const std::string& prefix) {
    std::array<int, 6> columns{};
    const std::array<const char*, 6> elements = {"[1][1]", "[2][2]", "[3][3]", "[1][2]", "[1][3]", "[2][3]"};
    for (std::size_t i = 0; i < columns.size(); ++i) {
        columns[i] = loop.find_tag(prefix + elements[i]);
    }
    if (*std::min_element(columns.begin(), columns.end()) < 0) {
        columns[0] = AtomSiteColumns::none;
    }
    return columns;
}

void addAtoms(const cif::Loop& loop, const AtomSiteColumns& columns, const std::vector<std::size_t>& rows,
              const std::vector<bool>& kept, gemmi::Model& model) {
    std::unordered_map<std::string, std::size_t> residues; // of the chain, by all that tells them apart
    for (std::size_t place = 0; place < rows.size(); ++place) {
        const std::size_t row = rows[place];
        if (!kept[place]) {
            continue;
        }
        const std::string chainName = valueOf(loop, row, columns.chain);
        if (model.chains.empty() || model.chains.back().name != chainName) {
            model.chains.emplace_back(chainName);
            residues.clear();
        }
        gemmi::Chain& chain = model.chains.back();
        const gemmi::SeqId number = residueNumber(loop, row, columns);
        const std::string name = valueOf(loop, row, columns.residue);
        const std::string key = number.str() + '\n' + name + '\n' + valueOf(loop, row, columns.labelChain);
        const auto [found, isNew] = residues.emplace(key, chain.residues.size());
        if (isNew) {
            chain.residues.push_back(residueOf(loop, row, columns, {number, {}, name}));
        }
        gemmi::Atom atom = atomOf(loop, row, columns);
        atom.serial = static_cast<int>(place + 1);
        chain.residues[found->second].atoms.push_back(std::move(atom));
    }
}
