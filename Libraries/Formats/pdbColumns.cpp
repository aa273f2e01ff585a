// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/pdbColumns.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <system_error>

#include <gemmi/elem.hpp>
#include <gemmi/resinfo.hpp>

namespace pdb {
namespace {

bool isLetter(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

bool isAlphanumeric(char c) {
    return isLetter(c) || isDigit(c);
}

template <typename Number>
std::optional<Number> parsed(std::string_view field) {
    std::string_view text = trimmed(field);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    Number value{};
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

void put(std::string& line, std::size_t column, std::string_view field) {
    line.replace(column - 1, field.size(), field);
}

/// Elements that amino acids and nucleotides are made of.
bool isOfPolymers(gemmi::El element) {
    using gemmi::El;
    return element == El::H || element == El::D || element == El::C || element == El::N || element == El::O ||
           element == El::P || element == El::S || element == El::Se;
}

/// Names of atoms stand so that the element ends in column 14. A program that begins all of them in column
/// 13 makes calcium of C-alpha atoms; the residue tells that it cannot be.
void mendElement(std::string& line) {
    const std::string residue(trimmed(columns(line, 18, 20)));
    const gemmi::ResidueInfo& info = gemmi::find_tabulated_residue(residue);
    const char first = line[12];
    if (!(info.is_amino_acid() || info.is_nucleic_acid()) || !isLetter(first) || !isLetter(line[13]) ||
        (std::toupper(first) == 'H' && line[15] != ' ') ||
        isOfPolymers(gemmi::find_element(line.substr(12, 2).c_str()))) {
        return;
    }
    const char own[] = {' ', first, '\0'};
    if (isOfPolymers(gemmi::find_element(own))) {
        put(line, 77, own);
    }
}

void tidyElement(std::string& line) {
    const std::string field(columns(line, 77, 78));
    const bool isNamed = isLetter(field[0]) || isLetter(field[1]);
    const bool isUnknown = trimmed(field) == "X" || trimmed(field) == "x";
    const bool isClean = (isLetter(field[0]) || field[0] == ' ') && (isLetter(field[1]) || field[1] == ' ');
    if (isNamed && isClean && (isUnknown || gemmi::find_element(field.c_str()) != gemmi::El::X)) {
        return;
    }
    put(line, 77, "  ");
    mendElement(line);
}

void tidyCharge(std::string& line) {
    const char a = line[78];
    const char b = line[79];
    const auto isSign = [](char c) { return c == '+' || c == '-'; };
    if (!((isDigit(a) && isSign(b)) || (isSign(a) && isDigit(b)))) {
        put(line, 79, "  ");
    }
}

void tidyResidueNumber(std::string& line) {
    constexpr std::size_t mostDecimal = 9999;
    const std::string field(trimmed(columns(line, 23, 27)));
    const bool isWide = field.size() == 5 && std::all_of(field.begin(), field.end(), isDigit);
    if (isWide) {
        put(line, 23, hybrid36(4, std::max(mostDecimal, static_cast<std::size_t>(std::stoul(field)))) + " ");
        return;
    }
    const std::string_view number = columns(line, 23, 26);
    const bool isHybrid = isLetter(number[0]) && std::all_of(number.begin(), number.end(), isAlphanumeric);
    const int value = isHybrid ? 0 : integer(number).value_or(0);
    if (!isHybrid) {
        put(line, 23,
            hybrid36(4, static_cast<std::size_t>(value < 0 ? negativeResidueNumbers - value : value)));
    }
    if (!isAlphanumeric(line[26])) {
        line[26] = ' ';
    }
}

void tidyNumbers(std::string& line) {
    if (!number(columns(line, 55, 60))) {
        put(line, 55, "  1.00");
    }
    if (!number(columns(line, 61, 66))) {
        put(line, 61, "  0.00");
    }
}

} // namespace

std::string_view columns(std::string_view line, std::size_t first, std::size_t last) {
    return first > line.size() ? std::string_view() : line.substr(first - 1, last - first + 1);
}

std::string_view trimmed(std::string_view field) {
    const auto isBlank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!field.empty() && isBlank(field.front())) {
        field.remove_prefix(1);
    }
    while (!field.empty() && isBlank(field.back())) {
        field.remove_suffix(1);
    }
    return field;
}

std::optional<double> number(std::string_view field) {
    const std::optional<double> value = parsed<double>(field);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<int> integer(std::string_view field) {
    return parsed<int>(field);
}

std::string record(std::string_view line) {
    std::string word;
    for (const char c : line.substr(0, 6)) {
        if (std::isspace(static_cast<unsigned char>(c)) != 0) {
            break;
        }
        word += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return word;
}

bool isAtom(std::string_view line) {
    const std::string word = record(line);
    // A serial number of six digits begins in the last column of the record's name.
    return word == "HETATM" || word == "ATOM" ||
           (word.size() > 4 && word.compare(0, 4, "ATOM") == 0 &&
            std::all_of(word.begin() + 4, word.end(), isDigit));
}

std::string atomRecord(std::string_view line) {
    return !line.empty() && std::toupper(static_cast<unsigned char>(line[0])) == 'H' ? "HETATM" : "ATOM  ";
}

std::string hybrid36(std::size_t width, std::size_t value) {
    std::size_t decimals = 1;
    std::size_t lowest = 10; // the first number whose leading digit is a letter
    for (std::size_t i = 0; i < width; ++i) {
        decimals *= 10;
        lowest *= i + 1 < width ? 36 : 1;
    }
    if (value < decimals) {
        const std::string digits = std::to_string(value);
        return std::string(width - digits.size(), ' ') + digits;
    }
    std::string text(width, '0');
    std::size_t rest = value - decimals + lowest;
    for (std::size_t i = width; i-- > 0; rest /= 36) {
        text[i] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[rest % 36];
    }
    return text;
}

std::string printed(std::string text) {
    for (char& c : text) {
        if (c < ' ' || c > '~') {
            c = c == '\t' ? ' ' : '?';
        }
    }
    return text;
}

std::string parsable(std::string_view line) {
    std::string text = printed(std::string(line.substr(0, lineWidth)));
    text.resize(lineWidth, ' ');
    return text;
}

bool hasTwoLetterChain(std::string_view line) {
    const std::string_view chain = columns(line, 21, 22);
    return chain.size() == 2 && isAlphanumeric(chain[0]) && isAlphanumeric(chain[1]) &&
           gemmi::find_tabulated_residue(std::string(trimmed(columns(line, 18, 20)))).found();
}

std::string_view residueName(std::string_view line, bool hasTwoLetterChains) {
    return trimmed(columns(line, 18, hasTwoLetterChains ? 20 : 21));
}

std::string parsableAtom(std::string_view line, std::size_t serial, bool hasTwoLetterChains) {
    std::string text = parsable(line);
    put(text, 1, atomRecord(text));
    put(text, 7, hybrid36(serialWidth, serial) + " ");
    if (!isAlphanumeric(text[16])) {
        text[16] = ' ';
    }
    if (!hasTwoLetterChains) {
        text[20] = ' ';
    }
    tidyResidueNumber(text);
    put(text, 28, "   ");
    tidyNumbers(text);
    tidyElement(text);
    tidyCharge(text);
    return text;
}

} // namespace pdb
