// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "PDB/cClassicalParserPDB.h"
#include "PDB/cTrajectory.h"

namespace {

using Parser = cClassicalParserPDB;

/// A directory that goes with the test.
class ClassicalParserPDB : public ::testing::Test {
protected:
    ClassicalParserPDB() {
        std::string pattern = (std::filesystem::temp_directory_path() / "selvane_parser_XXXXXX").string();
        m_directory = mkdtemp(pattern.data());
    }
    ~ClassicalParserPDB() override { std::filesystem::remove_all(m_directory); }

    std::string write(const std::string& text, const std::string& name = "model.pdb") const {
        const std::string path = (m_directory / name).string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    /// Both passes.
    void read(const std::string& text, int mode = Parser::AT_TER, bool proteinOnly = false,
              const std::string& name = "model.pdb") {
        int nSegments = 0;
        m_parser.readFile(write(text, name), nSegments, m_nCounted, mode);
        m_atoms.assign(static_cast<std::size_t>(m_nCounted), cPDBAtom());
        m_segments.assign(static_cast<std::size_t>(nSegments), cPDBSegment());
        m_parser.parseFields(m_segments.data(), m_atoms.data(), proteinOnly);
        m_atoms.resize(static_cast<std::size_t>(m_parser.getAtomCount()));
        EXPECT_EQ(m_parser.getSegmentCount(), nSegments);
    }

    std::filesystem::path m_directory;
    Parser m_parser;
    int m_nCounted = 0;
    std::vector<cPDBAtom> m_atoms;
    std::vector<cPDBSegment> m_segments;
};

struct Fields {
    const char* m_record = "ATOM  ";
    const char* m_name = " CA ";
    char m_altLoc = ' ';
    const char* m_resName = "ALA";
    char m_chain = 'A';
    int m_resSeq = 1;
    const char* m_element = " C";
};

std::string line(const Fields& f) {
    char text[100];
    std::snprintf(text, sizeof text, "%s%5d %s%c%s %c%4d    %8.3f%8.3f%8.3f%6.2f%6.2f      %-4s%s\n",
                  f.m_record, 1, f.m_name, f.m_altLoc, f.m_resName, f.m_chain, f.m_resSeq, 1.0, 2.0, 3.0, 1.0,
                  20.0, "SEG", f.m_element);
    return text;
}

std::string atom(char chain, int resSeq) {
    Fields fields;
    fields.m_chain = chain;
    fields.m_resSeq = resSeq;
    return line(fields);
}

std::string named(const char* name, const char* resName, const char* element, const char* record = "ATOM  ") {
    Fields fields;
    fields.m_record = record;
    fields.m_name = name;
    fields.m_resName = resName;
    fields.m_element = element;
    return line(fields);
}

std::string alternative(char altLoc, int resSeq) {
    Fields fields;
    fields.m_altLoc = altLoc;
    fields.m_resSeq = resSeq;
    return line(fields);
}

int kindOf(const std::string& text) {
    Parser parser;
    return parser.readPDBLine(text.data(), 0, static_cast<long>(text.size()));
}

} // namespace

TEST_F(ClassicalParserPDB, LinesAreToldByTheirBeginning) {
    EXPECT_EQ(kindOf("REMARK 465 text"), 1);
    EXPECT_EQ(kindOf("ATOM  rest"), 2);
    EXPECT_EQ(kindOf("HETATM1234"), 3);
    EXPECT_EQ(kindOf("CRYST1 text"), 5);
    EXPECT_EQ(kindOf("ATOMS text"), 5);
    EXPECT_EQ(kindOf("\nATOM  1"), 5);
    EXPECT_EQ(kindOf("END   "), 6);
    EXPECT_EQ(kindOf("TER   "), 10);
    EXPECT_EQ(kindOf("ENDMDL"), 14);
    EXPECT_EQ(kindOf("END\n\n"), 7); // five characters are no line
    EXPECT_EQ(kindOf(""), 7);
}

TEST_F(ClassicalParserPDB, MissingResidueRowsFollowTheirHeading) {
    const std::string text =
        "REMARK 465 MISSING RESIDUES\nREMARK 465   M RES C SSSEQI\nREMARK 465     MET A     7\n";
    Parser parser;
    const auto size = static_cast<long>(text.size());
    EXPECT_EQ(parser.readPDBLine(text.data(), 0, size), 1);
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(parser.readPDBLine(text.data(), 28, size), 1);
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Missing Residues:\n");
    EXPECT_EQ(parser.readPDBLine(text.data(), 56, size), 13);
    parser.readMissResRecordFields(text.data() + 56);
    ASSERT_EQ(parser.getSequences().count('A'), 1U);
    EXPECT_EQ(parser.getSequences().at('A').m_missing, std::list<int>{7});
}

TEST_F(ClassicalParserPDB, QuietFormDeliversTheFieldsOfALine) {
    Parser parser;
    int resSeq = 0;
    char chain = 0;
    char resName[4] = "?";
    char atomName[5] = "?";
    const std::string heading = "REMARK 465   M RES C SSSEQI\n";
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(parser.readPDBLine(heading.data(), 0, 28, resSeq, chain, resName, atomName), 1);
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");

    const std::string hetatm = named(" O  ", "LIG", " O", "HETATM");
    EXPECT_EQ(parser.readPDBLine(hetatm.data(), 0, static_cast<long>(hetatm.size()), resSeq, chain, resName,
                                 atomName),
              3);
    EXPECT_EQ(resSeq, 1);
    EXPECT_EQ(chain, 'A');
    EXPECT_STREQ(resName, "?");
    EXPECT_STREQ(atomName, "?");
    const std::string text = atom('B', 17);
    EXPECT_EQ(
        parser.readPDBLine(text.data(), 0, static_cast<long>(text.size()), resSeq, chain, resName, atomName),
        2);
    EXPECT_EQ(resSeq, 17);
    EXPECT_EQ(chain, 'B');
    EXPECT_STREQ(resName, "ALA");
    EXPECT_STREQ(atomName, "CA");
}

TEST_F(ClassicalParserPDB, FieldsStandAtTheirColumns) {
    read("HETATM12345 HD21ALYS B-123C   -111.111 222.222-333.333  0.50 99.99      AB  ZN\n");
    ASSERT_EQ(m_atoms.size(), 1U);
    const cPDBAtom& a = m_atoms[0];
    EXPECT_EQ(a.m_serial, 12345);
    EXPECT_STREQ(a.m_name, "HD21");
    EXPECT_STREQ(a.m_altLoc, "A");
    EXPECT_STREQ(a.m_resName, "LYS");
    EXPECT_STREQ(a.m_chain, "B");
    EXPECT_EQ(a.m_resSeq, -123);
    EXPECT_STREQ(a.m_iCode, "C");
    EXPECT_EQ(a.m_position, cVector3(-111.111F, 222.222F, -333.333F));
    EXPECT_EQ(a.m_occupancy, 0.5F);
    EXPECT_EQ(a.m_tempFactor, 99.99F);
    EXPECT_STREQ(a.m_segId, "AB");
    EXPECT_STREQ(a.m_element, "Zn");
    EXPECT_EQ(a.m_mass, 65.409F);
    EXPECT_EQ(a.m_radius, 1.39F);
    EXPECT_EQ(a.m_resType, 12);
}

TEST_F(ClassicalParserPDB, CoordinatesCarryFloatPrecision) {
    // Seen to fail with coordinates kept in double precision.
    read("ATOM      1  CA  ALA A   1    1234.567   0.100   0.200\n");
    ASSERT_EQ(m_atoms.size(), 1U);
    EXPECT_EQ(m_atoms[0].m_position.x, 1234.5670166015625);
    cVector3 coordinates;
    m_parser.readPDBCoords("ATOM      1  CA  ALA A   1    1234.567   0.100   0.200", coordinates);
    EXPECT_EQ(coordinates, m_atoms[0].m_position);
}

TEST_F(ClassicalParserPDB, ElementComesFromItsColumnsOrTheName) {
    const auto elementOf = [&](const char* name, const char* element) {
        read(named(name, "ALA", element));
        return m_atoms.empty() ? std::string("dropped") : std::string(m_atoms[0].m_element);
    };
    EXPECT_EQ(elementOf(" CA ", " C"), "C");
    EXPECT_EQ(elementOf(" CA ", "fe"), "Fe");
    EXPECT_EQ(elementOf(" CA ", "C1"), "C");
    EXPECT_EQ(elementOf(" CA ", " n"), "N");
    EXPECT_EQ(elementOf(" CA ", "  "), "Ca"); // Deliberate: calcium
    EXPECT_EQ(elementOf(" CB ", ""), "Cb");
    EXPECT_EQ(elementOf(" N1 ", ""), "N");
    EXPECT_EQ(elementOf("2ne3", "12"), "Ne");
    EXPECT_EQ(elementOf(" 12 ", ""), "");
    EXPECT_EQ(elementOf("1HB ", ""), "dropped"); // hydrogen
}

TEST_F(ClassicalParserPDB, WithoutElementColumnsCarbonBetaHasUnitMass) {
    // Seen to fail with the first letter of the name alone for the symbol.
    read(named(" CB ", "ALA", "") + named(" CA ", "ALA", "") + named(" C  ", "ALA", ""));
    ASSERT_EQ(m_atoms.size(), 3U);
    EXPECT_EQ(m_atoms[0].m_mass, 1.0F);
    EXPECT_EQ(m_atoms[0].m_radius, 1.0F);
    EXPECT_EQ(m_atoms[1].m_mass, 40.078F);
    EXPECT_EQ(m_atoms[2].m_mass, 12.0107F);
}

TEST_F(ClassicalParserPDB, FirstModelOnlyIsRead) {
    read("MODEL        1\n" + atom('A', 1) + atom('A', 2) + "ENDMDL\nMODEL        2\n" + atom('A', 3) +
         "ENDMDL\nEND\n");
    EXPECT_EQ(m_atoms.size(), 2U);
    EXPECT_TRUE(m_parser.hasMoreModels());
    read(atom('A', 1) + "END\n");
    EXPECT_FALSE(m_parser.hasMoreModels());
    read(atom('A', 1) + "END   \nREMARK\n" + named(" O  ", "HOH", " O", "HETATM"));
    EXPECT_EQ(m_atoms.size(), 1U);
    EXPECT_TRUE(m_parser.hasMoreModels());
}

TEST_F(ClassicalParserPDB, SegmentsFollowTheMode) {
    // Seen to fail with the new segment's own first residue.
    const std::string text = atom('A', 4) + atom('B', 5) + atom('B', 6) + atom('C', 7);
    read(text, Parser::AT_TER);
    ASSERT_EQ(m_segments.size(), 1U);
    EXPECT_EQ(m_segments[0].m_nAtoms, 4);
    EXPECT_EQ(m_segments[0].m_firstResidue, 4);
    EXPECT_EQ(m_segments[0].m_lastResidue, 7);
    read(text, Parser::AT_CHAIN_AND_TER);
    ASSERT_EQ(m_segments.size(), 3U);
    EXPECT_EQ(m_segments[1].m_firstAtom, 1);
    EXPECT_EQ(m_segments[1].m_nAtoms, 2);
    EXPECT_EQ(m_segments[1].m_lastResidue, 6);
    EXPECT_EQ(m_segments[1].m_firstResidue, 4); // Deliberate: handed on from the segment before
    EXPECT_EQ(m_atoms[3].m_segment, 2);
}

TEST_F(ClassicalParserPDB, TerClosesOnceAndEndmdlOnlyInItsMode) {
    const std::string text = atom('A', 1) + "TER   \nTER   \n" + atom('A', 9) + "TER   \nENDMDL\n";
    read(text, Parser::AT_TER);
    ASSERT_EQ(m_segments.size(), 2U);
    EXPECT_EQ(m_segments[1].m_firstResidue, 9);
    read(text, Parser::AT_ENDMDL);
    ASSERT_EQ(m_segments.size(), 1U);
    EXPECT_EQ(m_segments[0].m_nAtoms, 2);
}

TEST_F(ClassicalParserPDB, ResiduesOfASegmentCarryTheirCodes) {
    read(named(" N  ", "GLY", " N") + named(" CA ", "ALA", " C") + atom('A', 2));
    ASSERT_EQ(m_segments.size(), 1U);
    EXPECT_EQ(m_segments[0].m_residues, (std::map<int, char>{{1, 'G'}, {2, 'A'}})); // the first atom decides
    ::testing::internal::CaptureStdout();
    m_segments[0].print();
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "1 G\n2 A\n");
}

