// SPDX-License-Identifier: GPL-3.0-or-later
// What a file of several copies of a model holds, as gemmi reads it and as we do.
#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/resource.h>

#include <gtest/gtest.h>

#include "Formats/AtomicModel.h"
#include "Formats/tests/modelFiles.h"

#include <gemmi/cif.hpp>
#include <gemmi/mmcif.hpp>
#include <gemmi/model.hpp>
#include <gemmi/pdb.hpp>

namespace {

using Names = std::vector<std::vector<std::string>>;

constexpr double rounding = 0.0005 + 1e-9; // half of the last digit of a coordinate, angstrom
constexpr double tensorRounding = 6e-5; // half of the last digit of a tensor's element, and single precision

const std::array<double, 6> tensor = {0.2406, 0.1892, 0.1614, 0.0198, 0.0519, -0.0328};

std::vector<RigidMotion> threePlaces() {
    return {RigidMotion(), someMotion(), RigidMotion::shift(cVector3(100.0, -50.0, 7.5))};
}

const Names threeNames = {{"A", "B"}, {"C", "D"}, {"E", "F"}};

/// Two chains with an insertion code, alternate locations and, behind both, a water and an ion of the first.
std::vector<FileAtom> twoChains(const std::string& first = "A", const std::string& second = "B") {
    std::vector<FileAtom> atoms = chainOf(3, first);
    for (std::size_t i = 10; i < 15; ++i) {
        atoms[i].number = 2;
        atoms[i].insertionCode = 'A';
    }
    atoms[6].altLoc = 'A';
    const std::vector<FileAtom> other = chainOf(2, second, 20.0);
    atoms.insert(atoms.end(), other.begin(), other.end());
    FileAtom water;
    water.name = " O  ";
    water.element = " O";
    water.residue = "HOH";
    water.chain = first;
    water.number = 201;
    water.place = cVector3(-8.125, 3.5, 1.25);
    water.isHetero = true;
    atoms.push_back(water);
    FileAtom zinc = water;
    zinc.name = "ZN  ";
    zinc.element = "ZN";
    zinc.residue = " ZN";
    zinc.number = 202;
    zinc.place = cVector3(8.125, -3.5, 2.25);
    atoms.push_back(zinc);
    return atoms;
}

constexpr std::size_t atomsOfA = 15;
constexpr std::size_t atomsOfB = 10;

std::string tensorLine(const FileAtom& atom, const std::string& serial) {
    return "ANISOU" + pdbLine(atom, serial).substr(6, 22) +
           "   2406   1892   1614    198    519   -328       C  \n";
}

/// With records beside the atoms, a tensor of the first, and TER behind both chains.
std::string pdbText(const std::vector<FileAtom>& atoms) {
    std::string text =
        "HEADER    TEST\nCRYST1   50.000   60.000   70.000  90.00  90.00  90.00 P 1           1\n"
        "REMARK 350 BIOMOLECULE: 1\nSEQRES   1 A    3  ALA ALA ALA\n"
        "HELIX    1   1 ALA A    1  ALA A    3  1\n";
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        const std::string serial = std::to_string(i + 1);
        text += pdbLine(atoms[i], serial);
        text += i == 0 ? tensorLine(atoms[i], serial) : "";
        text += i + 1 == atomsOfA || i + 1 == atomsOfA + atomsOfB ? "TER\n" : "";
    }
    return text + "CONECT    1    2\nMASTER       12    0\nEND\n";
}

std::string cifText(const std::vector<FileAtom>& atoms) {
    std::string tags;
    std::string values;
    const std::array<std::string, 6> elements = {"[1][1]", "[2][2]", "[3][3]", "[1][2]", "[1][3]", "[2][3]"};
    for (std::size_t i = 0; i < elements.size(); ++i) {
        tags += "_atom_site_anisotrop.U" + elements[i] + "\n";
        values += " " + std::to_string(tensor[i]);
    }
    return "data_x\n_entry.id x\n_cell.length_a 50\n_pdbx_struct_assembly.id 1\n"
           "loop_\n_entity.id\n_entity.type\n_entity.pdbx_number_of_molecules\n1 polymer 1\n2 polymer 1\n"
           "loop_\n_entity_poly.entity_id\n_entity_poly.type\n_entity_poly.pdbx_strand_id\n"
           "1 polypeptide(L) A\n2 polypeptide(L) B\n"
           "loop_\n_struct_asym.id\n_struct_asym.entity_id\nA 1\nB 2\nC 2\n"
           "loop_\n_struct_conf.id\n_struct_conf.beg_auth_asym_id\nH1 A\n" +
           cifAtoms(atoms) + "loop_\n_atom_site_anisotrop.id\n_atom_site_anisotrop.pdbx_auth_asym_id\n" +
           tags + "1 A" + values + "\n";
}

