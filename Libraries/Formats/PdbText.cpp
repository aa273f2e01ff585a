// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/PdbText.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <exception>
#include <set>
#include <utility>

#include "Formats/pdbColumns.h"
#include "Formats/turnTensor.h"
#include "IO/openInput.h"

#include <gemmi/pdb.hpp>

using pdb::columns;
using pdb::trimmed;

namespace {

constexpr std::size_t noFrame = static_cast<std::size_t>(-1);

/// What a motion makes untrue: the crystal and operators that begin from the old place, and the standard
/// deviations along the old axes. MASTER counts lines of this file, and NUMMDL its models.
bool isUntrueAfterMotion(const std::string& record) {
    static const std::set<std::string> untrue = {"CRYST1", "ORIGX1", "ORIGX2", "ORIGX3", "SCALE1",
                                                 "SCALE2", "SCALE3", "MTRIX1", "MTRIX2", "MTRIX3",
                                                 "TVECT",  "SIGATM", "SIGUIJ", "MASTER", "NUMMDL"};
    return untrue.count(record) > 0;
}

/// Remarks on refinement (3, with its TLS origins), symmetry (290, 375) and assemblies (300, 350).
bool isUntrueRemark(std::string_view line) {
    static const std::set<int> untrue = {3, 290, 300, 350, 375};
    const std::optional<int> number = pdb::integer(columns(line, 8, 10));
    return number && untrue.count(*number) > 0;
}

/// A bond to a symmetry mate, which has no place any more.
bool isBondToMate(const std::string& record, std::string_view line) {
    return (record == "LINK" || record == "SSBOND") &&
           trimmed(columns(line, 60, 65)) != trimmed(columns(line, 67, 72));
}

/// The columns where a record names chains; empty for a record that names none.
std::vector<std::size_t> chainColumns(const std::string& record) {
    static const std::vector<std::pair<std::string, std::vector<std::size_t>>> table = {
        {"SEQRES", {12}},    {"DBREF", {13}},      {"DBREF1", {13}},   {"DBREF2", {13}},
        {"SEQADV", {17}},    {"MODRES", {17}},     {"HET", {13}},      {"HELIX", {20}},
        {"SHEET", {22, 33}}, {"SSBOND", {16, 30}}, {"LINK", {22, 52}}, {"CISPEP", {16, 30}}};
    for (const auto& [name, places] : table) {
        if (name == record) {
            return places;
        }
    }
    return {};
}

char chainAt(std::string_view line, std::size_t column) {
    const std::string_view chain = columns(line, column, column);
    return chain.empty() ? ' ' : chain[0];
}

/// Records that a parser of structures makes something of, beside those of atoms.
bool isForParser(const std::string& record, std::string_view line) {
    static const std::set<std::string> known = {"HEADER", "TITLE",  "KEYWDS", "EXPDTA", "AUTHOR",
                                                "SEQRES", "DBREF",  "DBREF1", "DBREF2", "HELIX",
                                                "SHEET",  "SSBOND", "LINK",   "CISPEP"};
    return known.count(record) > 0 || (record == "REMARK" && trimmed(columns(line, 8, 10)) == "2");
}

/// A number in as many columns as it has; none if it needs more.
template <typename... Value>
bool putNumber(std::string& line, std::size_t column, std::size_t width, const char* format, Value... value) {
    std::array<char, 32> field{};
    const int size = std::snprintf(field.data(), field.size(), format, static_cast<int>(width), value...);
    if (size != static_cast<int>(width)) {
        return false;
    }
    line.replace(column - 1, width, field.data());
    return true;
}

/// The end of the chain of an atom, whose line gives the residue.
std::string terBehind(const std::string& atom, std::size_t serial) {
    return "TER   " + pdb::hybrid36(pdb::serialWidth, serial) + "      " +
           std::string(columns(atom, 18, 27)) + "\n";
}

} // namespace

struct PdbText::Frame {
    std::string name;
    std::size_t atoms = 0;
};

std::string_view PdbText::textOf(const Line& line) const {
    return std::string_view(m_text).substr(line.begin, line.size);
}

std::string_view PdbText::contentOf(const Line& line) const {
    std::string_view text = textOf(line);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        text.remove_suffix(1);
    }
    return text;
}

PdbText::PdbText(const std::string& path, std::string text, const std::optional<std::string>& model)
    : m_path(path), m_text(std::move(text)) {
    std::vector<Line> lines = splitLines();
    std::vector<std::size_t> frameOf(lines.size(), noFrame);
    const std::vector<Frame> frames = divideIntoModels(lines, frameOf);
    std::vector<std::string> names;
    std::vector<std::size_t> counts;
    for (const Frame& frame : frames) {
        names.push_back(frame.name);
        counts.push_back(frame.atoms);
    }
    const std::size_t chosen = chooseModel(path, names, counts, model, m_remarks);
    m_modelName = names[chosen];
    takeModel(lines, frameOf, chosen);
}