TEST_F(ClassicalParserPDB, AlternateLocationsAboveADrop) {
    // Seen to fail with the occupancy asked too, and with rejected atoms passed over in the segment.
    read(alternative('A', 1) + alternative('B', 1) + alternative('1', 2) + alternative(' ', 3) +
         alternative('B', 4) + alternative('C', 4) + alternative('a', 5));
    ASSERT_EQ(m_atoms.size(), 3U); // residue 4, having only later letters, vanishes
    EXPECT_EQ(m_atoms[0].m_altLoc[0], 'A');
    EXPECT_EQ(m_atoms[1].m_resSeq, 2);
    EXPECT_EQ(m_atoms[2].m_resSeq, 3);
    EXPECT_EQ(m_segments[0].m_residues.size(), 3U);
    EXPECT_EQ(m_segments[0].m_lastResidue, 5); // a rejected atom still counts here
    EXPECT_EQ(m_nCounted, 7);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(m_atoms[static_cast<std::size_t>(i)].m_index, i);
    }
}

TEST_F(ClassicalParserPDB, WatersAreCountedWithoutTheirHydrogens) {
    read(named(" O  ", "HOH", " O", "HETATM") + named(" H1 ", "HOH", " H", "HETATM") +
         named(" O  ", "WAT", " O"));
    EXPECT_TRUE(m_atoms.empty());
    EXPECT_EQ(m_parser.getWaterCount(), 2);
}