struct SeenAtom {
    int serial = 0;
    std::string chain, label, residue, name;
    int number = 0;
    char insertionCode = ' ', altLoc = ' ';
    cVector3 place = cVector3(0.0);
    cMatrix33 tensor;
};

gemmi::Structure structureOf(const std::string& path) {
    if (path.substr(path.size() - 4) == ".pdb") {
        return gemmi::read_pdb_file(path);
    }
    return gemmi::make_structure(gemmi::cif::read_file(path));
}

/// The atoms as gemmi reads them, in the order of the file.
std::vector<SeenAtom> seenByGemmi(const std::string& path) {
    const gemmi::Structure structure = structureOf(path);
    std::vector<SeenAtom> seen;
    for (const gemmi::Chain& chain : structure.models.at(0).chains) {
        for (const gemmi::Residue& residue : chain.residues) {
            for (const gemmi::Atom& atom : residue.atoms) {
                const gemmi::SMat33<float>& u = atom.aniso;
                seen.push_back({atom.serial, chain.name, residue.subchain, residue.name, atom.name,
                                *residue.seqid.num, residue.seqid.icode, atom.altloc_or(' '),
                                cVector3(atom.pos.x, atom.pos.y, atom.pos.z),
                                cMatrix33(u.u11, u.u12, u.u13, u.u12, u.u22, u.u23, u.u13, u.u23, u.u33)});
            }
        }
    }
    std::sort(seen.begin(), seen.end(),
              [](const SeenAtom& a, const SeenAtom& b) { return a.serial < b.serial; });
    EXPECT_EQ(structure.models.size(), 1U);
    return seen;
}

double farthest(const cVector3& off) {
    return std::max({std::abs(off.x), std::abs(off.y), std::abs(off.z)});
}

/// Every atom of every copy is there under its names, in its place.
void expectCopies(const std::vector<SeenAtom>& seen, const std::vector<FileAtom>& atoms,
                  const std::vector<RigidMotion>& places, const Names& names) {
    ASSERT_EQ(seen.size(), atoms.size() * places.size());
    for (std::size_t i = 0; i < seen.size(); ++i) {
        const std::size_t copy = i / atoms.size();
        const FileAtom& atom = atoms[i % atoms.size()];
        EXPECT_EQ(seen[i].chain, names[copy][atom.chain == atoms.front().chain ? 0 : 1]);
        EXPECT_EQ(seen[i].name + seen[i].residue, withoutBlanks(atom.name + atom.residue));
        EXPECT_EQ(seen[i].number, atom.number);
        EXPECT_EQ(seen[i].insertionCode, atom.insertionCode);
        EXPECT_EQ(seen[i].altLoc, atom.altLoc);
        EXPECT_LT(farthest(seen[i].place - places[copy](atom.place)), rounding) << i;
    }
}

/// The tensor of the first atom of each copy is turned with it, and no other atom has one.
void expectTensors(const std::vector<SeenAtom>& seen, std::size_t atoms,
                   const std::vector<RigidMotion>& places) {
    const cMatrix33 first(tensor[0], tensor[3], tensor[4], tensor[3], tensor[1], tensor[5], tensor[4],
                          tensor[5], tensor[2]);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        const cMatrix33& r = places[i / atoms].rotation;
        const cMatrix33 expected = i % atoms == 0 ? r * first * r.getTranspose() : cMatrix33(0.0);
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 3; ++column) {
                EXPECT_NEAR(seen[i].tensor(row, column), expected(row, column), tensorRounding) << i;
            }
        }
    }
}

std::vector<std::string> linesOfAtoms(const std::string& text) {
    std::vector<std::string> found;
    for (const std::string& line : linesOf(text)) {
        const std::string record = line.substr(0, 6);
        if (record == "ATOM  " || record == "HETATM" || record.substr(0, 3) == "TER") {
            found.push_back(line);
        }
    }
    return found;
}

