// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/cifCategories.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <utility>
#include <vector>

#include <gemmi/cifdoc.hpp>

namespace cif = gemmi::cif;

namespace {

constexpr std::size_t mostDigits = 9; // of a number that an int holds

/// The category of an item in lower case, with its point; empty for what has none.
std::string categoryOf(const cif::Item& item) {
    const std::string* tag = nullptr;
    if (item.type == cif::ItemType::Pair) {
        tag = &item.pair[0];
    } else if (item.type == cif::ItemType::Loop && !item.loop.tags.empty()) {
        tag = &item.loop.tags[0];
    }
    if (tag == nullptr) {
        return {};
    }
    return gemmi::to_lower(tag->substr(0, tag->find('.') + 1));
}

bool beginsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

/// Keeps the rows of a loop for which the columns of these tags pass.
template <typename Passes>
void filterRows(cif::Item& item, const std::vector<std::string>& tags, const Passes& passes) {
    cif::Loop& loop = item.loop;
    std::vector<int> columns;
    for (const std::string& tag : tags) {
        columns.push_back(loop.find_tag(tag));
    }
    if (*std::min_element(columns.begin(), columns.end()) < 0) {
        return;
    }
    std::vector<std::string> values;
    for (std::size_t row = 0; row < loop.length(); ++row) {
        std::vector<std::string> found;
        for (const int column : columns) {
            found.push_back(cif::as_string(loop.val(row, static_cast<std::size_t>(column))));
        }
        if (passes(found)) {
            const auto begin = loop.values.begin() + static_cast<std::ptrdiff_t>(row * loop.width());
            values.insert(values.end(), begin, begin + static_cast<std::ptrdiff_t>(loop.width()));
        }
    }
    loop.values = std::move(values);
    if (loop.values.empty()) {
        item.erase();
    }
}

/// The same of a category that stands as pairs: it stays or goes as a whole.
template <typename Passes>
void filterCategory(cif::Block& block, const std::string& category, const std::vector<std::string>& names,
                    const Passes& passes) {
    std::vector<std::string> tags;
    std::vector<std::string> found;
    for (const std::string& name : names) {
        tags.push_back(category + name);
        if (const cif::Pair* pair = block.find_pair(tags.back())) {
            found.push_back(cif::as_string((*pair)[1]));
        }
    }
    const bool leaves = found.size() == names.size() && !passes(found);
    for (cif::Item& item : block.items) {
        if (categoryOf(item) != category) {
            continue;
        }
        if (item.type == cif::ItemType::Loop) {
            filterRows(item, tags, passes);
        } else if (leaves) {
            item.erase();
        }
    }
}

/// Text whose digits would not fit the integers of a parser is left unknown. Characters outside of ASCII,
/// which are negative, must not reach its shifts of bits.
std::string inBounds(const std::string& value) {
    std::size_t digits = 0;
    for (const char c : value) {
        digits = std::isdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        if (digits > mostDigits) {
            return "?";
        }
    }
    std::string ascii = value;
    std::replace_if(
        ascii.begin(), ascii.end(), [](char c) { return static_cast<unsigned char>(c) > '~'; }, '?');
    return ascii;
}

} // namespace

bool isUntrueAfterMotion(const cif::Item& item) {
    static const std::set<std::string> untrue = {"_cell.",
                                                 "_cell_measurement.",
                                                 "_symmetry.",
                                                 "_symmetry_equiv.",
                                                 "_space_group.",
                                                 "_space_group_symop.",
                                                 "_atom_sites.",
                                                 "_database_pdb_matrix.",
                                                 "_database_pdb_tvect.",
                                                 "_em_3d_fitting.",
                                                 "_em_3d_fitting_list.",
                                                 "_pdbx_struct_oper_list.",
                                                 "_pdbx_struct_special_symmetry.",
                                                 "_pdbx_point_symmetry.",
                                                 "_pdbx_helical_symmetry.",
                                                 "_pdbx_validate_symm_contact.",
                                                 "_struct_biol_gen.",
                                                 "_struct_biol_view.",
                                                 "_struct_site_view.",
                                                 "_ihm_starting_model_coord.",
                                                 "_refln.",
                                                 "_reflns."};
    static const std::vector<std::string> prefixes = {"_pdbx_struct_assembly",
                                                      "_struct_ncs_",
                                                      "_refine",
                                                      "_pdbx_refine",
                                                      "_ccp4_refine",
                                                      "_diffrn_refln",
                                                      "_pdbx_struct_legacy_oper",
                                                      "_ihm_sphere_obj",
                                                      "_ihm_gaussian_obj",
                                                      "_ihm_geometric_object"};
    const std::string category = categoryOf(item);
    return untrue.count(category) > 0 ||
           std::any_of(prefixes.begin(), prefixes.end(),
                       [&](const std::string& prefix) { return beginsWith(category, prefix); });
}