TEST_F(ClassicalParserPDB, LigandStaysUnlessProteinIsAskedFor) {
    const std::string text = named(" C1 ", "LIG", " C", "HETATM") + named(" P  ", " DA", " P") + atom('A', 1);
    read(text);
    ASSERT_EQ(m_atoms.size(), 3U);
    EXPECT_EQ(m_atoms[0].m_resType, 0);
    EXPECT_EQ(m_atoms[1].m_resType, 25);
    read(text, Parser::AT_TER, true);
    EXPECT_EQ(m_atoms.size(), 2U);
}

TEST_F(ClassicalParserPDB, MercuryIsDroppedAsHydrogen) {
    // Seen to fail with the whole symbol compared.
    read(named("HG  ", " HG", "HG", "HETATM") + atom('A', 1));
    EXPECT_EQ(m_atoms.size(), 1U);
}

TEST_F(ClassicalParserPDB, PqrColumnsGoToChargeAndRadius) {
    read(atom('A', 1), Parser::AT_TER, false, "model.PQR");
    EXPECT_EQ(m_parser.getFileType(), 1);
    ASSERT_EQ(m_atoms.size(), 1U);
    EXPECT_EQ(m_atoms[0].m_charge, 1.0F);
    EXPECT_EQ(m_atoms[0].m_pqrRadius, 20.0F);
    EXPECT_EQ(m_atoms[0].m_occupancy, 0.0F);
    EXPECT_EQ(m_atoms[0].m_tempFactor, 0.0F);
}

