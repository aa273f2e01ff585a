// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/printable.h"

#include <cstddef>
#include <cstdint>

namespace {

/// A character at the start of a text; of length 0 where no UTF-8 stands.
struct Character {
    std::size_t length;
    std::uint32_t code;
};

constexpr Character noCharacter{0, 0};

unsigned char byteAt(std::string_view text, std::size_t i) {
    return static_cast<unsigned char>(text[i]);
}

/// Decodes by table 3-6 of the Unicode standard; longer forms than needed and surrogates are no UTF-8.
Character firstCharacter(std::string_view text) {
    const unsigned char lead = byteAt(text, 0);
    if (lead < 0x80U) {
        return {1, lead};
    }
    struct Form {
        unsigned char mask, mark; ///< of the first byte
        std::size_t length;
        std::uint32_t least; ///< code that needs this length
    };
    constexpr Form forms[] = {{0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};
    for (const Form& form : forms) {
        if ((lead & form.mask) != form.mark) {
            continue;
        }
        std::uint32_t code = lead & static_cast<unsigned char>(~form.mask);
        for (std::size_t i = 1; i < form.length; ++i) {
            if (i >= text.size() || (byteAt(text, i) & 0xC0U) != 0x80U) {
                return noCharacter;
            }
            code = code << 6U | (byteAt(text, i) & 0x3FU);
        }
        const bool isSurrogate = code >= 0xD800U && code <= 0xDFFFU;
        return code < form.least || code > 0x10FFFFU || isSurrogate ? noCharacter
                                                                    : Character{form.length, code};
    }
    return noCharacter;
}

bool isControl(std::uint32_t code) {
    return code < 0x20U || (code >= 0x7FU && code < 0xA0U);
}

void appendEscaped(std::string& shown, std::string_view bytes) {
    static constexpr char digits[] = "0123456789ABCDEF";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        shown += "\\x";
        shown += digits[byte >> 4U];
        shown += digits[byte & 0xFU];
    }
}

} // namespace

std::string printable(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const Character first = firstCharacter(text);
        const std::size_t length = first.length == 0 ? 1 : first.length;
        if (first.length == 0 || isControl(first.code)) {
            appendEscaped(shown, text.substr(0, length));
        } else {
            shown += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return shown;
}
