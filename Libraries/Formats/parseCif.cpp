// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/parseCif.h"

#include <cstddef>
#include <stdexcept>
#include <string>

#include <gemmi/cif.hpp>

namespace cif = gemmi::cif;

namespace {

/// Save frames, which only dictionaries have, hold nothing of a model.
void dropFrames(cif::Block& block) {
    for (std::size_t i = block.items.size(); i-- > 0;) {
        if (block.items[i].type == cif::ItemType::Frame) {
            block.items.erase(block.items.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

/// What the parser lets pass for the caller to judge: a tag without a value, and loops whose values do not
/// fill their rows.
void check(const cif::Block& block) {
    for (const cif::Item& item : block.items) {
        const auto line = static_cast<std::size_t>(item.line_number);
        if (item.type == cif::ItemType::Pair && item.pair[1].empty()) {
            throw CifError(line, item.pair[0] + " has no value");
        }
        if (item.type == cif::ItemType::Loop && item.loop.values.size() % item.loop.tags.size() != 0) {
            throw CifError(line, "the loop of " + item.loop.tags[0] + " has " +
                                     std::to_string(item.loop.values.size()) +
                                     " values, no multiple of its " + std::to_string(item.loop.tags.size()) +
                                     " tags; the file may be cut off");
        }
    }
}

} // namespace

cif::Document parseCif(const std::string& text) {
    cif::Document document;
    try {
        tao::pegtl::memory_input<> input(text, "");
        cif::parse_input(document, input);
    } catch (const tao::pegtl::parse_error& error) {
        const std::string reason(error.message());
        throw CifError(
            error.positions().front().line,
            (reason == "parse error" ? "what stands here cannot follow what stands before" : reason) +
                "; the file may be cut off");
    }
    for (cif::Block& block : document.blocks) {
        dropFrames(block);
        check(block);
    }
    return document;
}
