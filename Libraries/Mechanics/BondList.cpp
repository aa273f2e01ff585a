// SPDX-License-Identifier: GPL-3.0-or-later
#include "Mechanics/BondList.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>

#include "PDB/NeighbourList.h"
#include "PDB/cAtomGrid.h"

namespace {

constexpr double hydrogenLimit2 = 1.21;    // Å², of a bond with a hydrogen and inside a water
constexpr double samePlace2 = 0.01;        // Å², atoms up to this are alternatives, not neighbours
constexpr double radiusFraction = 0.6;     // of the sum of the van der Waals radii
constexpr int waterType = 24;              // in cPDBAtom::mResType
constexpr std::string_view sulphur = "SG"; // of cysteine

bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isAlternative(const cPDBAtom& atom) {
    return static_cast<signed char>(atom.m_altLoc[0]) > 'A';
}

bool areAlternatives(const cPDBAtom& a, const cPDBAtom& b) {
    const char first = a.m_altLoc[0];
    const char second = b.m_altLoc[0];
    if (first != second && isLetter(first) && isLetter(second) && a.m_resSeq == b.m_resSeq) {
        return true;
    }
    return (isAlternative(a) || isAlternative(b)) && a.isBackbone() && b.isBackbone();
}

/// Deliberate: a residue without an insertion code and the one with 'A' of the same number are no
/// neighbours, since a blank and 'A' are far apart.
bool areNeighbourResidues(const cPDBAtom& a, const cPDBAtom& b) {
    if (a.m_resSeq == b.m_resSeq) {
        return std::abs(a.m_iCode[0] - b.m_iCode[0]) <= 1;
    }
    return std::abs(static_cast<long>(a.m_resSeq) - b.m_resSeq) <= 1;
}

bool isSulphurOfCysteine(const cPDBAtom& atom) {
    return std::string_view(atom.m_name).substr(0, sulphur.size()) == sulphur;
}

void checkIndices(const cPDBAtom& a, const cPDBAtom& b) {
    if (std::min(a.m_index, b.m_index) < 0) {
        throw std::out_of_range("BondList: a bond of atom " + std::to_string(std::min(a.m_index, b.m_index)));
    }
    if (a.m_index == b.m_index) {
        throw std::logic_error("BondList: a bond of two atoms with the index " + std::to_string(a.m_index));
    }
}

double excess(const BondedPair& bond) {
    return std::max(0.0, bond.m_length - std::sqrt(bond.m_limit2));
}

bool isBroken(const BondedPair& bond) {
    return bond.m_length * bond.m_length > bond.m_limit2;
}

} // namespace

/// A bond as its first atom sees it.
struct BondList::Arm {
    const cPDBAtom* m_centre;
    const cPDBAtom* m_end;

    std::tuple<int, int> key() const { return {m_centre->m_index, m_end->m_index}; }
};

BondList::BondList(std::vector<cPDBAtom>& atoms, double cutoff) {
    cAtomGrid grid;
    grid.initPointer(atoms.data(), static_cast<int>(atoms.size()), nullptr, cutoff);
    std::vector<Arm> arms;
    // One atom at a time: with a long cut-off the whole list is far larger than the bonds in it.
    cPDBAtom::cNeighbourList list;
    for (cPDBAtom& atom : atoms) {
        list.clear();
        grid.constructNeighbourList(&atom, 1, &list);
        addBonds(list, arms);
    }
    addAngles(arms);
}

BondList::BondList(const cPDBAtom::cNeighbourList& list) {
    std::vector<Arm> arms;
    addBonds(list, arms);
    addAngles(arms);
}

void BondList::addBonds(const cPDBAtom::cNeighbourList& list, std::vector<Arm>& arms) {
    for (const cPDBAtom::cList& record : list) {
        const cPDBAtom& first = *record.m_first;
        const cPDBAtom& second = *record.m_second;
        const double limit2 = checkForCovalentBond(first, second, record.m_distance2);
        // The rule for waters has no lower bound of the distance, so it takes an atom for its own partner.
        if (&first == &second || !(limit2 > 0.0)) {
            continue;
        }
        checkIndices(first, second);
        const double length = std::sqrt(record.m_distance2);
        m_bonds.push_back({first.m_index, second.m_index, limit2, length, length});
        arms.push_back({&first, &second});
        arms.push_back({&second, &first});
    }
}

