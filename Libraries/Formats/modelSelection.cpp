// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/modelSelection.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <stdexcept>
#include <string_view>

#include "Formats/pdbColumns.h"

#include <gemmi/polyheur.hpp>
#include <gemmi/select.hpp>

namespace {

constexpr std::size_t mostChainsTold = 20;

std::vector<std::string> chainNames(const gemmi::Model& model) {
    std::vector<std::string> names;
    for (const gemmi::Chain& chain : model.chains) {
        if (std::find(names.begin(), names.end(), chain.name) == names.end()) {
            names.push_back(chain.name);
        }
    }
    return names;
}

/// gemmi takes a digit for the beginning of a residue number.
std::string withSlashes(const std::string& text, const std::vector<std::string>& chains) {
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0) {
        return text;
    }
    const std::vector<std::string> head = gemmi::split_str(text.substr(0, text.find_first_of("/;")), ',');
    const bool areChains = std::all_of(head.begin(), head.end(), [&](const std::string& name) {
        return std::find(chains.begin(), chains.end(), name) != chains.end();
    });
    return areChains ? "//" + text : text;
}

gemmi::Selection parse(const std::string& text, const std::string& given) {
    const auto count = [&](char c) { return std::count(text.begin(), text.end(), c); };
    const std::string remedy =
        "; write for example A,B for two chains, A/10-200 for residues or //A//CA for atoms";
    if (count('(') != count(')') || count('[') != count(']')) {
        throw std::invalid_argument("the selection '" + given + "' has brackets without a partner" + remedy);
    }
    try {
        return gemmi::Selection(text);
    } catch (const std::exception&) {
        throw std::invalid_argument("'" + given + "' is no selection" + remedy);
    }
}

} // namespace

std::vector<bool> selectAtoms(gemmi::Structure& structure, const std::string& selection, std::size_t size) {
    const gemmi::Model& model = structure.models.front();
    const std::vector<std::string> chains = chainNames(model);
    const std::string given(pdb::trimmed(selection));
    const gemmi::Selection parsed = parse(withSlashes(given, chains), given);
    if (given.find(';') != std::string::npos) {
        gemmi::setup_entities(structure); // ";polymer" asks for the kinds of residues
    }
    std::vector<bool> selected(size, false);
    bool any = false;
    for (const gemmi::Chain& chain : model.chains) {
        for (const gemmi::Residue& residue : chain.residues) {
            for (const gemmi::Atom& atom : residue.atoms) {
                if (parsed.matches(model) && parsed.matches(chain) && parsed.matches(residue) &&
                    parsed.matches(atom)) {
                    selected[static_cast<std::size_t>(atom.serial) - 1] = true;
                    any = true;
                }
            }
        }
    }
    if (!any) {
        std::string names;
        for (std::size_t i = 0; i < std::min(chains.size(), mostChainsTold); ++i) {
            names += (i == 0 ? "" : ", ") + (chains[i].empty() ? "(blank)" : chains[i]);
        }
        throw std::invalid_argument("the selection '" + given + "' leaves no atom of model " + model.name +
                                    "; its chains are " + names +
                                    (chains.size() > mostChainsTold ? ", ..." : ""));
    }
    return selected;
}