bool isOfAnotherModel(const cif::Item& item) {
    return beginsWith(categoryOf(item), "_atom_site");
}

void removeBondsToMates(cif::Block& block) {
    filterCategory(block, "_struct_conn.", {"ptnr1_symmetry", "ptnr2_symmetry"},
                   [](const std::vector<std::string>& symmetry) { return symmetry[0] == symmetry[1]; });
}

void removeStatementsOnOtherChains(cif::Block& block, const std::set<std::string>& chains) {
    const auto areThere = [&](const std::vector<std::string>& names) {
        return std::all_of(names.begin(), names.end(),
                           [&](const std::string& name) { return chains.count(name) > 0; });
    };
    filterCategory(block, "_struct_conn.", {"ptnr1_auth_asym_id", "ptnr2_auth_asym_id"}, areThere);
    filterCategory(block, "_struct_conf.", {"beg_auth_asym_id", "end_auth_asym_id"}, areThere);
    filterCategory(block, "_struct_sheet_range.", {"beg_auth_asym_id", "end_auth_asym_id"}, areThere);
    filterCategory(block, "_pdbx_struct_sheet_hbond.", {"range_1_auth_asym_id", "range_2_auth_asym_id"},
                   areThere);
    filterCategory(block, "_struct_mon_prot_cis.", {"auth_asym_id"}, areThere);
}

void removeColumns(cif::Loop& loop, const std::function<bool(const std::string&)>& isRemoved) {
    std::vector<bool> stays;
    for (const std::string& tag : loop.tags) {
        stays.push_back(!isRemoved(tag));
    }
    cif::Loop rest;
    for (std::size_t i = 0; i < loop.tags.size(); ++i) {
        if (stays[i]) {
            rest.tags.push_back(std::move(loop.tags[i]));
        }
    }
    if (rest.tags.size() == stays.size()) {
        loop.tags = std::move(rest.tags);
        return;
    }
    for (std::size_t i = 0; i < loop.values.size(); ++i) {
        if (stays[i % stays.size()]) {
            rest.values.push_back(std::move(loop.values[i]));
        }
    }
    loop = std::move(rest);
}

cif::Block definitionsOfCopies(const cif::Block& block) {
    static const std::set<std::string> known = {
        "_entry.",          "_struct.",          "_struct_keywords.", "_exptl.",       "_entity.",
        "_entity_poly.",    "_entity_poly_seq.", "_entity_name_com.", "_chem_comp.",   "_chem_comp_atom.",
        "_chem_comp_bond.", "_citation.",        "_citation_author.", "_audit_author."};
    const auto isOnChains = [](const std::string& tag) {
        return gemmi::iequal(tag, "_entity.pdbx_number_of_molecules") ||
               gemmi::iequal(tag, "_entity_poly.pdbx_strand_id");
    };
    cif::Block definitions(block.name);
    for (const cif::Item& item : block.items) {
        if (known.count(categoryOf(item)) == 0 ||
            (item.type == cif::ItemType::Pair && isOnChains(item.pair[0]))) {
            continue;
        }
        definitions.items.push_back(item);
        cif::Item& copy = definitions.items.back();
        if (copy.type == cif::ItemType::Loop) {
            removeColumns(copy.loop, isOnChains);
        }
        if (copy.type == cif::ItemType::Loop && copy.loop.values.empty()) {
            definitions.items.pop_back();
        }
    }
    return definitions;
}

cif::Loop loopOf(const cif::Block& block, const std::string& category) {
    cif::Loop loop;
    for (const cif::Item& item : block.items) {
        if (categoryOf(item) != category) {
            continue;
        }
        if (item.type == cif::ItemType::Loop) {
            return item.loop;
        }
        loop.tags.push_back(item.pair[0]);
        loop.values.push_back(item.pair[1]);
    }
    return loop;
}

cif::Block structureDefinitions(const cif::Block& block) {
    static const std::set<std::string> known = {
        "_entry.",           "_struct.",       "_struct_keywords.",    "_exptl.",
        "_entity.",          "_entity_poly.",  "_entity_poly_seq.",    "_struct_asym.",
        "_struct_conf.",     "_struct_sheet.", "_struct_sheet_range.", "_struct_sheet_order.",
        "_struct_conn.",     "_struct_ref.",   "_struct_ref_seq.",     "_audit_author.",
        "_database_pdb_rev."};
    cif::Block definitions(block.name);
    for (const cif::Item& item : block.items) {
        if (known.count(categoryOf(item)) == 0) {
            continue;
        }
        definitions.items.push_back(item);
        cif::Item& copy = definitions.items.back();
        if (copy.type == cif::ItemType::Pair) {
            copy.pair[1] = inBounds(copy.pair[1]);
        } else {
            std::transform(copy.loop.values.begin(), copy.loop.values.end(), copy.loop.values.begin(),
                           inBounds);
        }
    }
    return definitions;
}