std::vector<PdbText::Line> PdbText::splitLines() const {
    std::vector<Line> lines;
    for (std::size_t begin = 0; begin < m_text.size();) {
        const std::size_t newline = m_text.find('\n', begin);
        const std::size_t end = newline == std::string::npos ? m_text.size() : newline + 1;
        lines.push_back({begin, end - begin, lines.size() + 1, Kind::Other, 0});
        begin = end;
    }
    return lines;
}

/// MODEL opens one and ENDMDL closes it. END closes it, too, for some programs write nothing else between
/// the frames of a trajectory. Atoms outside of these make a model of their own.
std::vector<PdbText::Frame> PdbText::divideIntoModels(std::vector<Line>& lines,
                                                      std::vector<std::size_t>& frameOf) const {
    std::vector<Frame> frames;
    bool isOpen = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = contentOf(lines[i]);
        const std::string record = pdb::record(line);
        const bool atom = pdb::isAtom(line);
        if (record == "MODEL" || (atom && !isOpen)) {
            const std::string_view name = record == "MODEL" ? trimmed(columns(line, 6, 80)) : "";
            frames.push_back({name.empty() ? std::to_string(frames.size() + 1) : std::string(name)});
            isOpen = true;
        }
        lines[i].kind = atom                 ? Kind::Atom
                        : record == "ANISOU" ? Kind::Anisotropy
                        : record == "CONECT" ? Kind::Bonds
                        : record == "TER"    ? Kind::Ter
                        : record == "END"    ? Kind::End
                                             : Kind::Other;
        if (atom || record == "ANISOU" || record == "TER" || record == "MODEL" || record == "ENDMDL") {
            frameOf[i] = frames.empty() ? noFrame : frames.size() - 1;
        }
        if (atom) {
            ++frames.back().atoms;
        } else if (record == "ENDMDL" || record == "END") {
            isOpen = false;
        }
    }
    return frames;
}

void PdbText::takeModel(const std::vector<Line>& lines, const std::vector<std::size_t>& frameOf,
                        std::size_t frame) {
    std::optional<Line> end;
    std::size_t lostTensors = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        Line line = lines[i];
        const std::string_view text = contentOf(line);
        const std::string record = pdb::record(text);
        if (record == "REMARK" && trimmed(columns(text, 8, 10)) == "350") {
            m_assemblies += pdb::parsable(text) + "\n";
        }
        if ((frameOf[i] != noFrame && frameOf[i] != frame) || isUntrueAfterMotion(record) ||
            isBondToMate(record, text) || (record == "REMARK" && isUntrueRemark(text))) {
            continue;
        }
        if (line.kind == Kind::Atom) {
            noteAtom(line);
        } else if (line.kind == Kind::Anisotropy && !belongsToLastAtom(text)) {
            ++lostTensors;
            continue;
        } else if (line.kind == Kind::End) {
            end = line;
            continue;
        }
        line.atom = m_atoms.empty() ? 0 : m_atoms.size() - 1;
        m_lines.push_back(line);
    }
    if (end) {
        m_lines.push_back(*end); // behind what stood after the END of another model, too
    }
    if (lostTensors > 0) {
        m_remarks.push_back(std::to_string(lostTensors) +
                            " ANISOU records follow no atom of their own and are left out.");
    }
}

void PdbText::noteAtom(Line& line) {
    checkPlace(line);
    m_hasTwoLetterChains = m_hasTwoLetterChains || pdb::hasTwoLetterChain(pdb::parsable(contentOf(line)));
    m_atoms.push_back(m_lines.size());
}

bool PdbText::belongsToLastAtom(std::string_view anisotropy) const {
    if (m_atoms.empty() || m_atoms.back() + 1 != m_lines.size() ||
        columns(anisotropy, 13, 27) != columns(contentOf(m_lines.back()), 13, 27)) {
        return false;
    }
    for (std::size_t i = 0; i < 6; ++i) {
        const std::size_t first = pdb::tensorColumn + i * pdb::tensorWidth;
        if (!pdb::integer(columns(anisotropy, first, first + pdb::tensorWidth - 1))) {
            return false;
        }
    }
    return true;
}

