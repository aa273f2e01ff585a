// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_RESIDUES_H
#define SELVANE_EXAMPLES_RESIDUES_H

#include <string>
#include <utility>
#include <vector>

namespace example {

/// Ideal backbone geometry, in angstrom and degrees (Engh & Huber, 1991). The three angles at C add up to
/// 360, so that the peptide group is flat.
namespace backbone {
constexpr double nCa = 1.458;
constexpr double caC = 1.525;
constexpr double cN = 1.329;
constexpr double cO = 1.231;
constexpr double cOxt = 1.249;
constexpr double nCaC = 111.2;
constexpr double caCN = 116.2;
constexpr double caCO = 120.8;
constexpr double cNCa = 121.7;
constexpr double omega = 180.0;
} // namespace backbone

/// One side-chain atom by internal coordinates: bonded to c, with the angle b-c-atom and the torsion
/// a-b-c-atom, which is `torsion`, plus the residue's side-chain torsion number `chi` unless that is
/// fixedTorsion.
struct SideAtom {
    static constexpr int fixedTorsion = -1;

    std::string name;
    char element;
    std::string a;
    std::string b;
    std::string c;
    double length;
    double angle;
    double torsion;
    int chi;
};

/// A kind of residue: its side-chain atoms, each after the atoms it refers to, the side-chain torsions that
/// it is usually found with, in degrees, and the bonds that close a ring.
struct ResidueType {
    std::string name;
    std::vector<SideAtom> sideChain;
    std::vector<std::vector<double>> rotamers;
    std::vector<std::pair<std::string, std::string>> ringBonds = {};
};

/// The type of a three-letter name: GLY, ALA, SER, THR, VAL, LEU, ASP, GLU, LYS or PHE.
/// @throws std::invalid_argument for any other name
const ResidueType& residueType(const std::string& name);

} // namespace example

#endif