/// A bond listed from both sides gives each of its two arms twice.
void BondList::addAngles(std::vector<Arm>& arms) {
    std::sort(arms.begin(), arms.end(), [](const Arm& a, const Arm& b) { return a.key() < b.key(); });
    arms.erase(
        std::unique(arms.begin(), arms.end(), [](const Arm& a, const Arm& b) { return a.key() == b.key(); }),
        arms.end());
    for (auto first = arms.begin(); first != arms.end(); ++first) {
        const cPDBAtom& centre = *first->m_centre;
        for (auto last = first + 1; last != arms.end() && last->m_centre->m_index == centre.m_index; ++last) {
            m_angles.push_back(
                {first->m_end->m_index, centre.m_index, last->m_end->m_index,
                 computeAngle(first->m_end->m_position, centre.m_position, last->m_end->m_position)});
        }
    }
}

double BondList::checkForCovalentBond(const cPDBAtom& a, const cPDBAtom& b, double d2) {
    const bool isWaterPair = a.m_resType == waterType && b.m_resType == waterType;
    if (!isWaterPair && (a.m_resType == waterType || b.m_resType == waterType)) {
        return 0.0;
    }
    // Deliberate: at once, whatever their chains and residues and however near.
    if (isWaterPair && d2 < hydrogenLimit2) {
        return hydrogenLimit2;
    }
    if (a.m_chain[0] != b.m_chain[0]) {
        return 0.0;
    }
    if (a.isHydrogen() && b.isHydrogen()) {
        return 0.0;
    }
    if ((a.isHydrogen() || b.isHydrogen()) && d2 >= hydrogenLimit2) {
        return 0.0;
    }
    if (areAlternatives(a, b) || !areNeighbourResidues(a, b)) {
        return 0.0;
    }
    // Deliberate: summed in the precision of the tables.
    const float radii = a.m_radius + b.m_radius;
    const double limit = radiusFraction * static_cast<double>(radii);
    const double limit2 = limit * limit;
    if (!(limit2 >= d2 && d2 > samePlace2)) {
        return 0.0;
    }
    // Deliberate: a disulfide bridge is no bond here.
    return isSulphurOfCysteine(a) && isSulphurOfCysteine(b) ? 0.0 : limit2;
}

double BondList::computeAngle(const cVector3& a, const cVector3& centre, const cVector3& b) {
    const cVector3 u = a - centre;
    const cVector3 v = b - centre;
    // Rounding can take the cosine of a straight line beyond 1, where there is no angle.
    return std::acos(std::clamp((u | v) / (u.norm() * v.norm()), -1.0, 1.0));
}

template <typename PositionOf>
void BondList::update(std::size_t nAtoms, PositionOf positionOf) {
    for (const BondedPair& bond : m_bonds) {
        if (static_cast<std::size_t>(std::max(bond.m_first, bond.m_second)) >= nAtoms) {
            throw std::length_error("BondList: " + std::to_string(nAtoms) +
                                    " positions, but a bond of atom " +
                                    std::to_string(std::max(bond.m_first, bond.m_second)));
        }
    }
    const auto at = [&](int atom) { return positionOf(static_cast<std::size_t>(atom)); };
    for (BondedPair& bond : m_bonds) {
        bond.m_length = (at(bond.m_first) - at(bond.m_second)).norm();
    }
    for (BondedAngle& angle : m_angles) {
        angle.m_angle = computeAngle(at(angle.m_first), at(angle.m_centre), at(angle.m_last));
    }
}

void BondList::updateAtomPosition(const std::vector<cPDBAtom>& atoms) {
    update(atoms.size(), [&](std::size_t i) { return atoms[i].m_position; });
}

void BondList::updateAtomPosition(const std::vector<std::array<double, 3>>& positions) {
    update(positions.size(),
           [&](std::size_t i) { return cVector3(positions[i][0], positions[i][1], positions[i][2]); });
}

bool BondList::hasBrokenBonds() const {
    return std::any_of(m_bonds.begin(), m_bonds.end(), isBroken);
}

int BondList::getBrokenBondCount() const {
    return static_cast<int>(std::count_if(m_bonds.begin(), m_bonds.end(), isBroken));
}

void BondList::getBrokenBondSeverity(std::vector<double>& out) const {
    out.resize(m_bonds.size());
    std::transform(m_bonds.begin(), m_bonds.end(), out.begin(), excess);
}

double BondList::getBrokenBondSeverity() const {
    double largest = 0.0;
    for (const BondedPair& bond : m_bonds) {
        largest = std::max(largest, excess(bond));
    }
    return largest;
}
