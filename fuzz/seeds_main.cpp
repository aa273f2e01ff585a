// SPDX-License-Identifier: GPL-3.0-or-later
// Writes inputs to begin with, one directory per fuzz target.
//   fuzz_seeds DIRECTORY
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Formats/tests/MapBytes.h"
#include "Formats/tests/gzipBytes.h"
#include "app/tests/testInputs.h"

namespace fs = std::filesystem;

namespace {

constexpr int residueAtoms = 5;

void write(const fs::path& path, const std::string& content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

TestMap smallMap() {
    TestMap map;
    map.size = {3, 4, 5};
    map.start = {-1, 2, 0};
    const std::vector<TestAtom> atoms = {{"CA", 'C', "ALA", 'A', 1, map.centre()}};
    return simulate(map, atoms, 2.0);
}

void writeMaps(const fs::path& directory) {
    const TestMap plain = smallMap();
    write(directory / "plain", ccp4Bytes(plain));
    TestMap map = plain;
    map.axisOrder = {3, 1, 2};
    write(directory / "turned_axes", ccp4Bytes(map));
    map.oppositeByteOrder = true;
    write(directory / "opposite_bytes", ccp4Bytes(map));
    map = plain;
    map.symmetryBytes = 160;
    write(directory / "symmetry_records", ccp4Bytes(map));
    map = plain;
    map.originWords = {1.0F, 2.0F, 3.0F};
    std::string bytes = ccp4Bytes(map);
    for (const std::size_t angle : {52U, 56U, 60U}) {
        setFloatAt(bytes, angle, 70.0F + static_cast<float>(angle));
    }
    write(directory / "skew_cell", bytes);
    for (const std::size_t sampling : {28U, 32U, 36U}) {
        setIntAt(bytes, sampling, 0);
    }
    for (const std::size_t zeroed : {40U, 44U, 48U, 64U, 68U, 72U}) {
        setIntAt(bytes, zeroed, 0);
    }
    write(directory / "defaults", bytes);
}

void writeMapFile(const fs::path& path, const MapBytes& map) {
    write(path, map.bytes());
    write(path.string() + "_gzipped", gzipped(map.bytes()));
}

void writeMapFiles(const fs::path& directory) {
    for (const int mode : {0, 1, 2, 6, 12}) {
        MapBytes map;
        map.mode = mode;
        map.order = {3, 1, 2};
        map.start = {-3, 7, 1};
        writeMapFile(directory / ("mode_" + std::to_string(mode)), map);
    }
    MapBytes map;
    map.isBigEndian = true;
    map.extended.assign(80, 'x');
    writeMapFile(directory / "big_endian", map);
    map.angles = {80.0F, 110.0F, 120.0F};
    map.origin = {1.0F, -2.0F, 3.0F};
    writeMapFile(directory / "skew", map);
    map.tail.assign(40, 't');
    write(directory / "members",
          gzipped(map.bytes().substr(0, 1030)) + gzipped(map.bytes().substr(1030)) + std::string(50, '\0'));
    std::string lying = MapBytes().bytes();
    map.setInt(lying, 24, 800);
    write(directory / "no_extended_header", lying);
    write(directory / "zeros", MapBytes().header().replace(0, 232, std::string(232, '\0')));
}

std::string models(const std::string& atoms) {
    const std::string records = atoms.substr(0, atoms.find("END"));
    return "MODEL        1\n" + records + "ENDMDL\nMODEL        2\n" + records + "ENDMDL\nEND\n";
}

void writeModels(const fs::path& directory) {
    const std::vector<TestAtom> whole = makeModel({10.0, -20.0, 30.0});
    const std::vector<TestAtom> few(whole.begin() + 11 * residueAtoms, whole.begin() + 13 * residueAtoms);
    const std::string text = pdbText(few);
    write(directory / "two_chains", text);
    write(directory / "two_models", models(text));
    std::string ends;
    for (const char c : text) {
        ends += c == '\n' ? "\r\n" : std::string(1, c);
    }
    write(directory / "two_character_line_ends", ends);
    write(directory / "missing_residues",
          "REMARK 465   M RES C SSSEQI\nREMARK 465     MET A     1\nREMARK 465     LYS B    90\n" + text);
    write(directory / "kinds_of_atoms",
          "ATOM      1  CA AALA A   1       1.000   2.000   3.000  0.50 20.00      SEG1 C\n"
          "ATOM      2  CA BALA A   1       1.100   2.100   3.100  0.50 20.00      SEG1 C\n"
          "ATOM      3 HG11 VAL A   2       1.000   2.000   3.000  1.00 20.00           H\n"
          "HETATM    4  O   HOH A   3      -1.000  -2.000  -3.000  1.00 20.00           O\n"
          "HETATM99999 ZN    ZN Z9999      99.999  99.999  99.999  1.00 20.00          ZN\n"
          "TER\nATOM      6  P    DA B-12A  -1.5e+1    nan     inf\nTER\nATOM      7  C1'\nEND");
}

/// The same atoms as mmCIF, with what a parser reads besides.
std::string cifText(const std::vector<TestAtom>& atoms) {
    std::ostringstream text;
    text << "data_seed\n_entry.id seed\n_struct.title 'two chains'\n"
            "loop_\n_entity.id\n_entity.type\n1 polymer\n"
            "loop_\n_struct_asym.id\n_struct_asym.entity_id\nA 1\nB 1\n"
            "_pdbx_struct_assembly_gen.assembly_id 1\n_pdbx_struct_assembly_gen.oper_expression (1)(1)\n"
            "_pdbx_struct_assembly_gen.asym_id_list A,B\n_pdbx_struct_oper_list.id 1\n";
    for (const char* row : {"1", "2", "3"}) {
        for (const char* column : {"1", "2", "3"}) {
            text << "_pdbx_struct_oper_list.matrix[" << row << "][" << column << "] "
                 << (*row == *column ? 1 : 0) << '\n';
        }
        text << "_pdbx_struct_oper_list.vector[" << row << "] 5\n";
    }
    text << "loop_\n";
    for (const char* name :
         {"group_PDB", "id", "type_symbol", "label_atom_id", "label_alt_id", "label_comp_id", "label_asym_id",
          "label_entity_id", "label_seq_id", "pdbx_PDB_ins_code", "Cartn_x", "Cartn_y", "Cartn_z",
          "occupancy", "B_iso_or_equiv", "auth_seq_id", "auth_asym_id", "pdbx_PDB_model_num"}) {
        text << "_atom_site." << name << '\n';
    }
    int serial = 0;
    for (const TestAtom& atom : atoms) {
        text << "ATOM " << ++serial << ' ' << atom.element << ' ' << atom.name << " . " << atom.residue << ' '
             << atom.chain << " 1 " << atom.number << " ? " << atom.position[0] << ' ' << atom.position[1]
             << ' ' << atom.position[2] << " 1.00 20.00 " << atom.number << ' ' << atom.chain << " 1\n";
    }
    text << "loop_\n_atom_site_anisotrop.id\n";
    for (const char* element : {"1][1", "2][2", "3][3", "1][2", "1][3", "2][3"}) {
        text << "_atom_site_anisotrop.U[" << element << "]\n";
    }
    text << "1 0.1 0.2 0.3 0.01 0.02 0.03\n";
    return text.str();
}

void writeModelFiles(const fs::path& directory) {
    const std::vector<TestAtom> whole = makeModel({10.0, -20.0, 30.0});
    const std::vector<TestAtom> few(whole.begin() + 11 * residueAtoms, whole.begin() + 13 * residueAtoms);
    write(directory / "cif", cifText(few));
    write(directory / "gzipped_cif", gzipped(cifText(few)));
    write(directory / "gzipped_pdb", gzipped(pdbText(few)));
    write(directory / "statements",
          "HEADER    SEED                                    28-MAR-07   1ABC\n"
          "TITLE     ONE CHAIN\nAUTHOR    A.B.DOE,C.ROE\n"
          "REMARK   2 RESOLUTION.    3.00 ANGSTROMS.\n"
          "REMARK 350 BIOMOLECULE: 1\nREMARK 350 APPLY THE FOLLOWING TO CHAINS: A\n"
          "REMARK 350   BIOMT1   1  1.000000  0.000000  0.000000        0.00000\n"
          "REMARK 350   BIOMT2   1  0.000000  1.000000  0.000000        0.00000\n"
          "REMARK 350   BIOMT3   1  0.000000  0.000000  1.000000        5.00000\n"
          "DBREF  1ABC A    1     2  UNP    P12345   ABC_HUMAN        1      2\n"
          "SEQRES   1 A    2  CYS CYS\n"
          "HELIX    1   1 CYS A    1  CYS A    2  1                                   2\n"
          "SHEET    1   A 1 CYS A   1  CYS A   2  0\n"
          "SSBOND   1 CYS A    1    CYS A    2                          1555   1555  2.04\n"
          "LINK         SG  CYS A   1                 SG  CYS A   2     1555   1555  2.04\n"
          "CISPEP   1 CYS A    1    CYS A    2          0         0.00\n"
          "CRYST1   15.000   15.000   15.000  90.00  90.00  90.00 P 1           1\n"
          "ATOM      1  SG ACYS A   1       1.000   2.000   3.000  0.50 20.00           S\n"
          "ANISOU    1  SG ACYS A   1     1000   2000   3000     10     20     30       S\n"
          "ATOM  A0000  SG  CYS A   2       2.000   2.000   4.000  1.00 20.00           S1-\n"
          "TER\nCONECT    1    2\nMASTER        0\nEND\n");
}

std::string commandLine(const std::vector<std::string>& words) {
    std::string bytes;
    for (const std::string& word : words) {
        bytes += word + '\0';
    }
    return bytes;
}

void writeCommandLines(const fs::path& directory) {
    const std::vector<std::vector<std::string>> ends = {
        {},
        {"--nmodes", "4", "--maxrmsd", "1.5", "--cutoff", "12", "--stiffness", "2", "--multistep",
         "--resume"},
        {"--nthread", "2", "--sigma", "3.5", "--filtersigma", "-3", "--dangle", "12", "--nopadding"},
        {"--clustering", "--clusterThreshold", "4.5", "--nclusters", "7", "--nsolutions", "90"},
        {"--odir", "it's $(here); \"there\"\n-p"},
        {"--nthread 3", "--", "--sigma", "x"},
        {"--help"},
        {"-h"},
        {"--version"},
        {"-log"},
        {"--sigma", "1e400"},
        {"--dangle", "-inf"},
        {"--nsolutions", "-2147483648"},
        {"--nclusters", "2147483647"}};
    int number = 0;
    for (const std::vector<std::string>& end : ends) {
        std::vector<std::string> words = {"--ipdb", "a.pdb", "--iedm", "a.map"};
        words.insert(words.end(), end.begin(), end.end());
        write(directory / ("line_" + std::to_string(++number)), commandLine(words));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seeds DIRECTORY\n");
        return 1;
    }
    const fs::path directory = argv[1];
    writeMaps(directory / "map");
    writeMapFiles(directory / "mapfile");
    writeModels(directory / "pdb");
    writeModels(directory / "pqr");
    writeModels(directory / "modelfile");
    writeModelFiles(directory / "modelfile");
    writeCommandLines(directory / "options");
    return 0;
}
