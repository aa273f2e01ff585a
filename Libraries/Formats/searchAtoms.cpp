// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/searchAtoms.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <sstream>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include <gemmi/model.hpp>
#include <gemmi/resinfo.hpp>

namespace {

struct LeftOut {
    std::size_t hydrogens = 0;
    std::size_t waters = 0;
    std::size_t unsure = 0;         ///< by their B factor
    std::size_t unsureResidues = 0; ///< of these
};

bool isWater(const std::string& residue) {
    // What simulation programs call it, beside the names of the chemical component dictionary.
    static const std::set<std::string> others = {"TIP", "TIP2", "TIP3", "TIP4", "TIP5", "TP3",
                                                 "TP4", "T3P",  "T4P",  "SOL",  "SPC",  "SPCE",
                                                 "OH2", "H3O",  "TP3M", "TIP3P"};
    return gemmi::find_tabulated_residue(residue).is_water() || others.count(residue) > 0;
}

/// Alternate locations belong to a residue, whose name may be another in each of them.
std::string residueKey(const gemmi::Chain& chain, const gemmi::Residue& residue) {
    return chain.name + '\n' + residue.segment + '\n' + residue.seqid.str();
}

/// The names of a residue's atoms without a label, if others have one: an atom that has both is at its first
/// location where it has none.
std::set<std::string> unlabelledNames(const gemmi::Residue& residue) {
    std::set<std::string> names;
    const bool hasLabels = std::any_of(residue.atoms.begin(), residue.atoms.end(),
                                       [](const gemmi::Atom& atom) { return atom.altloc != '\0'; });
    for (const gemmi::Atom& atom : residue.atoms) {
        if (hasLabels && atom.altloc == '\0') {
            names.insert(atom.name);
        }
    }
    return names;
}

/// The first location of the atoms of each residue.
class FirstLocations {
public:
    explicit FirstLocations(const gemmi::Model& model) {
        for (const gemmi::Chain& chain : model.chains) {
            for (const gemmi::Residue& residue : chain.residues) {
                note(chain, residue);
            }
        }
    }

    /// Whether each atom of the residue is at its first location.
    std::vector<bool> of(const gemmi::Chain& chain, const gemmi::Residue& residue) const {
        const std::set<std::string> unlabelled = unlabelledNames(residue);
        const auto label = m_labels.find(residueKey(chain, residue));
        std::vector<bool> first;
        for (const gemmi::Atom& atom : residue.atoms) {
            first.push_back(atom.altloc == '\0' ||
                            (unlabelled.count(atom.name) == 0 && label->second.second == atom.altloc));
        }
        return first;
    }

private:
    /// The label of the first atom in the file that has one; serial numbers tell which is first.
    void note(const gemmi::Chain& chain, const gemmi::Residue& residue) {
        const std::set<std::string> unlabelled = unlabelledNames(residue);
        for (const gemmi::Atom& atom : residue.atoms) {
            if (atom.altloc != '\0' && unlabelled.count(atom.name) == 0) {
                const std::pair<int, char> own{atom.serial, atom.altloc};
                const auto found = m_labels.emplace(residueKey(chain, residue), own).first;
                found->second = std::min(found->second, own);
            }
        }
    }

    std::unordered_map<std::string, std::pair<int, char>> m_labels;
};

double meanB(const gemmi::Residue& residue) {
    double sum = 0.0;
    for (const gemmi::Atom& atom : residue.atoms) {
        sum += static_cast<double>(atom.b_iso);
    }
    return sum / static_cast<double>(residue.atoms.size());
}

ModelAtom modelAtom(const gemmi::Chain& chain, const gemmi::Residue& residue, const gemmi::Atom& atom) {
    ModelAtom own;
    own.position = cVector3(atom.pos.x, atom.pos.y, atom.pos.z);
    own.name = atom.name;
    own.residue = residue.name;
    own.chain = chain.name;
    own.residueNumber = residue.seqid.num.has_value() ? *residue.seqid.num : 0;
    own.insertionCode = residue.seqid.icode;
    const gemmi::Element known = atom.element == gemmi::El::X ? gemmi::Element(gemmi::El::C) : atom.element;
    own.element = atom.element.name();
    own.mass = known.weight();
    return own;
}

std::string reasonWithout(const LeftOut& left) {
    if (left.unsure > 0) {
        return "has no atom to search with: the mean B factors of all residues are below the limit that is "
               "asked for; lower it";
    }
    return "has no atom to search with, only " + std::to_string(left.waters) + " atoms of water and " +
           std::to_string(left.hydrogens) + " hydrogens; give a model with other atoms";
}

std::string remarkOnUnsure(const LeftOut& left, double limit) {
    std::ostringstream text;
    text << left.unsureResidues << " residues with a mean B factor below " << limit << " (" << left.unsure
         << " atoms) take no part in the search and are carried along.";
    return text.str();
}

} // namespace

std::vector<ModelAtom> searchAtoms(const gemmi::Model& model, std::optional<double> plddt,
                                   std::vector<std::string>& remarks) {
    const FirstLocations locations(model);
    std::vector<std::pair<int, ModelAtom>> found;
    LeftOut left;
    std::size_t unknown = 0;
    for (const gemmi::Chain& chain : model.chains) {
        for (const gemmi::Residue& residue : chain.residues) {
            const bool water = isWater(residue.name);
            const bool unsure = !water && plddt && meanB(residue) < *plddt;
            left.unsureResidues += unsure ? 1 : 0;
            const std::vector<bool> isFirst = locations.of(chain, residue);
            for (std::size_t i = 0; i < residue.atoms.size(); ++i) {
                const gemmi::Atom& atom = residue.atoms[i];
                left.waters += water ? 1 : 0;
                left.unsure += unsure ? 1 : 0;
                left.hydrogens += !water && atom.is_hydrogen() ? 1 : 0;
                if (!water && !unsure && isFirst[i] && !atom.is_hydrogen()) {
                    unknown += atom.element == gemmi::El::X ? 1 : 0;
                    found.emplace_back(atom.serial, modelAtom(chain, residue, atom));
                }
            }
        }
    }
    if (found.empty()) {
        throw std::invalid_argument(reasonWithout(left));
    }
    if (left.unsure > 0) {
        remarks.push_back(remarkOnUnsure(left, *plddt));
    }
    if (unknown > 0) {
        remarks.push_back(std::to_string(unknown) +
                          " atoms are of no known element and count as carbon in the search.");
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<ModelAtom> atoms;
    atoms.reserve(found.size());
    for (auto& [serial, atom] : found) {
        atoms.push_back(std::move(atom));
    }
    return atoms;
}