class Assembly : public testing::Test {
protected:
    std::string write(const std::string& text, ModelFormat format,
                      const std::vector<RigidMotion>& places = threePlaces(),
                      const Names& names = threeNames) {
        const AtomicModel model = AtomicModel::read(m_folder.write("in", text));
        m_path = model.writeAssembly(m_folder.path("out"), places, names, format);
        return contentOf(m_path);
    }

    std::string extension() const { return m_path.substr(m_path.size() - 4); }

    TestFolder m_folder;
    std::string m_path;
};

using AtomicModelAssembly = Assembly;

TEST(AtomicModelChains, AreNamedOnceInTheOrderOfTheFile) {
    const std::vector<std::string> expected = {"B", "A"};
    EXPECT_EQ(readAs(pdbText(twoChains("B", "A"))).chains(), expected);
    EXPECT_EQ(readAs(cifText(twoChains("B", "A"))).chains(), expected);
    EXPECT_EQ(readAs(pdbLines(chainOf(1, " "))).chains(), std::vector<std::string>{""});
    ModelChoice choice;
    choice.selection = "A";
    EXPECT_EQ(readAs(pdbText(twoChains("B", "A")), choice).chains(), std::vector<std::string>{"A"});
}

TEST_F(AtomicModelAssembly, GemmiSeesEveryCopyInEitherFormatFromEither) {
    const std::vector<FileAtom> atoms = twoChains();
    for (const std::string& text : {pdbText(atoms), cifText(atoms)}) {
        for (const ModelFormat format : {ModelFormat::Pdb, ModelFormat::Cif}) {
            SCOPED_TRACE(text.substr(0, 6) + (format == ModelFormat::Pdb ? " to PDB" : " to mmCIF"));
            write(text, format);
            EXPECT_EQ(extension(), format == ModelFormat::Pdb ? ".pdb" : ".cif");
            const std::vector<SeenAtom> seen = seenByGemmi(m_path);
            std::vector<FileAtom> inOrder = atoms;
            const bool isOfOtherFormat = (text[0] == 'H') != (format == ModelFormat::Pdb);
            if (isOfOtherFormat) { // which has the waters with their chain
                std::stable_sort(inOrder.begin(), inOrder.end(),
                                 [](const FileAtom& a, const FileAtom& b) { return a.chain < b.chain; });
            }
            expectCopies(seen, inOrder, threePlaces(), threeNames);
            expectTensors(seen, atoms.size(), threePlaces());
        }
    }
}

TEST_F(AtomicModelAssembly, IsReadAsAModelOfAllCopies) {
    const AtomicModel single = readAs(pdbText(twoChains()));
    for (const ModelFormat format : {ModelFormat::Pdb, ModelFormat::Cif}) {
        write(pdbText(twoChains()), format);
        const AtomicModel all = AtomicModel::read(m_path);
        const std::vector<std::string> expected = {"A", "B", "C", "D", "E", "F"};
        EXPECT_EQ(all.chains(), expected);
        EXPECT_EQ(all.atomCount(), 3 * single.atomCount());
        EXPECT_EQ(all.searchAtoms().size(), 3 * single.searchAtoms().size());
        EXPECT_TRUE(all.remarks().empty());
    }
}

TEST_F(AtomicModelAssembly, SerialNumbersOfPdbGoOnFromCopyToCopy) {
    const std::vector<std::string> lines = linesOfAtoms(write(pdbText(twoChains()), ModelFormat::Pdb));
    ASSERT_EQ(lines.size(), 3 * (twoChains().size() + 2)); // a TER behind each chain that had one
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(std::stoul(lines[i].substr(6, 5)), i + 1);
    }
    EXPECT_EQ(lines[atomsOfA], "TER      16      ALA A   2A");
    EXPECT_EQ(lines[atomsOfA + 1 + atomsOfB], "TER      27      ALA B   2 ");
    EXPECT_EQ(lines[twoChains().size() + 2 + atomsOfA], "TER      45      ALA C   2A");
}

TEST_F(AtomicModelAssembly, PdbHoldsAtomsAndTheChainsOfEachCopyAlone) {
    const std::vector<std::string> lines = linesOf(write(pdbText(twoChains()), ModelFormat::Pdb));
    EXPECT_EQ(lines[0], "REMARK   6");
    EXPECT_EQ(lines[1], "REMARK   6 COPY 1 OF 3: CHAINS A, B");
    EXPECT_EQ(lines[3], "REMARK   6 COPY 3 OF 3: CHAINS E, F");
    EXPECT_EQ(lines.back(), "END");
    std::set<std::string> records;
    for (const std::string& line : lines) {
        records.insert(line.substr(0, 6));
    }
    const std::set<std::string> expected = {"REMARK", "ATOM  ", "HETATM", "ANISOU", "TER   ", "END"};
    EXPECT_EQ(records, expected);
}

