// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/cifOfCopies.h"

#include <set>
#include <sstream>
#include <unordered_map>
#include <utility>

#include "Formats/cifCategories.h"
#include "Formats/cifRows.h"
#include "Formats/pdbColumns.h"

#include <gemmi/cifdoc.hpp>
#include <gemmi/to_cif.hpp>

namespace cif = gemmi::cif;

namespace {

const std::string atomSite = "_atom_site.";
const std::string authorsChain = "auth_asym_id";
const std::string labelsChain = "label_asym_id";

/// As the model's chains were named when it was read.
std::string nameOf(const std::string& value) {
    return pdb::printed(cif::as_string(value));
}

/// The columns that atoms of several copies need and do not have.
std::vector<std::string> missingTags(const cif::Loop& atoms) {
    std::vector<std::string> tags;
    if (!atoms.has_tag(atomSite + "id")) {
        tags.push_back(atomSite + "id");
    }
    if (!atoms.has_tag(atomSite + authorsChain) && !atoms.has_tag(atomSite + labelsChain)) {
        tags.push_back(atomSite + authorsChain);
    }
    return tags;
}

/// A loop with further columns of unknown values.
cif::Loop widened(const cif::Loop& loop, const std::vector<std::string>& tags) {
    cif::Loop wide;
    wide.tags = loop.tags;
    wide.tags.insert(wide.tags.end(), tags.begin(), tags.end());
    wide.values.reserve(loop.length() * wide.width());
    for (std::size_t row = 0; row < loop.length(); ++row) {
        for (std::size_t column = 0; column < loop.width(); ++column) {
            wide.values.push_back(loop.val(row, column));
        }
        wide.values.insert(wide.values.end(), tags.size(), ".");
    }
    return wide;
}

/// Replaces the names of chains in the rows of a loop.
class RowRenamer {
public:
    RowRenamer(const cif::Loop& loop, const std::string& category) {
        for (const std::string& prefix : {category, category + "pdbx_"}) {
            note(loop.find_tag(prefix + authorsChain), m_chains);
            note(loop.find_tag(prefix + labelsChain), m_labels);
        }
    }

    void rename(RowChange& row, const ChainNames& chains, const ChainNames& labels) const {
        rename(row, m_chains, chains);
        rename(row, m_labels, labels);
    }

private:
    static void note(int column, std::vector<int>& columns) {
        if (column >= 0) {
            columns.push_back(column);
        }
    }

    static void rename(RowChange& row, const std::vector<int>& columns, const ChainNames& names) {
        for (const int column : columns) {
            const auto found = names.find(nameOf(row.old(column)));
            if (found != names.end() && found->second != found->first) {
                row.set(column, found->second.empty() ? "." : cif::quote(found->second));
            }
        }
    }

    std::vector<int> m_chains, m_labels;
};

/// The atoms of a model, and what each copy calls its labels.
class CopiedAtoms {
public:
    CopiedAtoms(const cif::Loop& atoms, const std::vector<std::size_t>& rows,
                const std::vector<ModelCopy>& copies);

