// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MECHANICS_BONDLIST_H
#define SELVANE_MECHANICS_BONDLIST_H

#include <array>
#include <cstddef>
#include <vector>

#include "Math/cVector3.h"
#include "PDB/cPDBAtom.h"

/// Two covalently bonded atoms, by m_index. Lengths in ångström.
struct BondedPair {
    int m_first;
    int m_second;
    double m_limit2;     ///< squared length above which the bond is broken
    double m_restLength; ///< when the list was made
    double m_length;     ///< at present
};

/// The angle at the centre between two bonds, atoms by m_index.
struct BondedAngle {
    int m_first;
    int m_centre;
    int m_last;
    double m_angle; ///< at present, in radians
};

/// Force constants of bonds and angles.
struct BondedParams {
    double m_bond = 10.0;
    double m_angle = 1.0;
};

/// Covalent bonds and bond angles of a structure, told by distances and by rules on names and elements, and
/// which of the bonds break when the atoms move.
///
/// A bond stands in the list as often as its pair stands in the list of neighbours: a neighbour list has each
/// pair twice, once from each side, and so does this, with its count of broken bonds. An angle stands in it
/// once: the two records of a bond are one bond to it.
class BondList {
public:
    /// @param atoms   their m_index are their places in the vectors given to updateAtomPosition
    /// @param cutoff  in ångström; bonds longer than that are not found
    /// @throws std::out_of_range  a negative m_index in a bond
    /// @throws std::logic_error   a bond of two atoms with one m_index
    BondList(std::vector<cPDBAtom>& atoms, double cutoff);
    /// The bonds among the pairs given, in their order. A record of an atom with itself is passed over.
    /// @throws as the other constructor
    explicit BondList(const cPDBAtom::cNeighbourList& list);

    /// Squared length up to which two atoms at the squared distance d2 count as bonded, in Å²: of two waters
    /// nearer than 1.1 Å that distance squared, else (0.6 (sum of the van der Waals radii))². 0 for no bond,
    /// that is: a water and another residue; two chains; two hydrogens, or one farther than 1.1 Å; different
    /// alternate locations of one residue, or one above 'A' between backbone atoms; residues that aren't
    /// neighbours by number, or by insertion code for one number; a distance up to 0.1 Å or above the limit;
    /// two atoms named "SG...".
    static double checkForCovalentBond(const cPDBAtom& a, const cPDBAtom& b, double d2);

    /// Angle at the centre, acos of (a - centre) · (b - centre) / (|a - centre| |b - centre|), in [0, pi].
    /// Not a number if a or b is at the centre.
    static double computeAngle(const cVector3& a, const cVector3& centre, const cVector3& b);

    /// Recomputes the present lengths and angles. Rest lengths and limits stay.
    /// @param atoms, positions  at place i the atom whose m_index is i
    /// @throws std::length_error  if an atom of a bond has no place in them
    void updateAtomPosition(const std::vector<cPDBAtom>& atoms);
    void updateAtomPosition(const std::vector<std::array<double, 3>>& positions);

    /// A bond is broken when it is longer than its limit.
    bool hasBrokenBonds() const;
    int getBrokenBondCount() const;
    /// @param out  overwritten: by how much each bond exceeds its limit in ångström, 0 if it doesn't
    void getBrokenBondSeverity(std::vector<double>& out) const;
    /// The largest of them; 0 without bonds.
    double getBrokenBondSeverity() const;

    const std::vector<BondedPair>& getBonds() const { return m_bonds; }
    /// By ascending centre, then first, then last atom; the first is below the last.
    const std::vector<BondedAngle>& getAngles() const { return m_angles; }
    const BondedParams& getParams() const { return m_params; }

private:
    struct Arm;

    void addBonds(const cPDBAtom::cNeighbourList& list, std::vector<Arm>& arms);
    void addAngles(std::vector<Arm>& arms);
    template <typename PositionOf>
    void update(std::size_t nAtoms, PositionOf positionOf);

    std::vector<BondedPair> m_bonds;
    std::vector<BondedAngle> m_angles;
    BondedParams m_params;
};

#endif