TEST_F(AtomicModelAssembly, LongListsOfChainsStayWithinTheLine) {
    const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    std::vector<FileAtom> atoms;
    Names names(1);
    for (const char letter : letters) {
        FileAtom atom;
        atom.chain = letter;
        atoms.push_back(atom);
        names[0].emplace_back(1, letter);
    }
    std::string told;
    for (const std::string& line :
         linesOf(write(pdbLines(atoms), ModelFormat::Pdb, {RigidMotion()}, names))) {
        if (line.compare(0, 6, "REMARK") == 0) {
            EXPECT_LE(line.size(), 80U);
            told += line.substr(std::min<std::size_t>(line.size(), 11));
        }
    }
    for (const char letter : letters) {
        EXPECT_EQ(countOf(told, std::string(" ") + letter + (letter == 'Z' ? "" : ",")), 1U) << letter;
    }
}

TEST_F(AtomicModelAssembly, CopyWithoutTerGetsOneBehind) {
    const std::string text =
        write(pdbLines(chainOf(2, "A")), ModelFormat::Pdb, {RigidMotion(), someMotion()}, {{"A"}, {"B"}});
    const std::vector<std::string> lines = linesOfAtoms(text);
    ASSERT_EQ(lines.size(), 22U);
    EXPECT_EQ(lines[10], "TER      11      ALA A   2 ");
    EXPECT_EQ(lines[21], "TER      22      ALA B   2 ");
}

TEST_F(AtomicModelAssembly, BlankChainsGetNames) {
    const std::vector<FileAtom> atoms = chainOf(2, " ");
    const std::vector<RigidMotion> places = {RigidMotion(), someMotion()};
    const Names names = {{""}, {"A"}};
    const std::string text = write(pdbLines(atoms), ModelFormat::Pdb, places, names);
    EXPECT_EQ(countOf(text, "COPY 1 OF 2: CHAINS (blank)\n"), 1U);
    expectCopies(seenByGemmi(m_path), atoms, places, names);
    write(pdbLines(atoms), ModelFormat::Cif, places, names);
    EXPECT_EQ(AtomicModel::read(m_path).chains(), (std::vector<std::string>{"", "A"}));
}

TEST_F(AtomicModelAssembly, ResidueNamesOfFourLettersRunIntoNoChain) {
    const std::vector<RigidMotion> places = {RigidMotion(), someMotion()};
    for (const char* residue : {"TIPX", "ALAX"}) { // of which the second reads as ALA in a chain XA, if named
        std::string line = pdbLine(FileAtom(), "1");
        line.replace(17, 5, std::string(residue) + " ");
        write(line, ModelFormat::Pdb, places, {{""}, {"A"}});
        EXPECT_EQ(AtomicModel::read(m_path).chains(), (std::vector<std::string>{"", "A"}));
        EXPECT_EQ(AtomicModel::read(m_path).searchAtoms().at(1).residue, residue);
        EXPECT_EQ(extension(), std::string(residue) == "TIPX" ? ".pdb" : ".cif");
    }
}

TEST_F(AtomicModelAssembly, SerialNumbersBeyondFiveDigitsAreRepairedInTheCopies) {
    const FileAtom atom;
    std::string line = pdbLine(atom, "00000");
    line.replace(0, 11, "ATOM 100000");
    line.replace(11, 1, " ");
    const std::string text = write(line, ModelFormat::Pdb, {RigidMotion(), someMotion()}, {{"A"}, {"B"}});
    EXPECT_EQ(countOf(text, "ATOM      1  CA "), 1U);
    EXPECT_EQ(countOf(text, "ATOM      3  CA "), 1U);
}

