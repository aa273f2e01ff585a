// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_PDBCOLUMNS_H
#define SELVANE_FORMATS_PDBCOLUMNS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Columns of a PDB line, counted from 1 as the format's description does.
namespace pdb {

constexpr std::size_t lineWidth = 80;
constexpr std::size_t serialWidth = 5; ///< from column 7
constexpr std::size_t chainColumn = 22;
constexpr std::size_t coordinateColumn = 31; ///< the first of three fields
constexpr std::size_t coordinateWidth = 8;
constexpr std::size_t tensorColumn = 29; ///< the first of six fields
constexpr std::size_t tensorWidth = 7;

/// The columns from first to last; shorter, or empty, where the line ends before.
std::string_view columns(std::string_view line, std::size_t first, std::size_t last);

/// Without blanks at its ends.
std::string_view trimmed(std::string_view field);

/// The number that a field holds and nothing beside it but blanks; none if it isn't finite.
std::optional<double> number(std::string_view field);
std::optional<int> integer(std::string_view field);

/// With a question mark for what is no printable character of ASCII: gemmi shifts the bits of names, which
/// C++17 leaves undefined where a char is negative.
std::string printed(std::string text);

/// The first word of a line in upper case, at most six letters.
std::string record(std::string_view line);
bool isAtom(std::string_view line);

/// The name of an atom's record in its six columns, whatever a serial number of six digits left of it.
std::string atomRecord(std::string_view line);

/// A number in so many columns: decimal while it fits, then base 36 with a leading capital letter
/// (Grosse-Kunstleve et al., hybrid-36), as much as those columns hold in capitals.
std::string hybrid36(std::size_t width, std::size_t value);

/// What parsableAtom() writes for a negative residue number n is this number less n: gemmi's parser shifts
/// the bits of numbers, which C++17 leaves undefined below 0.
constexpr int negativeResidueNumbers = 1200000;

/// What a parser can rely on: an atom's line of 80 printable columns with this serial number, an occupancy,
/// an element and a charge that are such or blank, and a residue number in four columns. What programs write
/// beyond their columns (residue numbers of five digits, residue names of four letters) is brought into them.
std::string parsableAtom(std::string_view line, std::size_t serial, bool hasTwoLetterChains);

/// Any other line, printable and of 80 columns.
std::string parsable(std::string_view line);

/// Whether columns 21 and 22 are both used and the name in 18 to 20 is one that everybody knows, so that
/// column 21 belongs to the chain and not to the name.
/// @param line  printable
bool hasTwoLetterChain(std::string_view line);

/// The residue's name, with its fourth letter if it has one.
std::string_view residueName(std::string_view line, bool hasTwoLetterChains);

} // namespace pdb

#endif
