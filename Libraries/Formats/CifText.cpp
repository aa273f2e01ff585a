// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/CifText.h"

#include <algorithm>
#include <array>
#include <exception>
#include <set>
#include <sstream>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Formats/atomSite.h"
#include "Formats/cifCategories.h"
#include "Formats/cifOfCopies.h"
#include "Formats/cifRows.h"
#include "Formats/modelAssembly.h"
#include "Formats/parseCif.h"
#include "IO/openInput.h"

#include <gemmi/mmcif.hpp>
#include <gemmi/to_cif.hpp>

namespace cif = gemmi::cif;

namespace {

cif::Loop* findLoop(cif::Block& block, const std::string& tag) {
    for (cif::Item& item : block.items) {
        if (item.type == cif::ItemType::Loop && item.loop.has_tag(tag)) {
            return &item.loop;
        }
    }
    return nullptr;
}

/// A category of one row may stand as pairs; as a loop it is like all others.
void makeLoop(cif::Block& block, const std::string& category) {
    cif::Item item{cif::LoopArg{}};
    for (cif::Item& pair : block.items) {
        if (pair.type == cif::ItemType::Pair && pair.has_prefix(category)) {
            item.loop.tags.push_back(pair.pair[0]);
            item.loop.values.push_back(pair.pair[1]);
            pair.erase();
        }
    }
    if (!item.loop.tags.empty()) {
        block.items.push_back(std::move(item));
    }
}

/// Columns that are not true once atoms moved: fractional coordinates and standard deviations along axes.
bool isUntrueColumn(const std::string& tag) {
    const std::string name = gemmi::to_lower(tag.substr(tag.find('.') + 1));
    const bool isDeviation = name.size() > 4 && name.compare(name.size() - 4, 4, "_esd") == 0;
    return name.compare(0, 6, "fract_") == 0 ||
           (isDeviation && (name.compare(0, 6, "cartn_") == 0 || name.find('[') != std::string::npos));
}

bool hasAtoms(const cif::Block& block) {
    const auto hasPlace = [](const cif::Item& item) {
        return (item.type == cif::ItemType::Loop && !item.loop.values.empty() &&
                item.loop.has_tag("_atom_site.Cartn_x")) ||
               (item.type == cif::ItemType::Pair && gemmi::iequal(item.pair[0], "_atom_site.cartn_x"));
    };
    return std::any_of(block.items.begin(), block.items.end(), hasPlace);
}

/// Two values of one item would leave one of them where it was.
void checkIsOnce(const cif::Block& block, const std::string& path, const std::string& category) {
    std::set<std::string> tags;
    std::size_t loops = 0;
    std::size_t all = 0;
    for (const cif::Item& item : block.items) {
        if (item.type == cif::ItemType::Loop && item.has_prefix(category)) {
            ++loops;
            for (const std::string& tag : item.loop.tags) {
                tags.insert(gemmi::to_lower(tag));
                ++all;
            }
        }
    }
    if (loops > 1 || tags.size() != all) {
        throw InputError(path, "has the category " + category + " or one of its items twice; remove one",
                         true);
    }
}

bool hasCategory(const cif::Block& block, const std::string& category) {
    return std::any_of(block.items.begin(), block.items.end(),
                       [&](const cif::Item& item) { return item.has_prefix(category); });
}

/// Why there is nothing to search in a document without coordinates.
std::string reasonWithoutAtoms(const cif::Document& document) {
    for (const cif::Block& block : document.blocks) {
        if (hasCategory(block, "_refln.")) {
            return "holds reflections and no atoms; give the file of the model";
        }
        if (hasCategory(block, "_chem_comp_atom.")) {
            return "describes a chemical component and no model; give the file of the model";
        }
    }
    return "has no coordinates of atoms (_atom_site.Cartn_x, _y and _z in one loop); give the file of the "
           "model";
}

} // namespace

struct CifText::Content {
    cif::Document document;
    cif::Block* block = nullptr; ///< of document
    std::string modelName = "1";
    std::vector<std::size_t> rows; ///< of the chosen model
    std::vector<bool> kept;        ///< one for each of them
    cif::Block definitions;        ///< of the structure, apart from its atoms
    std::vector<gemmi::Assembly> assemblies;

    cif::Loop& atoms() const { return *findLoop(*block, "_atom_site.Cartn_x"); }
    cif::Loop* tensors() const { return findLoop(*block, "_atom_site_anisotrop.id"); }
    std::unordered_map<std::string, std::size_t> placesById() const;
    void addTensors(gemmi::Model& model) const;
    std::vector<std::size_t> keptRows() const;
    void writeAtoms(std::string& out, const RigidMotion& motion) const;
    void writeTensors(std::string& out, const RigidMotion& motion) const;
    void writeBlock(std::string& out, const cif::Block& written, const RigidMotion& motion) const;
};