TEST_F(ClassicalParserPDB, FileTypeComesFromTheExtension) {
    const auto typeOf = [&](const char* name) {
        read(atom('A', 1), Parser::AT_TER, false, name);
        return m_parser.getFileType();
    };
    EXPECT_EQ(typeOf("model.Pdb"), 0);
    EXPECT_EQ(typeOf("model.pqr"), 1);
    EXPECT_EQ(typeOf("model.ent"), 3);
    EXPECT_EQ(typeOf("pdb"), 3);
    EXPECT_EQ(m_atoms[0].m_occupancy, 1.0F);
}

TEST_F(ClassicalParserPDB, LineOf54ColumnsHasNoOccupancy) {
    read(atom('A', 1).substr(0, 54) + "\n" + atom('A', 2).substr(0, 54) + "\n");
    ASSERT_EQ(m_atoms.size(), 2U);
    EXPECT_EQ(m_atoms[0].m_occupancy, 0.0F);
    EXPECT_EQ(m_atoms[0].m_tempFactor, 0.0F);
    EXPECT_STREQ(m_atoms[0].m_segId, "");
    EXPECT_EQ(m_atoms[0].m_position, cVector3(1.0, 2.0, 3.0));
}

TEST_F(ClassicalParserPDB, ShortLineReadsIntoTheNext) {
    // Seen to fail with the fields cut at the end of the line.
    read("ATOM      1  CA  ALA A   1       1.000   2.000\n      7.5\n");
    ASSERT_EQ(m_atoms.size(), 1U);
    EXPECT_EQ(m_atoms[0].m_position,
              cVector3(1.0, 2.0, 7.0)); // eight characters: the line end, 6 blanks, '7'
}

TEST_F(ClassicalParserPDB, NoFieldReachesBeyondTheEndOfTheFile) {
    for (const std::size_t length : {6U, 8U, 14U, 19U, 22U, 24U, 33U, 50U, 57U, 63U, 74U, 77U}) {
        read(atom('A', 1).substr(0, length));
        ASSERT_EQ(m_atoms.size(), 1U) << length;
        EXPECT_EQ(m_atoms[0].m_occupancy, length > 56 ? 1.0F : 0.0F) << length;
    }
    read("ATOM  ");
    EXPECT_STREQ(m_atoms[0].m_resName, "   ");
    EXPECT_STREQ(m_atoms[0].m_chain, " ");
    EXPECT_STREQ(m_atoms[0].m_name, "");
}

TEST_F(ClassicalParserPDB, RecordFieldsReadALineOfTheCaller) {
    cPDBAtom a;
    a.m_index = 5;
    const std::string text = "ATOM      9  N   GLY C  12       4.000   5.000   6.000";
    EXPECT_EQ(m_parser.readPDBRecordFields(text.c_str(), &a, static_cast<int>(text.size())), 1);
    EXPECT_EQ(a.m_serial, 9);
    EXPECT_EQ(a.m_resSeq, 12);
    EXPECT_EQ(a.m_position, cVector3(4.0, 5.0, 6.0));
    EXPECT_STREQ(a.m_element, "N");
    EXPECT_EQ(a.m_index, 5);
}

TEST_F(ClassicalParserPDB, CarriageReturnsAreNoLetters) {
    std::string text = atom('A', 1) + atom('A', 2);
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
        text.insert(at, "\r");
    }
    read(text);
    ASSERT_EQ(m_atoms.size(), 2U);
    EXPECT_STREQ(m_atoms[1].m_element, "C");
}