TEST_F(AtomicModelAssembly, OneModelOfSeveralIsCopied) {
    std::string text;
    for (int model = 1; model <= 2; ++model) {
        text += "MODEL        " + std::to_string(model) + "\n" + pdbLines(chainOf(model, "A")) + "ENDMDL\n";
    }
    ModelChoice choice;
    choice.model = "2";
    const AtomicModel model = readAs(text + "END\n", choice);
    const std::string path = model.writeAssembly(m_folder.path("out"), {RigidMotion(), someMotion()},
                                                 {{"A"}, {"B"}}, ModelFormat::Pdb);
    EXPECT_EQ(seenByGemmi(path).size(), 20U);
    EXPECT_EQ(countOf(contentOf(path), "MODEL"), 0U);
}

TEST_F(AtomicModelAssembly, SelectedAtomsAloneAreCopied) {
    ModelChoice choice;
    choice.selection = "B";
    for (const std::string& text : {pdbText(twoChains()), cifText(twoChains())}) {
        const AtomicModel model = readAs(text, choice);
        const std::string path = model.writeAssembly(m_folder.path("out"), {RigidMotion(), someMotion()},
                                                     {{"B"}, {"C"}}, model.format());
        EXPECT_EQ(seenByGemmi(path).size(), 2 * atomsOfB);
    }
}

TEST_F(AtomicModelAssembly, CifNumbersItsAtomsAndRepeatsNoLabel) {
    write(cifText(twoChains()), ModelFormat::Cif);
    const std::vector<SeenAtom> seen = seenByGemmi(m_path);
    std::vector<std::set<std::string>> labels(3);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        EXPECT_EQ(seen[i].serial, static_cast<int>(i + 1));
        labels[i / twoChains().size()].insert(seen[i].label);
    }
    EXPECT_EQ(labels[0], (std::set<std::string>{"A", "B"}));
    EXPECT_EQ(labels[1], (std::set<std::string>{"A2", "B2"}));
    EXPECT_EQ(labels[2], (std::set<std::string>{"A3", "B3"}));
}

TEST_F(AtomicModelAssembly, CifKeepsItsEntitiesAndWhatIsTrueOfAllCopies) {
    const std::string text = write(cifText(twoChains()), ModelFormat::Cif);
    for (const char* gone :
         {"_cell.", "_pdbx_struct_assembly", "_struct_conf", "strand_id", "number_of_mol"}) {
        EXPECT_EQ(countOf(text, gone), 0U) << gone;
    }
    for (const char* once : {"_entry.id x\n", "_atom_site.id\n", "_atom_site_anisotrop.id\n",
                             "\nA 1\nB 2\nA2 1\nB2 2\nA3 1\nB3 2\n", "\n1 polypeptide(L)\n"}) {
        EXPECT_EQ(countOf(text, once), 1U) << once;
    }
    const gemmi::Structure structure = structureOf(m_path);
    ASSERT_EQ(structure.entities.size(), 2U);
    EXPECT_EQ(structure.entities[0].subchains, (std::vector<std::string>{"A", "A2", "A3"}));
    EXPECT_EQ(structure.entities[0].entity_type, gemmi::EntityType::Polymer);
    const gemmi::cif::Document document = gemmi::cif::read_file(m_path);
    EXPECT_EQ(document.blocks.size(), 1U);
}

TEST_F(AtomicModelAssembly, TensorsOfTheCifNameTheirAtomsAndChains) {
    const std::string text = write(cifText(twoChains()), ModelFormat::Cif);
    const std::size_t atoms = twoChains().size();
    EXPECT_EQ(countOf(text, "\n1 A 0.240"), 1U);
    EXPECT_EQ(countOf(text, "\n" + std::to_string(atoms + 1) + " C "), 1U);
    EXPECT_EQ(countOf(text, "\n" + std::to_string(2 * atoms + 1) + " E 0.240"), 1U);
}

TEST_F(AtomicModelAssembly, ConvertedCopiesShareTheEntitiesOfTheModel) {
    write(pdbText(twoChains()), ModelFormat::Cif);
    std::set<std::string> labels;
    for (const gemmi::Entity& entity : structureOf(m_path).entities) {
        EXPECT_EQ(entity.subchains.size() % 3, 0U) << entity.name;
        labels.insert(entity.subchains.begin(), entity.subchains.end());
    }
    std::set<std::string> seen;
    for (const SeenAtom& atom : seenByGemmi(m_path)) {
        seen.insert(atom.label);
    }
    EXPECT_EQ(labels, seen);
    EXPECT_EQ(seen.size(), 12U); // of each copy two polymers, a water and an ion
}