void PdbText::checkPlace(const Line& line) const {
    const std::string_view text = contentOf(line);
    const std::string where = "line " + std::to_string(line.number) + ": ";
    constexpr std::size_t last = pdb::coordinateColumn + 3 * pdb::coordinateWidth - 1;
    if (text.size() < last) {
        throw InputError(m_path,
                         where + "an atom's line ends after column " + std::to_string(text.size()) +
                             ", before its coordinates do (columns 31 to 54); the file may be cut off",
                         true);
    }
    const std::string remedy =
        "; where a coordinate needs more than 8 columns, give the model as mmCIF, else "
        "correct the line or remove it";
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t first = pdb::coordinateColumn + axis * pdb::coordinateWidth;
        const std::size_t end = first + pdb::coordinateWidth - 1;
        const std::optional<double> value = pdb::number(columns(text, first, end));
        if (!value || std::abs(*value) > farthestCoordinate) {
            throw InputError(m_path,
                             where + std::string(1, "xyz"[axis]) + " in columns " + std::to_string(first) +
                                 " to " + std::to_string(end) + " is no number" + remedy,
                             true);
        }
    }
    // Where one is too wide, what follows is shifted and may still look like numbers.
    const std::string_view occupancy = columns(text, last + 1, last + 6);
    if (!occupancy.empty() && std::isdigit(static_cast<unsigned char>(occupancy[0])) != 0 &&
        !pdb::number(occupancy)) {
        throw InputError(m_path, where + "the coordinates go on after column 54" + remedy, true);
    }
}

std::string PdbText::forParser() const {
    std::string text = m_assemblies;
    text.reserve(text.size() + m_lines.size() * (pdb::lineWidth + 1));
    std::size_t place = 0;
    for (const Line& line : m_lines) {
        const std::string_view content = contentOf(line);
        place += line.kind == Kind::Atom ? 1 : 0;
        if (!line.kept) {
            continue;
        }
        if (line.kind == Kind::Atom) {
            text += pdb::parsableAtom(content, place, m_hasTwoLetterChains) + "\n";
        } else if (line.kind == Kind::Anisotropy || line.kind == Kind::Ter ||
                   isForParser(pdb::record(content), content)) {
            text += pdb::parsable(content) + "\n";
        }
    }
    return text;
}

gemmi::Structure PdbText::structure() const {
    gemmi::Structure structure;
    try {
        structure = gemmi::read_pdb_string(forParser(), m_path);
    } catch (const std::exception& error) {
        throw InputError(m_path, error.what(), true);
    }
    gemmi::Model& model = structure.models.front();
    model.name = m_modelName;
    for (gemmi::Chain& chain : model.chains) {
        for (gemmi::Residue& residue : chain.residues) {
            const std::size_t place = static_cast<std::size_t>(residue.atoms.front().serial) - 1;
            const std::string_view line = contentOf(m_lines[m_atoms[place]]);
            residue.name = pdb::residueName(pdb::parsable(line), m_hasTwoLetterChains);
            if (*residue.seqid.num > pdb::negativeResidueNumbers) {
                residue.seqid.num = pdb::negativeResidueNumbers - *residue.seqid.num;
            }
        }
    }
    return structure;
}

void PdbText::keepOnly(const std::vector<bool>& kept) {
    bool anyBeforeTer = false;
    for (Line& line : m_lines) {
        if (line.kind == Kind::Atom || line.kind == Kind::Anisotropy) {
            line.kept = kept[line.atom];
            anyBeforeTer = anyBeforeTer || line.kept;
        } else if (line.kind == Kind::Ter) {
            line.kept = anyBeforeTer;
            anyBeforeTer = false;
        }
    }
    keepBonds();
    keepStatements();
}

/// A line of bonds stays if none of its atoms left.
void PdbText::keepBonds() {
    std::set<std::string_view> left;
    for (const Line& line : m_lines) {
        if (line.kind == Kind::Atom && !line.kept) {
            left.insert(trimmed(columns(textOf(line), 7, 11)));
        }
    }
    for (Line& line : m_lines) {
        for (std::size_t column = 7; line.kind == Kind::Bonds && column <= 27; column += 5) {
            line.kept = line.kept && left.count(trimmed(columns(contentOf(line), column, column + 4))) == 0;
        }
    }
}

/// What is said about chains of which no atom stays leaves with them.
void PdbText::keepStatements() {
    std::set<char> chains;
    for (const Line& line : m_lines) {
        if (line.kind == Kind::Atom && line.kept) {
            chains.insert(chainAt(contentOf(line), 22));
        }
    }
    for (Line& line : m_lines) {
        const std::string_view text = contentOf(line);
        for (const std::size_t column : chainColumns(pdb::record(text))) {
            line.kept = line.kept && chains.count(chainAt(text, column)) > 0;
        }
    }
}