    void writeChains(std::string& out, const cif::Loop& chains) const;
    void writeAtoms(std::string& out) const;
    void writeTensors(std::string& out, const cif::Loop& tensors) const;

private:
    const cif::Loop& m_atoms;
    const std::vector<std::size_t>& m_rows;
    const std::vector<ModelCopy>& m_copies;
    std::vector<ChainNames> m_labels; ///< of each copy
};

/// Where authors named no chains, the labels are the names.
CopiedAtoms::CopiedAtoms(const cif::Loop& atoms, const std::vector<std::size_t>& rows,
                         const std::vector<ModelCopy>& copies)
    : m_atoms(atoms), m_rows(rows), m_copies(copies) {
    if (!atoms.has_tag(atomSite + authorsChain)) {
        for (const ModelCopy& copy : copies) {
            m_labels.push_back(copy.renamed);
        }
        return;
    }
    const int column = atoms.find_tag(atomSite + labelsChain);
    std::set<std::string> labels;
    for (const std::size_t row : rows) {
        if (column >= 0) {
            labels.insert(nameOf(atoms.val(row, static_cast<std::size_t>(column))));
        }
    }
    m_labels = copiedLabels(labels, copies.size());
}

void CopiedAtoms::writeChains(std::string& out, const cif::Loop& chains) const {
    const int id = chains.find_tag("_struct_asym.id");
    std::string written;
    RowChange change(chains);
    for (std::size_t n = 0; n < m_labels.size() && id >= 0; ++n) {
        for (std::size_t row = 0; row < chains.length(); ++row) {
            change.begin(row);
            const auto found = m_labels[n].find(nameOf(change.old(id)));
            if (found != m_labels[n].end() && !found->second.empty()) {
                change.set(id, cif::quote(found->second));
                change.write(written);
            }
        }
    }
    if (!written.empty()) {
        writeTags(chains, out);
        out += written + "#\n";
    }
}

void CopiedAtoms::writeAtoms(std::string& out) const {
    const RowMover mover(m_atoms, atomSite + "aniso_");
    const RowRenamer renamer(m_atoms, atomSite);
    const int id = m_atoms.find_tag(atomSite + "id");
    std::size_t serial = 0;
    writeTags(m_atoms, out);
    RowChange change(m_atoms);
    for (std::size_t n = 0; n < m_copies.size(); ++n) {
        for (const std::size_t row : m_rows) {
            change.begin(row);
            change.set(id, std::to_string(++serial));
            mover.move(change, m_copies[n].motion);
            renamer.rename(change, m_copies[n].renamed, m_labels[n]);
            change.write(out);
        }
    }
    out += "#\n";
}

void CopiedAtoms::writeTensors(std::string& out, const cif::Loop& tensors) const {
    const std::string category = "_atom_site_anisotrop.";
    const RowMover mover(tensors, category);
    const RowRenamer renamer(tensors, category);
    const int id = tensors.find_tag(category + "id");
    const auto atomId = static_cast<std::size_t>(m_atoms.find_tag(atomSite + "id"));
    std::unordered_map<std::string, std::size_t> places;
    for (std::size_t place = 0; place < m_rows.size(); ++place) {
        places.emplace(m_atoms.val(m_rows[place], atomId), place);
    }
    std::string written;
    RowChange change(tensors);
    for (std::size_t n = 0; n < m_copies.size(); ++n) {
        for (std::size_t row = 0; row < tensors.length(); ++row) {
            change.begin(row);
            const auto found = places.find(change.old(id));
            if (found == places.end() || cif::is_null(change.old(id))) {
                continue;
            }
            change.set(id, std::to_string(n * m_rows.size() + found->second + 1));
            mover.move(change, m_copies[n].motion);
            renamer.rename(change, m_copies[n].renamed, m_labels[n]);
            change.write(written);
        }
    }
    if (!written.empty()) {
        writeTags(tensors, out);
        out += written + "#\n";
    }
}

std::string headOf(const cif::Block& block) {
    cif::Block head = definitionsOfCopies(block);
    if (head.find_value("_entry.id") == nullptr) {
        cif::Item entry("_entry.id", cif::quote(block.name));
        head.items.insert(head.items.begin(), std::move(entry));
    }
    std::ostringstream text;
    cif::write_cif_block_to_stream(text, head, cif::Style::Pdbx);
    return text.str();
}

} // namespace

std::string cifOfCopies(const cif::Block& block, const cif::Loop& atoms, const cif::Loop* tensors,
                        const std::vector<std::size_t>& rows, const std::vector<ModelCopy>& copies) {
    const std::vector<std::string> missing = missingTags(atoms);
    const cif::Loop wide = missing.empty() ? cif::Loop() : widened(atoms, missing);
    const CopiedAtoms copied(missing.empty() ? atoms : wide, rows, copies);
    std::string text = headOf(block);
    copied.writeChains(text, loopOf(block, "_struct_asym."));
    copied.writeAtoms(text);
    if (tensors != nullptr) {
        copied.writeTensors(text, *tensors);
    }
    return text;
}