TEST_F(ClassicalParserPDB, SerialNumbersParseAsFarAsTheyAreDigits) {
    std::string stars = atom('A', 1);
    stars.replace(6, 5, "*****");
    std::string hexadecimal = atom('A', 2);
    hexadecimal.replace(6, 5, "186a0");
    read(stars + hexadecimal);
    EXPECT_EQ(m_atoms[0].m_serial, 0);
    EXPECT_EQ(m_atoms[1].m_serial, 186);
}

TEST_F(ClassicalParserPDB, FileWithoutAtomsIsEmpty) {
    for (const char* text : {"", "\n", "HEADER\nEND\n", "TER   \nENDMDL\n"}) {
        read(text);
        EXPECT_TRUE(m_atoms.empty());
        EXPECT_TRUE(m_segments.empty());
    }
}

TEST_F(ClassicalParserPDB, SequencesReachOverMissingResidues) {
    const std::string missing =
        "REMARK 465   M RES C SSSEQI\nREMARK 465     MET A     1\nREMARK 465     GLY A    30\n";
    ::testing::internal::CaptureStdout();
    read(missing + atom('A', 3) + atom('A', 20) + "TER   \n" + atom('B', 7) + atom('B', 8) + "END   \n");
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Missing Residues:\nMissing Residues:\n"); // once a pass
    const cSequence& a = m_parser.getSequences().at('A');
    EXPECT_EQ(a.m_missing, (std::list<int>{1, 30}));
    EXPECT_EQ(a.m_firstResidue, 1);
    EXPECT_EQ(a.m_lastResidue, 30);
    EXPECT_EQ(a.m_offset, 0);
    EXPECT_FALSE(a.m_firstIsAtom);
    EXPECT_FALSE(a.m_lastIsAtom);
    const cSequence& b = m_parser.getSequences().at('B');
    EXPECT_EQ(b.m_firstResidue, 7);
    EXPECT_EQ(b.m_lastResidue, 8);
    EXPECT_EQ(b.m_offset, -6);
    EXPECT_TRUE(b.m_firstIsAtom);
    EXPECT_TRUE(b.m_lastIsAtom);
}

TEST_F(ClassicalParserPDB, TrimmingCutsBothEnds) {
    char field[6] = " ab c";
    EXPECT_EQ(Parser::deleteSpacesInAString(field, 5), 4);
    EXPECT_STREQ(field, "ab c");
    char leading[6] = "  a  ";
    EXPECT_EQ(Parser::deleteSpacesInAString2(leading, 5), 2);
    EXPECT_STREQ(leading, "a");
    char blank[4] = "   ";
    EXPECT_EQ(Parser::deleteSpacesInAString(blank, 3), 0);
    EXPECT_STREQ(blank, "");
}

using ClassicalParserPDBDeathTest = ClassicalParserPDB;

TEST_F(ClassicalParserPDBDeathTest, UnreadableFilesEndTheProcess) {
    const auto readPath = [this](const std::string& path) {
        dup2(STDERR_FILENO, STDOUT_FILENO); // the fixed text goes to standard output
        int nSegments = 0;
        int nAtoms = 0;
        m_parser.readFile(path, nSegments, nAtoms, Parser::AT_TER);
    };
    const std::string missing = (m_directory / "none.pdb").string();
    EXPECT_EXIT(readPath(missing), ::testing::ExitedWithCode(1), "Error: could not open pdb file .*none.pdb");
    EXPECT_EXIT(readPath(m_directory.string()), ::testing::ExitedWithCode(1), "not a regular file");
    const std::string pipe = (m_directory / "pipe.pdb").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EXIT(readPath(pipe), ::testing::ExitedWithCode(1), "Error: could not open pdb file .*pipe.pdb");
}

TEST_F(ClassicalParserPDB, OtherFormatsAreNamed) {
    const auto warningFor = [&](const std::string& text) {
        ::testing::internal::CaptureStderr();
        read(text);
        return ::testing::internal::GetCapturedStderr();
    };
    EXPECT_NE(warningFor("\x1f\x8b\x08 compressed").find("gzip -dc"), std::string::npos);
    EXPECT_NE(warningFor("data_1ABC\n#\n").find("mmCIF"), std::string::npos);
    EXPECT_NE(warningFor("# comment\nloop_\n_atom_site.id\n").find("mmCIF"), std::string::npos);
    EXPECT_EQ(warningFor("HEADER    data_ _atom_site.id\n" + atom('A', 1)), "");
    EXPECT_NE(warningFor("\xEF\xBB\xBF" + atom('A', 1)).find("byte-order mark"), std::string::npos);
}

