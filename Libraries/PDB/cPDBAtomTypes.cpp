// SPDX-License-Identifier: GPL-3.0-or-later
#include <sstream>

#include "PDB/cPDBAtom.h"

std::map<std::string, int> cPDBAtom::mResType;
std::map<std::string, char> cPDBAtom::resCode;
std::map<std::string, int> cPDBAtom::mResName;
std::map<std::string, int> cPDBAtom::mName;
std::map<std::string, int> cPDBAtom::mNameTerm;

namespace {

/// A number and the names that have it, separated by blanks.
struct Row {
    int m_type;
    const char* m_names;
};

template <typename Rows>
void fill(std::map<std::string, int>& table, const Rows& rows) {
    table.clear();
    for (const Row& row : rows) {
        std::istringstream names(row.m_names);
        for (std::string name; names >> name;) {
            table[name] = row.m_type;
        }
    }
}

const Row residueTypes[] = {
    {1, "ALA"},
    {2, "ARG"},
    {3, "ASN"},
    {4, "ASP"},
    {5, "CYS"},
    {6, "GLU"},
    {7, "GLN"},
    {8, "GLY"},
    {9, "HIS HSE"},
    {10, "ILE"},
    {11, "LEU"},
    {12, "LYS"},
    {13, "MET"},
    {14, "PHE"},
    {15, "PRO"},
    {16, "SER"},
    {17, "THR"},
    {18, "TRP"},
    {19, "TYR"},
    {20, "VAL"},
    {21, "MSE"},
    {22, "ACE"}, // the amino acids and the cap end here
    {24, "HOH WAT TIP TIP4 TIP3P TIP4P SOL"},
    {25, "DA DC DG DT G C A U"},
    {26, "CA NA CL K MG ZN"},
};

// Names of residues and atoms joined with nothing between.
const Row itscoreTypes[] = {
    {0, "HOHO WATO TIPO SOLO H2OO TIPOH2"},
    {1, "ARGCZ"},
    {2, "ASPCG GLUCD"},
    {3, "ACEC"},
    {4, "ASNCG GLNCD"},
    {5,
     "HISCD2 HISCE1 HISCG PHECD1 PHECD2 PHECE1 PHECE2 PHECG PHECZ TRPCD1 TRPCD2 TRPCE2 TRPCE3 TRPCG TRPCH2 "
     "TRPCZ2 TRPCZ3 TYRCD1 TYRCD2 TYRCE1 TYRCE2 TYRCG TYRCZ"},
    {6, "ALACB ARGCB ARGCG ASNCB ASPCB GLNCB GLNCG GLUCB GLUCG HISCB ILECB ILECD1 ILECG1 ILECG2 LEUCB LEUCD1 "
        "LEUCD2 LEUCG LYSCB LYSCD LYSCG METCB MSECB PHECB PROCB PROCG SERCB THRCG2 TRPCB TYRCB VALCB VALCG1 "
        "VALCG2 ACECH3"},
    {8, "ARGCD CYSCB LYSCE METCE MSECE METCG MSECG PROCD THRCB"},
    {10, "ASNND2 GLNNE2"},
    {11, "HISND1 HISNE2 TRPNE1"},
    {12, "ARGNH1 ARGNH2"},
    {13, "ARGNE"},
    {14, "LYSNZ"},
    {15, "ACEO"},
    {16, "ASNOD1 GLNOE1"},
    {17, "SEROG THROG1 TYROH"},
    {18, "ASPOD1 ASPOD2 GLUOE1 GLUOE2"},
    {19, "CYSSG"},
    {20, "METSD MSESE"},
};
const Row itscoreBackbone[] = {{3, "C"}, {7, "CA"}, {9, "N"}, {15, "O"}};
const Row itscoreTerminal[] = {{2, "C"}, {7, "CA"}, {10, "N"}, {18, "O OXT OT2"}};

const Row version2Types[] = {
    {0, "HOHO WATO TIPO SOLO H2OO TIPOH2"},
    {1, "ARGCZ"},
    {2, "ASPCG"},
    {3, "GLUCD"},
    {4, "ACECH3"},
    {5, "ACEC"},
    {6, "ASNCG"},
    {7, "GLNCD"},
    {8, "HISCD2 HISCE1 HISCG"},
    {9, "PHECD1 PHECD2 PHECE1 PHECE2 PHECG PHECZ"},
    {10, "TRPCD1 TRPCD2 TRPCE2 TRPCE3 TRPCG TRPCH2 TRPCZ2 TRPCZ3"},
    {11, "TYRCD1 TYRCD2 TYRCE1 TYRCE2 TYRCG TYRCZ"},
    {12,
     "ALACB ARGCB ASNCB ASPCB GLNCB GLUCB HISCB ILECB LEUCB LYSCB METCB MSECB PHECB SERCB TRPCB TYRCB VALCB"},
    {13, "ARGCG GLNCG GLUCG ILECG1 ILECG2 LEUCG LYSCG THRCG2 VALCG1 VALCG2"},
    {14, "ILECD1 LEUCD1 LEUCD2 LYSCD"},
    {15, "PROCB PROCG"},
    {16, "PROCD"},
    {18, "GLYCA"},
    {19, "CYSCB THRCB"},
    {20, "METCG MSECG"},
    {21, "ARGCD"},
    {22, "LYSCE METCE MSECE"},
    {24, "ASNND2"},
    {25, "GLNNE2"},
    {27, "HISND1 HISNE2"},
    {28, "TRPNE1"},
    {29, "ARGNH1 ARGNH2"},
    {30, "ARGNE"},
    {31, "LYSNZ"},
    {32, "ACEO"},
    {33, "ASNOD1"},
    {34, "GLNOE1"},
    {35, "SEROG THROG1"},
    {36, "TYROH"},
    {37, "ASPOD1 ASPOD2"},
    {38, "GLUOE1 GLUOE2"},
    {40, "CYSSG"},
    {41, "METSD MSESE"},
};
const Row version2Backbone[] = {{5, "C"}, {17, "CA"}, {23, "N"}, {32, "O"}};
const Row version2Terminal[] = {{4, "C"}, {17, "CA"}, {26, "N"}, {39, "O OXT OT2"}};

} // namespace

void cPDBAtom::initMaps() {
    fill(mResType, residueTypes);
}

void cPDBAtom::initResCodes() {
    resCode = {{"ARG", 'R'}, {"HIS", 'H'}, {"HSE", 'H'}, {"LYS", 'K'}, {"ASP", 'D'}, {"GLU", 'E'},
               {"SER", 'S'}, {"THR", 'T'}, {"ASN", 'N'}, {"GLN", 'Q'}, {"CYS", 'C'}, {"SEC", 'U'},
               {"GLY", 'G'}, {"PRO", 'P'}, {"ALA", 'A'}, {"VAL", 'V'}, {"ILE", 'I'}, {"LEU", 'L'},
               {"MET", 'M'}, {"PHE", 'F'}, {"TYR", 'Y'}, {"TRP", 'W'}};
}

void cPDBAtom::initAtomTypesITScore() {
    fill(mResName, itscoreTypes);
    fill(mName, itscoreBackbone);
    fill(mNameTerm, itscoreTerminal);
}

void cPDBAtom::initAtomTypesVersion2() {
    fill(mResName, version2Types);
    fill(mName, version2Backbone);
    fill(mNameTerm, version2Terminal);
}