TEST_F(AtomicModelAssembly, CifWithoutNamesOfChainsGetsThem) {
    const std::string text = "data_x\nloop_\n_atom_site.type_symbol\n_atom_site.Cartn_x\n_atom_site.Cartn_y\n"
                             "_atom_site.Cartn_z\nC 1 2 3\nN 2 3 4\n";
    write(text, ModelFormat::Cif, {RigidMotion(), RigidMotion::shift(cVector3(1.0))}, {{""}, {"A"}});
    const AtomicModel model = AtomicModel::read(m_path);
    EXPECT_EQ(model.chains(), (std::vector<std::string>{"", "A"}));
    EXPECT_EQ(model.atomCount(), 4U);
    EXPECT_EQ(countOf(contentOf(m_path), "\nN 3.000 4.000 5.000 4 A\n"), 1U) << contentOf(m_path);
}

TEST_F(AtomicModelAssembly, LabelsAreTheNamesWhereAuthorsGaveNone) {
    const std::string text = "data_x\n_struct_asym.id A\n_struct_asym.entity_id 1\nloop_\n_atom_site.id\n"
                             "_atom_site.label_asym_id\n_atom_site.type_symbol\n_atom_site.Cartn_x\n"
                             "_atom_site.Cartn_y\n_atom_site.Cartn_z\n7 A C 1 2 3\n";
    const std::string out = write(text, ModelFormat::Cif, {RigidMotion(), RigidMotion()}, {{"A"}, {"O'5\""}});
    EXPECT_EQ(AtomicModel::read(m_path).chains(), (std::vector<std::string>{"A", "O'5\""}));
    EXPECT_EQ(countOf(out, "\n1 A C 1.000 2.000 3.000\n"), 1U) << out;
}

Names numberedNames(std::size_t copies) {
    Names names = {{"A", "B"}};
    while (names.size() < copies) {
        const std::string number = std::to_string(names.size() + 1);
        names.push_back({"A" + number, "B" + number});
    }
    return names;
}

TEST_F(AtomicModelAssembly, MoreChainsThanLettersAreWrittenAsCif) {
    constexpr std::size_t copies = 40;
    std::vector<RigidMotion> places;
    for (std::size_t n = 0; n < copies; ++n) {
        places.push_back(RigidMotion::shift(cVector3(30.0 * static_cast<double>(n), 0.0, 0.0)));
    }
    std::vector<FileAtom> atoms = twoChains();
    atoms.resize(atomsOfA + atomsOfB); // in the order of their chains
    write(pdbLines(atoms), ModelFormat::Pdb, places, numberedNames(copies));
    EXPECT_EQ(extension(), ".cif");
    const std::vector<SeenAtom> seen = seenByGemmi(m_path);
    expectCopies(seen, atoms, places, numberedNames(copies));
    EXPECT_EQ(AtomicModel::read(m_path).chains().size(), 2 * copies);
}

TEST_F(AtomicModelAssembly, LabelsOfCopiesDifferFromThoseOfTheModel) {
    std::vector<FileAtom> atoms = chainOf(1, "A");
    const std::vector<FileAtom> other = chainOf(1, "A2");
    atoms.insert(atoms.end(), other.begin(), other.end());
    write("data_x\n" + cifAtoms(atoms), ModelFormat::Cif, {RigidMotion(), someMotion()},
          {{"A", "A2"}, {"B", "C"}});
    std::set<std::string> labels;
    for (const SeenAtom& atom : seenByGemmi(m_path)) {
        labels.insert(atom.label);
    }
    EXPECT_EQ(labels.size(), 4U);
}

TEST_F(AtomicModelAssembly, CopiesTogetherMustFitPdb) {
    constexpr std::size_t atoms = 19999;
    const std::string hydrogen =
        "ATOM  ***** HE1  ALA A   1       1.000   2.000   3.000  1.00 20.00           H  \n";
    std::string text;
    for (std::size_t i = 0; i + 1 < atoms; ++i) {
        text += hydrogen;
    }
    text += pdbLine(FileAtom(), "*****");
    Names names = {{"A"}, {"B"}, {"C"}, {"D"}, {"E"}};
    std::vector<RigidMotion> places(names.size());
    const std::string written = write(text, ModelFormat::Pdb, places, names);
    EXPECT_EQ(extension(), ".pdb");
    EXPECT_EQ(AtomicModel::read(m_path).atomCount(), 5 * atoms);
    EXPECT_EQ(linesOfAtoms(written).back(), "TER   A0000      ALA E   1 "); // 99,995 atoms, 5 TER
    places.emplace_back();
    names.push_back({"F"});
    write(text, ModelFormat::Pdb, places, names);
    EXPECT_EQ(extension(), ".cif");
    EXPECT_EQ(AtomicModel::read(m_path).atomCount(), 6 * atoms);
}

