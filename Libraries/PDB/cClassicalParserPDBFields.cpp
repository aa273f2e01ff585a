// SPDX-License-Identifier: GPL-3.0-or-later
// Kinds of lines and the fields in them.
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "PDB/cClassicalParserPDB.h"

namespace {

constexpr std::string_view missingHeading = "REMARK 465   M RES C SSSEQI";
constexpr std::size_t longestLineRead = 78; // the element ends there
constexpr int maxFieldWidth = 8;
constexpr int coordinateOffsets[3] = {30, 38, 46};
constexpr int coordinateWidth = 8;

// Offsets in an atom line at which the optional fields begin.
constexpr int occupancyOffset = 54;
constexpr int segmentOffset = 72;
constexpr int elementOffset = 76;

bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

/// Whether a line begins so, letters of either case taken for the same; `prefix` has lower-case ones.
bool startsWithWord(std::string_view line, std::string_view prefix) {
    return line.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), line.begin(),
                                                      [](char a, char b) { return a == lower(b); });
}

struct Trimmed {
    int m_length;
    int m_leadingBlanks;
};

Trimmed trim(char* field, int n) {
    int end = n;
    while (end > 0 && field[end - 1] == ' ') {
        --end;
    }
    int begin = 0;
    while (begin < end && field[begin] == ' ') {
        ++begin;
    }
    std::copy(field + begin, field + end, field);
    field[end - begin] = '\0';
    return {end - begin, begin};
}

/// Sets the symbol to a letter in upper case and the character behind it, if a letter, in lower case.
void setElement(cPDBAtom& atom, char first, char second) {
    atom.m_element[0] = upper(first);
    atom.m_element[1] = isLetter(second) ? lower(second) : '\0';
    atom.m_element[2] = '\0';
}

/// Symbol from the atom name. Deliberate: without element columns the name CA reads as calcium, and CB as a
/// symbol that the periodic table does not have.
void setElementFromName(cPDBAtom& atom) {
    const char* end = atom.m_name + std::strlen(atom.m_name);
    const char* letter = std::find_if(static_cast<const char*>(atom.m_name), end, isLetter);
    if (letter == end) {
        atom.m_element[0] = '\0';
        return;
    }
    setElement(atom, letter[0], letter[1]); // at the end of the name stands a zero
}

} // namespace

void cClassicalParserPDB::Line::copy(int offset, int width, char* field) const {
    for (int i = 0; i < width; ++i) {
        field[i] = at(offset + i);
    }
    field[width] = '\0';
}

int cClassicalParserPDB::Line::integer(int offset, int width) const {
    char field[maxFieldWidth + 1];
    copy(offset, width, field);
    return static_cast<int>(std::strtol(field, nullptr, 10)); // at most 5 characters, so it fits
}

double cClassicalParserPDB::Line::real(int offset, int width) const {
    char field[maxFieldWidth + 1];
    copy(offset, width, field);
    return std::strtod(field, nullptr);
}

bool cClassicalParserPDB::Line::holdsCoordinates() const {
    return std::all_of(std::begin(coordinateOffsets), std::end(coordinateOffsets), [this](int offset) {
        char field[maxFieldWidth + 1];
        copy(offset, coordinateWidth, field);
        char* end = nullptr;
        std::strtod(field, &end);
        return end != field && end[std::strspn(end, " ")] == '\0';
    });
}

cClassicalParserPDB::Line cClassicalParserPDB::lineOf(const char* text) {
    return {text, static_cast<long>(strnlen(text, longestLineRead))};
}

int cClassicalParserPDB::readPDBLine(const char* buffer, long position, long size) {
    const int kind = classify(buffer, position, size);
    if (kind == missingHeadingLine) {
        std::printf("Missing Residues:\n");
        return REMARK;
    }
    return kind;
}

int cClassicalParserPDB::readPDBLine(const char* buffer, long position, long size, int& resSeq, char& chain,
                                     char* resName, char* atomName) {
    const int kind = classify(buffer, position, size);
    if (kind == ATOM || kind == HETATM) {
        const Line line = {buffer + position, size - position};
        resSeq = line.integer(resseqOffset, resseqWidth);
        chain = line.at(chainOffset);
        if (kind == ATOM) {
            line.copy(resnameOffset, resnameWidth, resName);
            line.copy(nameOffset, nameWidth, atomName);
            deleteSpacesInAString(atomName, nameWidth);
        }
    }
    return kind == missingHeadingLine ? static_cast<int>(REMARK) : kind;
}

