// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/pdb.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace example {
namespace {

using Line = std::array<char, 128>;

/// A name of up to three letters starts in column 14, behind the room for a two-letter element.
std::string nameField(const std::string& name) {
    return name.size() < 4 ? " " + name : name;
}

std::string atomRecord(int serial, const Atom& atom) {
    Line line{};
    std::snprintf(line.data(), line.size(),
                  "ATOM  %5d %-4s %3s %c%4d    %8.3f%8.3f%8.3f%6.2f%6.2f          %2c\n", serial,
                  nameField(atom.name).c_str(), atom.residue.c_str(), atom.chain, atom.residueNumber,
                  atom.position.x, atom.position.y, atom.position.z, 1.0, 0.0, atom.element);
    return line.data();
}

std::string terRecord(int serial, const Atom& last) {
    Line line{};
    std::snprintf(line.data(), line.size(), "TER   %5d      %3s %c%4d\n", serial, last.residue.c_str(),
                  last.chain, last.residueNumber);
    return line.data();
}

bool startsWith(const std::string& line, const std::string& prefix) {
    return line.compare(0, prefix.size(), prefix) == 0;
}

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

Atom parsedAtom(const std::string& line) {
    if (line.size() < 54) {
        throw std::invalid_argument("too short");
    }
    Atom atom;
    atom.name = trimmed(line.substr(12, 4));
    atom.residue = trimmed(line.substr(17, 3));
    atom.chain = line[21];
    atom.residueNumber = std::stoi(line.substr(22, 4));
    atom.position = {std::stod(line.substr(30, 8)), std::stod(line.substr(38, 8)),
                     std::stod(line.substr(46, 8))};
    return atom;
}

double behindColon(const std::string& line) {
    return std::stod(line.substr(line.find(':') + 1));
}

/// Takes one line into the poses; `open` says whether the last pose still takes atoms.
void takeLine(const std::string& line, std::vector<Pose>& poses, bool& open) {
    const bool isAtom = startsWith(line, "ATOM  ") || startsWith(line, "HETATM");
    if (startsWith(line, "MODEL ")) {
        poses.emplace_back();
        poses.back().number = std::stoi(line.substr(6));
        open = true;
    } else if (isAtom && !open) {
        poses.emplace_back();
        open = true;
    }
    if (isAtom) {
        poses.back().atoms.push_back(parsedAtom(line));
    } else if (open && startsWith(line, "REMARK   6 CCF score")) {
        poses.back().score = behindColon(line);
    } else if (open && startsWith(line, "REMARK   9 CCF flex score")) {
        poses.back().refinedScore = behindColon(line);
    } else if (startsWith(line, "ENDMDL")) {
        open = false;
    }
}

} // namespace

std::string pdbText(const Model& model, const std::string& title) {
    std::string text = "TITLE     " + title + "\n";
    int serial = 0;
    for (std::size_t i = 0; i < model.size(); ++i) {
        text += atomRecord(++serial, model[i]);
        if (i + 1 == model.size() || model[i + 1].chain != model[i].chain) {
            text += terRecord(++serial, model[i]);
        }
    }
    return text + "END\n";
}

std::vector<Pose> posesFromPdb(const std::string& text) {
    std::vector<Pose> poses;
    std::istringstream lines(text);
    std::string line;
    bool open = false;
    for (int number = 1; std::getline(lines, line); ++number) {
        try {
            takeLine(line, poses, open);
        } catch (const std::logic_error&) {
            throw std::runtime_error("line " + std::to_string(number) + " cannot be read: " + line);
        }
    }
    return poses;
}

} // namespace example
