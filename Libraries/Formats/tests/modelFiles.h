// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_TESTS_MODELFILES_H
#define SELVANE_FORMATS_TESTS_MODELFILES_H

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Formats/AtomicModel.h"
#include "Formats/tests/TestFolder.h"
#include "IO/openInput.h"

/// An atom as a test writes it, in the columns of PDB or the items of mmCIF.
struct FileAtom {
    std::string name = " CA ";
    std::string residue = "ALA";
    std::string chain = "A";
    int number = 1;
    cVector3 place = cVector3(0.0);
    std::string element = " C";
    char altLoc = ' ';
    char insertionCode = ' ';
    double bFactor = 20.0;
    bool isHetero = false;
};

/// Of 80 columns and a newline. The serial number is any text of five characters.
inline std::string pdbLine(const FileAtom& atom, const std::string& serial) {
    char text[128];
    std::snprintf(text, sizeof text, "%-6s%5s %4s%c%3s %1s%4d%c   %8.3f%8.3f%8.3f%6.2f%6.2f          %2s  \n",
                  atom.isHetero ? "HETATM" : "ATOM", serial.c_str(), atom.name.c_str(), atom.altLoc,
                  atom.residue.c_str(), atom.chain.c_str(), atom.number, atom.insertionCode, atom.place.x,
                  atom.place.y, atom.place.z, 1.0, atom.bFactor, atom.element.c_str());
    return text;
}

inline std::string pdbLines(const std::vector<FileAtom>& atoms) {
    std::string text;
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        text += pdbLine(atoms[i], std::to_string(i + 1));
    }
    return text;
}

/// Residues of five atoms along a curve without symmetry.
inline std::vector<FileAtom> chainOf(int residues, const std::string& chain, double shift = 0.0) {
    const std::vector<std::pair<std::string, std::string>> names = {
        {" N  ", " N"}, {" CA ", " C"}, {" C  ", " C"}, {" O  ", " O"}, {" CB ", " C"}};
    std::vector<FileAtom> atoms;
    for (int i = 0; i < residues; ++i) {
        double step = 0.0;
        for (const auto& [name, element] : names) {
            FileAtom atom;
            atom.name = name;
            atom.element = element;
            atom.chain = chain;
            atom.number = i + 1;
            const double t = i + step;
            // whole thousandths, which the columns hold without rounding
            atom.place = cVector3(std::round(1000.0 * (5.0 * std::cos(t) + shift)) / 1000.0,
                                  std::round(1000.0 * (4.0 * std::sin(1.7 * t))) / 1000.0,
                                  std::round(1000.0 * (1.5 * t - 3.0)) / 1000.0);
            atoms.push_back(atom);
            step += 0.2;
        }
    }
    return atoms;
}

inline const std::vector<std::string>& cifItems() {
    static const std::vector<std::string> items = {"group_PDB",         "id",
                                                   "type_symbol",       "label_atom_id",
                                                   "label_alt_id",      "label_comp_id",
                                                   "label_asym_id",     "label_seq_id",
                                                   "pdbx_PDB_ins_code", "Cartn_x",
                                                   "Cartn_y",           "Cartn_z",
                                                   "occupancy",         "B_iso_or_equiv",
                                                   "auth_seq_id",       "auth_asym_id"};
    return items;
}

inline std::string withoutBlanks(const std::string& text) {
    std::string rest;
    for (const char c : text) {
        rest += c == ' ' ? "" : std::string(1, c);
    }
    return rest;
}

inline std::string cifRow(const FileAtom& atom, std::size_t id) {
    std::ostringstream row;
    row.precision(10);
    row << (atom.isHetero ? "HETATM " : "ATOM ") << id << ' ' << withoutBlanks(atom.element) << ' '
        << withoutBlanks(atom.name) << ' ' << (atom.altLoc == ' ' ? '.' : atom.altLoc) << ' ' << atom.residue
        << ' ' << atom.chain << ' ' << atom.number << ' '
        << (atom.insertionCode == ' ' ? '?' : atom.insertionCode) << ' ' << atom.place.x << ' '
        << atom.place.y << ' ' << atom.place.z << " 1.00 " << atom.bFactor << ' ' << atom.number << ' '
        << atom.chain;
    return row.str();
}

inline std::string cifAtoms(const std::vector<FileAtom>& atoms) {
    std::string text = "loop_\n";
    for (const std::string& item : cifItems()) {
        text += "_atom_site." + item + "\n";
    }
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        text += cifRow(atoms[i], i + 1) + "\n";
    }
    return text;
}

inline std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

inline std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

/// The model of a text, which goes through a file.
inline AtomicModel readAs(const std::string& text, const ModelChoice& choice = {},
                          const std::string& name = "model") {
    const TestFolder folder;
    return AtomicModel::read(folder.write(name, text), choice);
}

/// Why a text is refused; empty if it is not.
inline std::string refusalOf(const std::string& text, const ModelChoice& choice = {}) {
    try {
        readAs(text, choice);
    } catch (const InputError& error) {
        return error.reason();
    }
    return {};
}

inline RigidMotion someMotion() {
    return {cMatrix33::rotationXYZ(0.4, -1.2, 2.5), cVector3(12.0, -7.5, 31.25)};
}

#endif