std::string PdbText::movedAtom(std::string_view line, const RigidMotion& motion) const {
    std::string text(line);
    cVector3 place(0.0);
    for (int axis = 0; axis < 3; ++axis) {
        const std::size_t first =
            pdb::coordinateColumn + static_cast<std::size_t>(axis) * pdb::coordinateWidth;
        place[axis] = pdb::number(columns(line, first, first + pdb::coordinateWidth - 1)).value_or(0.0);
    }
    place = motion(place);
    for (int axis = 0; axis < 3; ++axis) {
        const std::size_t first =
            pdb::coordinateColumn + static_cast<std::size_t>(axis) * pdb::coordinateWidth;
        putNumber(text, first, pdb::coordinateWidth, "%*.3f", place[axis]);
    }
    return text;
}

std::string PdbText::turnedTensor(std::string_view line, const RigidMotion& motion) const {
    std::string text(line);
    SymmetricTensor tensor{};
    for (std::size_t i = 0; i < tensor.size(); ++i) {
        const std::size_t first = pdb::tensorColumn + i * pdb::tensorWidth;
        tensor[i] = pdb::integer(columns(line, first, first + pdb::tensorWidth - 1)).value_or(0);
    }
    tensor = turnTensor(tensor, motion.rotation);
    for (std::size_t i = 0; i < tensor.size(); ++i) {
        if (!putNumber(text, pdb::tensorColumn + i * pdb::tensorWidth, pdb::tensorWidth, "%*ld",
                       std::lround(tensor[i]))) {
            return {};
        }
    }
    return text;
}

std::string PdbText::moved(const RigidMotion& motion) const {
    std::string text;
    text.reserve(m_text.size());
    for (const Line& line : m_lines) {
        const std::string_view content = textOf(line);
        if (!line.kept) {
            continue;
        }
        if (!text.empty() && text.back() != '\n') {
            text += '\n';
        }
        if (line.kind == Kind::Atom) {
            text += movedAtom(content, motion);
        } else if (line.kind == Kind::Anisotropy) {
            text += turnedTensor(content, motion);
        } else {
            text += content;
        }
    }
    return text;
}

/// A residue name of four letters before a chain without a letter would read as a chain of two.
bool PdbText::canRenameChains() const {
    return m_hasTwoLetterChains || std::none_of(m_atoms.begin(), m_atoms.end(), [&](std::size_t atom) {
               std::string text = pdb::parsable(contentOf(m_lines[atom]));
               text[pdb::chainColumn - 1] = 'A';
               return m_lines[atom].kept && pdb::hasTwoLetterChain(text);
           });
}

/// A line of 27 columns or more, in which names of chains are as wide as in the model.
std::string PdbText::renamed(std::string line, const ModelCopy& copy, std::size_t serial) const {
    const std::size_t first = m_hasTwoLetterChains ? pdb::chainColumn - 1 : pdb::chainColumn;
    const std::size_t width = pdb::chainColumn + 1 - first;
    const std::string old = pdb::printed(std::string(columns(line, first, pdb::chainColumn)));
    const auto found = copy.renamed.find(std::string(trimmed(old)));
    if (found != copy.renamed.end() && found->second.size() <= width) {
        line.replace(first - 1, width, std::string(width - found->second.size(), ' ') + found->second);
    }
    const std::string record = pdb::isAtom(line) ? pdb::atomRecord(line) : line.substr(0, 6);
    return record + pdb::hybrid36(pdb::serialWidth, serial) + " " + line.substr(12);
}

/// What ends a chain in the model ends it in a copy; viewers join copies that nothing parts.
void PdbText::writeCopy(std::string& out, const ModelCopy& copy, std::size_t& serial) const {
    std::string atom;
    bool isOpen = false, hasEnds = false;
    for (const Line& line : m_lines) {
        if (!line.kept) {
            continue;
        }
        if (line.kind == Kind::Atom) {
            atom = renamed(movedAtom(contentOf(line), copy.motion), copy, ++serial);
            out += atom + "\n";
            isOpen = true;
        } else if (line.kind == Kind::Anisotropy) {
            const std::string tensor = turnedTensor(contentOf(line), copy.motion);
            out += tensor.empty() ? "" : renamed(tensor, copy, serial) + "\n";
        } else if (line.kind == Kind::Ter && isOpen) {
            out += terBehind(atom, ++serial);
            isOpen = false;
            hasEnds = true;
        }
    }
    out += hasEnds ? "" : terBehind(atom, ++serial);
}

std::string PdbText::assembled(const std::vector<ModelCopy>& copies) const {
    std::string text = remarksOnCopies(copies);
    std::size_t serial = 0;
    for (const ModelCopy& copy : copies) {
        writeCopy(text, copy, serial);
    }
    return text + "END\n";
}
