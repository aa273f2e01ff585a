// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/ModelText.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string_view>
#include <utility>

#include "Formats/CifText.h"
#include "Formats/PdbText.h"
#include "IO/openInput.h"

namespace {

constexpr std::size_t mostNamesTold = 10;

/// Whether the first thing that is neither blank nor comment is the heading of a data block.
bool isCif(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size()) {
        if (std::isspace(static_cast<unsigned char>(text[at])) != 0) {
            ++at;
        } else if (text[at] == '#') {
            at = std::min(text.find('\n', at), text.size());
        } else {
            break;
        }
    }
    constexpr std::string_view heading = "data_";
    return text.size() - at >= heading.size() &&
           std::equal(heading.begin(), heading.end(), text.begin() + static_cast<std::ptrdiff_t>(at),
                      [](char wanted, char found) {
                          return wanted == std::tolower(static_cast<unsigned char>(found));
                      });
}

std::string listOf(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t i = 0; i < std::min(names.size(), mostNamesTold); ++i) {
        list += (i == 0 ? "" : ", ") + names[i];
    }
    return list + (names.size() > mostNamesTold ? ", ..." : "");
}

} // namespace

std::size_t chooseModel(const std::string& path, const std::vector<std::string>& names,
                        const std::vector<std::size_t>& counts, const std::optional<std::string>& wanted,
                        std::vector<std::string>& remarks) {
    std::size_t chosen = 0;
    while (chosen < names.size() && (counts[chosen] == 0 || (wanted && names[chosen] != *wanted))) {
        ++chosen;
    }
    if (chosen == names.size()) {
        if (wanted && std::any_of(counts.begin(), counts.end(), [](std::size_t n) { return n > 0; })) {
            throw InputError(path, "has no model " + *wanted + " with atoms; it has " + listOf(names), true);
        }
        throw InputError(path, "has no atoms; a model in PDB or mmCIF format is needed", true);
    }
    if (!wanted && names.size() > 1) {
        remarks.push_back("The file holds " + std::to_string(names.size()) + " models; the first, " +
                          names[chosen] + ", is taken.");
    }
    return chosen;
}

std::unique_ptr<ModelText> readModelText(const std::string& path, std::string text,
                                         const std::optional<std::string>& model) {
    constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
    if (std::string_view(text).substr(0, byteOrderMark.size()) == byteOrderMark) {
        text.erase(0, byteOrderMark.size());
    }
    if (text.find('\n') == std::string::npos) {
        std::replace(text.begin(), text.end(), '\r', '\n'); // as lines ended on a system of old
    }
    if (isCif(text)) {
        return std::make_unique<CifText>(path, text, model);
    }
    return std::make_unique<PdbText>(path, std::move(text), model);
}