CifText::~CifText() = default;

CifText::CifText(const std::string& path, const std::string& text, const std::optional<std::string>& model)
    : m_path(path), m_content(std::make_unique<Content>()) {
    try {
        m_content->document = parseCif(text);
    } catch (const CifError& error) {
        throw InputError(path, std::string("is no valid mmCIF: ") + error.what(), true);
    }
    cif::Document& document = m_content->document;
    const auto block = std::find_if(document.blocks.begin(), document.blocks.end(), hasAtoms);
    if (block == document.blocks.end()) {
        throw InputError(path, reasonWithoutAtoms(document), true);
    }
    m_content->block = &*block;
    makeLoop(*block, "_atom_site.");
    makeLoop(*block, "_atom_site_anisotrop.");
    checkIsOnce(*block, path, "_atom_site.");
    checkIsOnce(*block, path, "_atom_site_anisotrop.");
    takeModel(model);
    checkPlaces();
    m_content->definitions = structureDefinitions(*block);
    m_content->assemblies = readAssemblies(*block);
    removeUntrue();
}

void CifText::takeModel(const std::optional<std::string>& model) {
    const cif::Loop& loop = m_content->atoms();
    const AtomSiteColumns columns(loop);
    std::vector<std::string> names;
    std::vector<std::size_t> counts;
    std::unordered_map<std::string, std::size_t> indices;
    std::vector<std::size_t> modelOf(loop.length());
    for (std::size_t row = 0; row < loop.length(); ++row) {
        const std::string name =
            columns.model < 0 ? "1" : cif::as_string(loop.val(row, static_cast<std::size_t>(columns.model)));
        const auto [found, isNew] = indices.emplace(name, names.size());
        if (isNew) {
            names.push_back(name.empty() ? "?" : name);
            counts.push_back(0);
        }
        ++counts[found->second];
        modelOf[row] = found->second;
    }
    const std::size_t chosen = chooseModel(m_path, names, counts, model, m_remarks);
    m_content->modelName = names[chosen];
    for (std::size_t row = 0; row < modelOf.size(); ++row) {
        if (modelOf[row] == chosen) {
            m_content->rows.push_back(row);
        }
    }
    m_content->kept.assign(m_content->rows.size(), true);
}

void CifText::checkPlaces() const {
    const cif::Loop& loop = m_content->atoms();
    const AtomSiteColumns columns(loop);
    for (const std::size_t row : m_content->rows) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const int column = columns.place[axis];
            const char name = "xyz"[axis];
            if (column < 0) {
                throw InputError(m_path, std::string("_atom_site has no Cartn_") + name, true);
            }
            const std::string& value = loop.val(row, static_cast<std::size_t>(column));
            if (!isBounded(cif::as_number(value))) {
                throw InputError(m_path,
                                 "row " + std::to_string(row + 1) + " of _atom_site: Cartn_" + name +
                                     " is no number; correct the atom's coordinates or remove its row",
                                 true);
            }
        }
    }
}

void CifText::removeUntrue() {
    for (cif::Block& block : m_content->document.blocks) {
        for (cif::Item& item : block.items) {
            if (isUntrueAfterMotion(item) || (&block != m_content->block && isOfAnotherModel(item))) {
                item.erase();
            }
        }
        removeBondsToMates(block);
    }
    removeColumns(m_content->atoms(), isUntrueColumn);
    if (cif::Loop* tensors = m_content->tensors()) {
        removeColumns(*tensors, isUntrueColumn);
    }
}

std::vector<std::size_t> CifText::Content::keptRows() const {
    std::vector<std::size_t> found;
    for (std::size_t place = 0; place < rows.size(); ++place) {
        if (kept[place]) {
            found.push_back(rows[place]);
        }
    }
    return found;
}

std::unordered_map<std::string, std::size_t> CifText::Content::placesById() const {
    std::unordered_map<std::string, std::size_t> places;
    const cif::Loop& loop = atoms();
    const int column = AtomSiteColumns(loop).id;
    for (std::size_t place = 0; place < rows.size() && column >= 0; ++place) {
        if (kept[place]) {
            places.emplace(loop.val(rows[place], static_cast<std::size_t>(column)), place);
        }
    }
    return places;
}

