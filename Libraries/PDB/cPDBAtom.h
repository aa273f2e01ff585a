// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CPDBATOM_H
#define SELVANE_PDB_CPDBATOM_H

#include <cstdio>
#include <iosfwd>
#include <map>
#include <string>

#include "Math/cVector3.h"

/// The record of one atom: what the reader fills, the normal modes move and the output writes.
/// Lengths in ångström, masses in dalton. The text fields are zero-terminated.
class cPDBAtom {
public:
    struct cList;         ///< one record of a neighbour list, defined in PDB/NeighbourList.h
    class cNeighbourList; ///< a vector of those, defined in PDB/NeighbourList.h

    cPDBAtom() = default;
    /// Copies all members of *other. Deliberate: m_atomType is left out and stays -1.
    explicit cPDBAtom(const cPDBAtom* other);
    cPDBAtom(const cPDBAtom&) = default;
    cPDBAtom(cPDBAtom&&) = default;
    cPDBAtom& operator=(const cPDBAtom&) = default;
    cPDBAtom& operator=(cPDBAtom&&) = default;
    virtual ~cPDBAtom() = default;

    /// Hook for derived records; the base class does nothing.
    virtual void derived() {}

    /// The name is "CA" and the residue an amino acid; a calcium ion is none.
    bool isCA() const;
    /// The residue type is 1 to 22; "ACE" and "MSE" count.
    bool isAMINO() const { return m_resType >= 1 && m_resType <= 22; }
    bool isNucleic() const { return m_resType == 25; }
    /// The element begins with 'H'. Deliberate: HE, HO, HF and HG count too.
    bool isHydrogen() const { return m_element[0] == 'H'; }
    /// The residue name is one of the names of water in mResType. Deliberate: it is not trimmed for this.
    bool isWater() const;
    bool isWaterOxygen() const { return m_element[0] == 'O' && isWater(); }
    bool isBackbone() const;
    bool isSidechain() const { return !isBackbone(); }
    /// One-letter code of the residue, 'x' if it has none.
    char getResCode() const;

    /// Residue type of a name, blanks at both ends ignored; 0 if unknown. Needs initMaps().
    static int findResType(const char* resName);

    /// Fill mResType and resCode. Filling them again changes nothing.
    static void initMaps();
    static void initResCodes();
    /// Fill mResName, mName and mNameTerm with one of two alternative typings, replacing the other.
    static void initAtomTypesITScore();
    static void initAtomTypesVersion2();

    /// Sets m_atomType: the type of residue plus atom name; else, for a backbone atom, that of the atom name
    /// (in the table of terminal residues if `terminal`); else -1.
    void setType(const std::string& resName, const std::string& atomName, bool terminal, bool backbone);

    /// Writes one ATOM line with its line end. A name of four characters starts one column earlier.
    /// Deliberate: the element stands one column left of where the reader looks for it, so a one-letter
    /// symbol reads back right and a two-letter one does not.
    /// @return false if the stream reported an error
    bool toFile(FILE* file) const;

    static std::map<std::string, int> mResType;  ///< residue name to residue type
    static std::map<std::string, char> resCode;  ///< residue name to one-letter code
    static std::map<std::string, int> mResName;  ///< residue name + atom name to atom type
    static std::map<std::string, int> mName;     ///< backbone atom name to atom type
    static std::map<std::string, int> mNameTerm; ///< the same in a terminal residue

    cVector3 m_position = cVector3(0.0, 0.0, 0.0);
    float m_mass = 0;       ///< of the element; 1 if unknown
    int m_atomType = -1;    ///< see setType
    int m_index = 0;        ///< running number among the atoms read, from 0
    int m_serial = 0;       ///< serial number in the file
    char m_name[5] = {};    ///< blanks removed at both ends
    char m_resName[4] = {}; ///< as in the file, blanks kept
    int m_resType = 0;      ///< value of mResType, 0 if unknown
    char m_chain[2] = {};   ///< chain identifier
    char m_segId[5] = {};   ///< segment identifier, blanks removed
    int m_resSeq = 0;       ///< residue sequence number
    char m_iCode[2] = {};   ///< insertion code
    char m_altLoc[2] = {};  ///< alternate location indicator
    char m_element[3] = {}; ///< first letter upper case, second lower case
    float m_occupancy = 0;  ///< 0 for pqr input
    float m_tempFactor = 0; ///< 0 for pqr input
    float m_radius = 0;     ///< van der Waals radius of the element; 1 if unknown
    float m_weight = 1;     ///< nothing changes it
    int m_segment = 0;      ///< index of the segment the atom belongs to
    float m_charge = 0;     ///< pqr input only
    float m_pqrRadius = 0;  ///< pqr input only
};

/// One ATOM line without a line end, cut at 99 characters. Unlike toFile, the element stands in its columns
/// and a chain of character 0 is written as a blank.
std::ostream& operator<<(std::ostream& out, const cPDBAtom* atom);

#endif