TEST_F(AtomicModelAssembly, OnePlaceBeyondTheColumnsMakesItCif) {
    const std::vector<RigidMotion> places = {RigidMotion(), RigidMotion::shift(cVector3(10000.0))};
    write(pdbLines(chainOf(1, "A")), ModelFormat::Pdb, places, {{"A"}, {"B"}});
    EXPECT_EQ(extension(), ".cif");
}

TEST_F(AtomicModelAssembly, AssemblyOfTheFileIsCopiedAsAWhole) {
    const std::string biomt = "REMARK 350 BIOMOLECULE: 1\n"
                              "REMARK 350 APPLY THE FOLLOWING TO CHAINS: A\n"
                              "REMARK 350   BIOMT1   1  1.000000  0.000000  0.000000        0.00000\n"
                              "REMARK 350   BIOMT2   1  0.000000  1.000000  0.000000        0.00000\n"
                              "REMARK 350   BIOMT3   1  0.000000  0.000000  1.000000        0.00000\n"
                              "REMARK 350   BIOMT1   2 -1.000000  0.000000  0.000000       40.00000\n"
                              "REMARK 350   BIOMT2   2  0.000000 -1.000000  0.000000        0.00000\n"
                              "REMARK 350   BIOMT3   2  0.000000  0.000000  1.000000        0.00000\n";
    ModelChoice choice;
    choice.assembly = "1";
    const AtomicModel model = readAs(biomt + pdbLines(chainOf(2, "A")), choice);
    ASSERT_EQ(model.chains(), (std::vector<std::string>{"A", "B"}));
    std::vector<FileAtom> atoms = chainOf(2, "A");
    for (FileAtom atom : chainOf(2, "B")) {
        atom.place = cVector3(40.0 - atom.place.x, -atom.place.y, atom.place.z);
        atoms.push_back(atom);
    }
    for (const ModelFormat format : {ModelFormat::Pdb, ModelFormat::Cif}) {
        const std::string path = model.writeAssembly(m_folder.path("out"), threePlaces(), threeNames, format);
        expectCopies(seenByGemmi(path), atoms, threePlaces(), threeNames);
    }
}

TEST_F(AtomicModelAssembly, SizesThatDoNotFitAreRefused) {
    const std::string text = pdbText(twoChains());
    const std::vector<RigidMotion> two(2);
    for (const Names& names : {Names{{"A", "B"}}, Names{{"A", "B"}, {"C"}}, Names{{"A", "B"}, {"C", "A"}},
                               Names{{"A", "B"}, {"C", "D"}, {"E", "F"}}}) {
        EXPECT_THROW(write(text, ModelFormat::Pdb, two, names), std::invalid_argument);
    }
    EXPECT_THROW(write(text, ModelFormat::Pdb, {}, {}), std::invalid_argument);
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("out.pdb")));
}

TEST_F(AtomicModelAssembly, PlaceThatCannotBeWrittenIsTold) {
    const AtomicModel model = readAs(pdbText(twoChains()));
    try {
        model.writeAssembly(m_folder.path("none/out"), threePlaces(), threeNames, ModelFormat::Pdb);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("none/out.pdb"), std::string::npos);
    }
}

/// Files grow no further than this, as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_earlier);
        const rlimit limit = {bytes, m_earlier.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_earlier);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_earlier{};
    void (*m_handler)(int);
};

TEST_F(AtomicModelAssembly, FullDiskLeavesNoFile) {
    const AtomicModel model = AtomicModel::read(m_folder.write("in", pdbText(twoChains())));
    for (const ModelFormat format : {ModelFormat::Pdb, ModelFormat::Cif}) {
        const FileSizeLimit limit(1024);
        EXPECT_THROW(model.writeAssembly(m_folder.path("out"), threePlaces(), threeNames, format),
                     std::runtime_error);
    }
    const std::filesystem::directory_iterator begin(std::filesystem::path(m_folder.path("in")).parent_path());
    EXPECT_EQ(std::distance(begin, std::filesystem::directory_iterator()), 1);
}

} // namespace
