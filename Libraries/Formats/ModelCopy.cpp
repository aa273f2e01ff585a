// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/ModelCopy.h"

#include <stdexcept>
#include <utility>

#include "Formats/pdbColumns.h"

namespace {

const std::string remarkHead = "REMARK   6"; // free text in the description of the format

void checkSize(const std::string& what, std::size_t found, std::size_t expected) {
    if (found != expected) {
        throw std::invalid_argument(what + ": " + std::to_string(found) + " given, " +
                                    std::to_string(expected) + " expected");
    }
}

void checkIsNew(const std::string& name, std::set<std::string>& used) {
    if (!used.insert(name).second) {
        throw std::invalid_argument("two chains of the copies are called '" + name + "'");
    }
}

} // namespace

std::vector<ModelCopy> modelCopies(const std::vector<std::string>& chains,
                                   const std::vector<RigidMotion>& places,
                                   const std::vector<std::vector<std::string>>& names) {
    if (places.empty()) {
        throw std::invalid_argument("no place for a copy is given");
    }
    checkSize("lists of names for the copies", names.size(), places.size());
    std::vector<ModelCopy> copies;
    std::set<std::string> used;
    for (std::size_t n = 0; n < places.size(); ++n) {
        checkSize("names of the chains of copy " + std::to_string(n + 1), names[n].size(), chains.size());
        ChainNames renamed;
        for (std::size_t i = 0; i < chains.size(); ++i) {
            checkIsNew(names[n][i], used);
            renamed.emplace(chains[i], names[n][i]);
        }
        copies.push_back({places[n], names[n], std::move(renamed)});
    }
    return copies;
}

std::vector<ChainNames> copiedLabels(const std::set<std::string>& labels, std::size_t copies) {
    std::set<std::string> used = labels;
    std::vector<ChainNames> names(copies);
    for (std::size_t n = 0; n < copies; ++n) {
        for (const std::string& label : labels) {
            std::string name = n == 0 ? label : label + std::to_string(n + 1);
            while (n > 0 && used.count(name) > 0) {
                name += 'x';
            }
            used.insert(name);
            names[n].emplace(label, std::move(name));
        }
    }
    return names;
}

std::string remarksOnCopies(const std::vector<ModelCopy>& copies) {
    std::string text = remarkHead + "\n";
    for (std::size_t n = 0; n < copies.size(); ++n) {
        std::string line = remarkHead + " COPY " + std::to_string(n + 1) + " OF " +
                           std::to_string(copies.size()) + ": CHAINS";
        for (std::size_t i = 0; i < copies[n].chains.size(); ++i) {
            const std::string& name = copies[n].chains[i];
            const std::string word =
                " " + (name.empty() ? "(blank)" : name) + (i + 1 < copies[n].chains.size() ? "," : "");
            if (line.size() + word.size() > pdb::lineWidth) {
                text += line + "\n";
                line = remarkHead + "  ";
            }
            line += word;
        }
        text += line + "\n";
    }
    return text;
}