int cClassicalParserPDB::classify(const char* buffer, long position, long size) {
    if (position + 5 >= size) {
        return NO_LINE;
    }
    const std::string_view line(buffer + position, static_cast<std::size_t>(size - position));
    if (startsWith(line, missingHeading)) {
        m_inMissingResidues = 1;
        return missingHeadingLine;
    }
    if (m_inMissingResidues != 0 && startsWith(line, "REMARK 465")) {
        return MISSING_RESIDUE;
    }
    struct Prefix {
        std::string_view m_text;
        int m_kind;
    };
    constexpr Prefix prefixes[] = {{"ATOM ", ATOM}, {"HETATM", HETATM}, {"REMARK", REMARK},
                                   {"TER", TER},    {"ENDMDL", ENDMDL}, {"END", END}};
    for (const Prefix& prefix : prefixes) {
        if (startsWith(line, prefix.m_text)) {
            return prefix.m_kind;
        }
    }
    return OTHER;
}

cClassicalParserPDB::Content cClassicalParserPDB::contentOf(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (startsWith(text, byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
    }
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const bool isAtom = startsWith(line, "ATOM ") || startsWith(line, "HETATM");
        if (isAtom && Line{line.data(), static_cast<long>(line.size())}.holdsCoordinates()) {
            return Content::ATOM_RECORDS;
        }
        if (startsWithWord(line, "data_") || startsWithWord(line, "loop_") ||
            startsWithWord(line, "_atom_site.")) {
            return Content::MMCIF;
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return Content::UNKNOWN;
}

int cClassicalParserPDB::readPDBRecordFields(const char* line, cPDBAtom* atom, int n) const {
    readFields(lineOf(line), *atom, n);
    return 1;
}

void cClassicalParserPDB::readFields(const Line& line, cPDBAtom& atom, int n) const {
    atom.m_serial = line.integer(serialOffset, serialWidth);
    line.copy(nameOffset, nameWidth, atom.m_name);
    deleteSpacesInAString(atom.m_name, nameWidth);
    line.copy(16, 1, atom.m_altLoc);
    line.copy(resnameOffset, resnameWidth, atom.m_resName);
    line.copy(chainOffset, 1, atom.m_chain);
    atom.m_resSeq = line.integer(resseqOffset, resseqWidth);
    line.copy(26, 1, atom.m_iCode);
    readCoords(line, atom.m_position);
    atom.m_occupancy = atom.m_tempFactor = atom.m_charge = atom.m_pqrRadius = 0.0F;
    if (n > occupancyOffset) {
        const auto first = static_cast<float>(line.real(occupancyOffset, 6));
        const auto second = static_cast<float>(line.real(occupancyOffset + 6, 6));
        (m_fileType == PQR ? atom.m_charge : atom.m_occupancy) = first;
        (m_fileType == PQR ? atom.m_pqrRadius : atom.m_tempFactor) = second;
    }
    atom.m_segId[0] = '\0';
    if (n > segmentOffset) {
        line.copy(segmentOffset, 4, atom.m_segId);
        deleteSpacesInAString(atom.m_segId, 4);
    }
    const char first = n > elementOffset ? line.at(elementOffset) : ' ';
    const char second = n > elementOffset ? line.at(elementOffset + 1) : ' ';
    if (isLetter(first)) {
        setElement(atom, first, second);
    } else if (isLetter(second)) {
        setElement(atom, second, ' ');
    } else {
        setElementFromName(atom);
    }
}

void cClassicalParserPDB::readCoords(const Line& line, cVector3& out) {
    // Deliberate: every coordinate of a run is a float.
    const auto coordinate = [&](int offset) {
        return static_cast<double>(static_cast<float>(line.real(offset, coordinateWidth)));
    };
    out = cVector3(coordinate(coordinateOffsets[0]), coordinate(coordinateOffsets[1]),
                   coordinate(coordinateOffsets[2]));
}

void cClassicalParserPDB::readPDBCoords(const char* line, cVector3& out) const {
    readCoords(lineOf(line), out);
}

void cClassicalParserPDB::readMissResRecordFields(const char* line) {
    readMissingResidue(lineOf(line));
}

void cClassicalParserPDB::readMissingResidue(const Line& line) {
    m_sequences[static_cast<unsigned char>(line.at(19))].m_missing.push_back(line.integer(21, 5));
}

int cClassicalParserPDB::deleteSpacesInAString(char* field, int n) {
    return trim(field, n).m_length;
}

int cClassicalParserPDB::deleteSpacesInAString2(char* field, int n) {
    return trim(field, n).m_leadingBlanks;
}