TEST_F(ClassicalParserPDB, ContentIsToldByTheFirstLineThatTells) {
    using Content = Parser::Content;
    const std::string record = atom('A', 1);
    EXPECT_EQ(Parser::contentOf(""), Content::UNKNOWN);
    EXPECT_EQ(Parser::contentOf("HEADER    data_ loop_ _atom_site.id\nREMARK\n"), Content::UNKNOWN);
    EXPECT_EQ(Parser::contentOf("HEADER\n" + record), Content::ATOM_RECORDS);
    EXPECT_EQ(Parser::contentOf(record + "data_behind\n"), Content::ATOM_RECORDS);
    for (const std::string start : {"data_1ABC", "DATA_1abc", "loop_", "Loop_", "_atom_site.id"}) {
        EXPECT_EQ(Parser::contentOf(start), Content::MMCIF) << start;
        EXPECT_EQ(Parser::contentOf("# comment\n" + start + "\n" + record), Content::MMCIF) << start;
        EXPECT_EQ(Parser::contentOf("\xEF\xBB\xBF" + start + "\n"), Content::MMCIF) << start;
        EXPECT_EQ(Parser::contentOf(" " + start + "\n"), Content::UNKNOWN) << start;
    }
    EXPECT_EQ(Parser::contentOf("ATOM 1 N N . ALA A 1 1 ? 11.1 12.2 13.3 1.00 20.0\nloop_\n"), Content::MMCIF)
        << "no numbers in the columns";
}

TEST_F(ClassicalParserPDB, NoAtomsAreReadFromAnMmcifFile) {
    ::testing::internal::CaptureStderr();
    read("data_1ABC\nloop_\n_atom_site.id\n" + atom('A', 1));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("mmCIF"), std::string::npos);
    EXPECT_EQ(m_parser.getAtomCount(), 0);
}

TEST_F(ClassicalParserPDB, CoordinatesThatAreNoNumbersAreToldOnce) {
    const auto warningFor = [&](const std::string& fields) {
        ::testing::internal::CaptureStderr();
        read("ATOM      1  CA  ALA A   1       1.000   2.000   3.000\n"
             "ATOM      7  CA  ALA A   2    " +
             fields + "\nATOM      8  CA  ALA A   3    " + fields + "\n");
        return ::testing::internal::GetCapturedStderr();
    };
    for (const char* numbers :
         {"   1.000   2.000   3.000", "1.0     -2      3e1     ", "     nan     inf       0"}) {
        EXPECT_EQ(warningFor(numbers), "") << numbers;
    }
    for (const char* odd : {"                        ", "   1.000     two   3.000", "   1.000   2.000",
                            "    1.000   2.000   3.000", "\t1.000\t2.000\t3.000"}) {
        const std::string warning = warningFor(odd);
        EXPECT_NE(warning.find("the coordinates of 2 atom lines, the first with serial number 7,"),
                  std::string::npos)
            << odd << warning;
        EXPECT_EQ(std::count(warning.begin(), warning.end(), '\n'), 1);
    }
}

namespace {

std::string atomAt(double x, const char* name = " CA ") {
    char text[100];
    std::snprintf(text, sizeof text, "ATOM      1 %s ALA A   1    %8.3f%8.3f%8.3f  1.00 20.00           C\n",
                  name, x, 2.0, 3.0);
    return text;
}

/// A model of two atoms at x and x + 10.
std::string model(int number, double x) {
    return "MODEL " + std::to_string(number) + "\n" + atomAt(x) + "TER\n" + atomAt(x + 10.0) + "ENDMDL\n";
}

/// All models of a text; what each call returned.
std::vector<int> readModels(const std::string& text, cTrajectory& trajectory) {
    Parser parser;
    long position = 0;
    std::vector<int> returned;
    do {
        returned.push_back(parser.parseFields(text.c_str(), trajectory, position, false));
    } while (returned.back() == 1);
    EXPECT_LE(position, static_cast<long>(text.size()));
    return returned;
}

std::vector<double> firstCoordinates(const cTrajectory& trajectory) {
    std::vector<double> x;
    for (std::size_t f = 0; f < trajectory.getFrameCount(); ++f) {
        x.push_back(trajectory.getFrame(f)[0][0]);
    }
    return x;
}

} // namespace

TEST(ParserTrajectory, EachCallReadsOneModel) {
    const std::string text = "REMARK a title\n" + model(1, 1.5) + model(2, 2.5) + model(3, 3.5) + "END\n";
    cTrajectory trajectory;
    EXPECT_EQ(readModels(text, trajectory), (std::vector<int>{1, 1, 0}));
    EXPECT_EQ(firstCoordinates(trajectory), (std::vector<double>{1.5, 2.5, 3.5}));
    EXPECT_EQ(trajectory.getFrame(2), (cTrajectory::Frame{{3.5, 2, 3}, {13.5, 2, 3}}));
}

