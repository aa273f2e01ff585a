// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/AtomicModel.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <stdexcept>
#include <utility>

#include "Formats/InputBytes.h"
#include "Formats/ModelCopy.h"
#include "Formats/ModelText.h"
#include "Formats/convertModel.h"
#include "Formats/modelAssembly.h"
#include "Formats/modelSelection.h"
#include "Formats/searchAtoms.h"
#include "IO/ResultFile.h"
#include "IO/openInput.h"

#include <gemmi/model.hpp>
#include <gemmi/select.hpp>

struct AtomicModel::Content {
    std::unique_ptr<ModelText> text;
    gemmi::Structure structure; ///< the same atoms; the copies of an assembly, too
    bool isAssembly = false;    ///< its atoms are not those of the text
    std::vector<ModelAtom> searchAtoms;
    std::vector<std::string> remarks;

    /// Whether the file is written as it was read, with its atoms moved in place.
    bool staysIn(ModelFormat format) const { return !isAssembly && format == text->format(); }
    bool fitsPdb() const { return fitsPdbNames(structure.models.front(), staysIn(ModelFormat::Pdb)); }
};

namespace {

/// @return the path
std::string writeResult(const std::string& stem, ModelFormat format, const std::string& text) {
    std::string path = stem + (format == ModelFormat::Pdb ? ".pdb" : ".cif");
    ResultFile file(path);
    bool isThere = file.stream() != nullptr;
    isThere = isThere && std::fwrite(text.data(), 1, text.size(), file.stream()) == text.size();
    if (!isThere || !file.commit()) {
        throw std::runtime_error(path + ": cannot be written: " + std::strerror(errno) +
                                 "; make room, permit writing, or give another folder");
    }
    return path;
}

} // namespace

AtomicModel::AtomicModel(std::unique_ptr<Content> content) : m_content(std::move(content)) {}
AtomicModel::AtomicModel(AtomicModel&&) noexcept = default;
AtomicModel& AtomicModel::operator=(AtomicModel&&) noexcept = default;
AtomicModel::~AtomicModel() = default;

AtomicModel AtomicModel::read(const std::string& path, const ModelChoice& choice) {
    auto content = std::make_unique<Content>();
    content->text = readModelText(path, readText(path), choice.model);
    content->structure = content->text->structure();
    content->remarks = content->text->remarks();
    try {
        if (!choice.selection.empty()) {
            const std::size_t size = gemmi::count_atom_sites(content->structure.models.front());
            content->text->keepOnly(selectAtoms(content->structure, choice.selection, size));
            content->structure = content->text->structure();
        }
        if (!choice.assembly.empty()) {
            makeAssembly(content->structure, choice.assembly);
            content->isAssembly = true;
        }
        content->searchAtoms =
            ::searchAtoms(content->structure.models.front(), choice.plddt, content->remarks);
    } catch (const std::invalid_argument& error) {
        throw InputError(path, error.what(), true);
    }
    return AtomicModel(std::move(content));
}

const std::vector<ModelAtom>& AtomicModel::searchAtoms() const {
    return m_content->searchAtoms;
}

std::size_t AtomicModel::atomCount() const {
    return gemmi::count_atom_sites(m_content->structure.models.front());
}

ModelFormat AtomicModel::format() const {
    return m_content->text->format();
}

const std::vector<std::string>& AtomicModel::remarks() const {
    return m_content->remarks;
}

std::vector<std::string> AtomicModel::chains() const {
    std::vector<std::string> names;
    std::set<std::string> known;
    for (const gemmi::Chain& chain : m_content->structure.models.front().chains) {
        if (known.insert(chain.name).second) {
            names.push_back(chain.name);
        }
    }
    return names;
}

std::string AtomicModel::writeMoved(const std::string& stem, const RigidMotion& motion,
                                    ModelFormat format) const {
    const gemmi::Structure& structure = m_content->structure;
    const bool isPdb = format == ModelFormat::Pdb && m_content->fitsPdb() &&
                       fitsPdbColumns(structure.models.front(), motion);
    const ModelFormat written = isPdb ? ModelFormat::Pdb : ModelFormat::Cif;
    if (m_content->staysIn(written)) {
        return writeResult(stem, written, m_content->text->moved(motion));
    }
    return writeResult(stem, written,
                       isPdb ? convertedToPdb(structure, motion) : convertedToCif(structure, motion));
}

std::string AtomicModel::writeAssembly(const std::string& stem, const std::vector<RigidMotion>& places,
                                       const std::vector<std::vector<std::string>>& chainNames,
                                       ModelFormat format) const {
    const gemmi::Structure& structure = m_content->structure;
    const std::vector<ModelCopy> copies = modelCopies(chains(), places, chainNames);
    const bool stays = m_content->staysIn(ModelFormat::Pdb);
    const bool isPdb = format == ModelFormat::Pdb && fitsPdbCopies(structure.models.front(), stays, copies) &&
                       (!stays || m_content->text->canRenameChains());
    const ModelFormat written = isPdb ? ModelFormat::Pdb : ModelFormat::Cif;
    if (m_content->staysIn(written)) {
        return writeResult(stem, written, m_content->text->assembled(copies));
    }
    return writeResult(stem, written,
                       isPdb ? assembledToPdb(structure, copies) : assembledToCif(structure, copies));
}

bool AtomicModel::fitsPdb() const {
    return m_content->fitsPdb();
}