/// The anisotropic displacements of the atoms, for a file of another format.
void CifText::Content::addTensors(gemmi::Model& model) const {
    const cif::Loop* loop = tensors();
    if (loop == nullptr) {
        return;
    }
    const std::array<int, 6> columns = tensorColumns(*loop, "_atom_site_anisotrop.U");
    const auto id = static_cast<std::size_t>(loop->find_tag("_atom_site_anisotrop.id"));
    const std::unordered_map<std::string, std::size_t> places = placesById();
    std::unordered_map<int, gemmi::SMat33<float>> bySerial;
    for (std::size_t row = 0; columns[0] >= 0 && row < loop->length(); ++row) {
        std::array<float, 6> u{};
        bool isKnown = true;
        for (std::size_t i = 0; i < u.size(); ++i) {
            const double value = cif::as_number(loop->val(row, static_cast<std::size_t>(columns[i])));
            isKnown = isKnown && isBounded(value);
            u[i] = isKnown ? static_cast<float>(value) : 0.0F;
        }
        const auto place = places.find(loop->val(row, id));
        if (isKnown && place != places.end()) {
            bySerial[static_cast<int>(place->second) + 1] = {u[0], u[1], u[2], u[3], u[4], u[5]};
        }
    }
    for (gemmi::CRA cra : model.all()) {
        const auto found = bySerial.find(cra.atom->serial);
        if (found != bySerial.end()) {
            cra.atom->aniso = found->second;
        }
    }
}

gemmi::Structure CifText::structure() const {
    gemmi::Structure structure;
    try {
        structure = gemmi::make_structure_from_block(m_content->definitions);
    } catch (const std::exception&) {
        structure = gemmi::Structure(); // what only describes the atoms need not be read to move them
    }
    structure.models.assign(1, gemmi::Model(m_content->modelName));
    const cif::Loop& loop = m_content->atoms();
    addAtoms(loop, AtomSiteColumns(loop), m_content->rows, m_content->kept, structure.models.front());
    m_content->addTensors(structure.models.front());
    gemmi::impl::fill_residue_entity_type(structure);
    structure.assemblies = m_content->assemblies;
    return structure;
}

void CifText::keepOnly(const std::vector<bool>& kept) {
    m_content->kept = kept;
    const cif::Loop& loop = m_content->atoms();
    const AtomSiteColumns columns(loop);
    std::set<std::string> chains;
    for (std::size_t place = 0; place < kept.size() && columns.chain >= 0; ++place) {
        if (kept[place]) {
            chains.insert(
                cif::as_string(loop.val(m_content->rows[place], static_cast<std::size_t>(columns.chain))));
        }
    }
    removeStatementsOnOtherChains(*m_content->block, chains);
}

void CifText::Content::writeAtoms(std::string& out, const RigidMotion& motion) const {
    const cif::Loop& loop = atoms();
    const RowMover mover(loop, "_atom_site.aniso_");
    writeTags(loop, out);
    RowChange change(loop);
    for (const std::size_t row : keptRows()) {
        change.begin(row);
        mover.move(change, motion);
        change.write(out);
    }
}

void CifText::Content::writeTensors(std::string& out, const RigidMotion& motion) const {
    const cif::Loop& loop = *tensors();
    const std::unordered_map<std::string, std::size_t> places = placesById();
    const auto id = static_cast<std::size_t>(loop.find_tag("_atom_site_anisotrop.id"));
    const RowMover mover(loop, "_atom_site_anisotrop.");
    std::string rowsWritten;
    RowChange change(loop);
    for (std::size_t row = 0; row < loop.length(); ++row) {
        if (places.count(loop.val(row, id)) > 0) {
            change.begin(row);
            mover.move(change, motion);
            change.write(rowsWritten);
        }
    }
    if (!rowsWritten.empty()) {
        writeTags(loop, out);
        out += rowsWritten;
    }
}

void CifText::Content::writeBlock(std::string& out, const cif::Block& written,
                                  const RigidMotion& motion) const {
    const cif::Loop* atomLoop = &atoms();
    const cif::Loop* tensorLoop = tensors();
    out += "data_" + written.name + "\n";
    const cif::Item* previous = nullptr;
    for (const cif::Item& item : written.items) {
        if (item.type == cif::ItemType::Erased) {
            continue;
        }
        if (previous == nullptr || cif::should_be_separated_(*previous, item)) {
            out += "#\n";
        }
        previous = &item;
        if (item.type == cif::ItemType::Loop && &item.loop == atomLoop) {
            writeAtoms(out, motion);
        } else if (item.type == cif::ItemType::Loop && &item.loop == tensorLoop) {
            writeTensors(out, motion);
        } else {
            std::ostringstream text;
            cif::write_out_item(text, item, cif::Style::Pdbx);
            out += text.str();
        }
    }
    out += "#\n";
}

std::string CifText::moved(const RigidMotion& motion) const {
    std::string text;
    for (const cif::Block& block : m_content->document.blocks) {
        m_content->writeBlock(text, block, motion);
    }
    return text;
}

std::string CifText::assembled(const std::vector<ModelCopy>& copies) const {
    return cifOfCopies(*m_content->block, m_content->atoms(), m_content->tensors(), m_content->keptRows(),
                       copies);
}