TEST(ParserTrajectory, PositionStandsAtTheNextModelsFirstAtomOrWhereNoLineIsLeft) {
    const std::string text = model(1, 1.5) + model(2, 2.5) + "END\n";
    Parser parser;
    cTrajectory trajectory;
    long position = 0;
    EXPECT_EQ(parser.parseFields(text.c_str(), trajectory, position, false), 1);
    EXPECT_EQ(position, static_cast<long>(text.find("ATOM", text.find("MODEL 2"))));
    EXPECT_EQ(parser.parseFields(text.c_str(), trajectory, position, false), 0);
    EXPECT_EQ(text.substr(static_cast<std::size_t>(position)), "END\n"); // too short to be a line
    EXPECT_EQ(parser.parseFields(text.c_str(), trajectory, position, false), 0);
    EXPECT_EQ(trajectory.getFrameCount(), 2U);
}

TEST(ParserTrajectory, AtomsAreThoseOfTheFirstModelAsReadFromAFile) {
    cTrajectory trajectory;
    readModels(model(1, 1.5) + model(2, 2.5), trajectory);
    const std::vector<cPDBAtom>& atoms = trajectory.getAtoms();
    ASSERT_EQ(atoms.size(), 2U);
    EXPECT_EQ(atoms[0].m_position.x, 1.5);
    EXPECT_EQ(atoms[1].m_index, 1);
    EXPECT_EQ(atoms[0].m_segment, 0);
    EXPECT_EQ(atoms[1].m_segment, 1);
    EXPECT_EQ(atoms[1].m_resType, 1);
    EXPECT_EQ(atoms[1].m_mass, 12.0107F);
    EXPECT_EQ(atoms[1].m_radius, 1.7F);
    EXPECT_EQ(atoms[1].m_tempFactor, 20.0F);
}

TEST_F(ClassicalParserPDB, FirstModelOfATrajectoryIsTheModelOfTheFile) {
    const std::string text = model(1, 1.5) + named(" H  ", "ALA", " H") + model(2, 2.5);
    read(text);
    cTrajectory trajectory;
    long position = 0;
    EXPECT_EQ(m_parser.parseFields(text.c_str(), trajectory, position, false), 1);
    ASSERT_EQ(trajectory.getAtoms().size(), m_atoms.size());
    for (std::size_t i = 0; i < m_atoms.size(); ++i) {
        EXPECT_EQ(trajectory.getAtoms()[i].m_position, m_atoms[i].m_position);
        EXPECT_EQ(trajectory.getAtoms()[i].m_segment, m_atoms[i].m_segment);
        EXPECT_EQ(trajectory.getAtoms()[i].m_index, m_atoms[i].m_index);
    }
    EXPECT_EQ(m_parser.getAtomCount(), 2); // of the file, not touched
}

TEST_F(ClassicalParserPDB, WrittenFramesReadBack) {
    cPDBAtom::initMaps();
    std::vector<cPDBAtom> atoms(3);
    for (std::size_t i = 0; i < 3; ++i) {
        cPDBAtom& a = atoms[i];
        a.m_serial = static_cast<int>(i) + 1;
        std::strcpy(a.m_name, "CA");
        std::strcpy(a.m_resName, "GLY");
        std::strcpy(a.m_element, "C");
        a.m_chain[0] = 'A';
        a.m_altLoc[0] = a.m_iCode[0] = ' ';
        a.m_resSeq = static_cast<int>(i) + 1;
    }
    const std::string path = (m_directory / "frames.pdb").string();
    FILE* file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    for (int f = 0; f < 4; ++f) {
        std::fprintf(file, "MODEL     %4d\n", f + 1);
        for (std::size_t i = 0; i < 3; ++i) {
            // quarters are exact in three decimals and in single precision
            atoms[i].m_position = cVector3(0.25 * f, -10.0 * static_cast<double>(i), 0.5);
            atoms[i].toFile(file);
        }
        std::fputs("ENDMDL\n", file);
    }
    std::fclose(file);
    std::ifstream in(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};

    cTrajectory trajectory;
    EXPECT_EQ(readModels(text, trajectory).size(), 4U);
    ASSERT_EQ(trajectory.getFrameCount(), 4U);
    for (std::size_t f = 0; f < 4; ++f) {
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(
                trajectory.getFrame(f)[i],
                (std::array<double, 3>{0.25 * static_cast<double>(f), -10.0 * static_cast<double>(i), 0.5}));
        }
    }
}

TEST(ParserTrajectory, AModelOfAnotherNumberOfAtomsIsRefusedAndLeavesThePosition) {
    const std::string text = model(1, 1.5) + "MODEL 2\n" + atomAt(2.5) + "ENDMDL\n";
    Parser parser;
    cTrajectory trajectory;
    long position = 0;
    EXPECT_EQ(parser.parseFields(text.c_str(), trajectory, position, false), 1);
    const long before = position;
    try {
        parser.parseFields(text.c_str(), trajectory, position, false);
        FAIL() << "no exception";
    } catch (const std::length_error& e) {
        EXPECT_STREQ(e.what(), "cTrajectory: frame 1 has 1 atoms, but the first frame has 2");
    }
    EXPECT_EQ(position, before);
    EXPECT_EQ(trajectory.getFrameCount(), 1U);
}

TEST(ParserTrajectory, WithoutModelRecordsOneModelGoesToTheEnd) {
    cTrajectory trajectory;
    EXPECT_EQ(readModels(atomAt(1.5) + atomAt(2.5), trajectory), std::vector<int>{0});
    EXPECT_EQ(trajectory.getAtomCount(), 2U);
    EXPECT_EQ(trajectory.getFrameCount(), 1U);
}

// As in a file, MODEL begins nothing: only ENDMDL and END tell models apart.
TEST(ParserTrajectory, WithoutEndmdlModelsRunTogether) {
    cTrajectory trajectory;
    EXPECT_EQ(readModels("MODEL 1\n" + atomAt(1.5) + "MODEL 2\n" + atomAt(2.5), trajectory),
              std::vector<int>{0});
    EXPECT_EQ(trajectory.getAtomCount(), 2U);
}

TEST(ParserTrajectory, EndEndsAModelToo) {
    cTrajectory trajectory;
    EXPECT_EQ(readModels(atomAt(1.5) + "ENDMDL\nEND   \n" + atomAt(2.5) + "END   \nEND   \n", trajectory),
              (std::vector<int>{1, 0}));
    EXPECT_EQ(firstCoordinates(trajectory), (std::vector<double>{1.5, 2.5}));
}

TEST(ParserTrajectory, AModelWithoutAtomLinesAppendsNothing) {
    cTrajectory trajectory;
    EXPECT_EQ(readModels("", trajectory), std::vector<int>{0});
    EXPECT_EQ(readModels("\n\n", trajectory), std::vector<int>{0});
    EXPECT_EQ(readModels("REMARK nothing\nENDMDL\n", trajectory), std::vector<int>{0});
    EXPECT_EQ(trajectory.getFrameCount(), 0U);
    EXPECT_EQ(readModels("ENDMDL\n" + model(1, 1.5), trajectory), (std::vector<int>{1, 0}));
    EXPECT_EQ(trajectory.getFrameCount(), 1U);
}

TEST(ParserTrajectory, LineEndsOfTwoCharactersChangeNothing) {
    const std::string text = model(1, 1.5) + model(2, 2.5) + "END\n";
    std::string twoCharacters;
    for (const char c : text) {
        twoCharacters += c == '\n' ? "\r\n" : std::string(1, c);
    }
    cTrajectory plain;
    cTrajectory trajectory;
    EXPECT_EQ(readModels(twoCharacters, trajectory), readModels(text, plain));
    ASSERT_EQ(trajectory.getFrameCount(), 2U);
    EXPECT_EQ(trajectory.getFrame(1), plain.getFrame(1));
    EXPECT_EQ(trajectory.getAtoms()[1].m_mass, plain.getAtoms()[1].m_mass);
    EXPECT_STREQ(trajectory.getAtoms()[1].m_element, "C");
}

TEST(ParserTrajectory, ATextMayEndWithinALine) {
    std::string text = model(1, 1.5) + atomAt(2.5) + atomAt(12.5);
    text.resize(text.size() - 27); // behind the coordinates of the last atom
    cTrajectory trajectory;
    EXPECT_EQ(readModels(text, trajectory), (std::vector<int>{1, 0}));
    EXPECT_EQ(trajectory.getFrame(1), (cTrajectory::Frame{{2.5, 2, 3}, {12.5, 2, 3}}));
}

TEST(ParserTrajectory, WatersHydrogensAndLigandsAreLeftOutAsInAFile) {
    const std::string text = atomAt(1.5) + named(" O  ", "HOH", " O") + named(" H  ", "ALA", " H") +
                             alternative('B', 1) + named(" C1 ", "LIG", " C", "HETATM") + "ENDMDL\n";
    Parser parser;
    cTrajectory all;
    cTrajectory protein;
    long position = 0;
    parser.parseFields(text.c_str(), all, position, false);
    EXPECT_EQ(all.getAtomCount(), 2U);
    EXPECT_EQ(parser.getWaterCount(), 0); // counted of files alone
    position = 0;
    parser.parseFields(text.c_str(), protein, position, true);
    EXPECT_EQ(protein.getAtomCount(), 1U);
}

TEST(ParserTrajectory, AModelOfWhichNoAtomIsKeptIsRefused) {
    cTrajectory trajectory;
    EXPECT_THROW(readModels(named(" O  ", "HOH", " O"), trajectory), std::invalid_argument);
    readModels(model(1, 1.5), trajectory);
    EXPECT_THROW(readModels(named(" O  ", "HOH", " O"), trajectory), std::length_error);
}

TEST(ParserTrajectory, ANegativePositionIsRefused) {
    Parser parser;
    cTrajectory trajectory;
    long position = -1;
    EXPECT_THROW(parser.parseFields("", trajectory, position, false), std::invalid_argument);
}
