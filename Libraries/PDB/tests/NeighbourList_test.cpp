// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <vector>

#include <gtest/gtest.h>

#include "PDB/NeighbourList.h"
#include "PDB/cAtomGrid.h"

namespace {

using Positions = NeighbourList<std::array<double, 3>>;

std::vector<cPDBAtom> atomsAt(const std::vector<cVector3>& positions) {
    std::vector<cPDBAtom> atoms(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        atoms[i].m_position = positions[i];
        atoms[i].m_index = static_cast<int>(i);
    }
    return atoms;
}

Positions neighboursOf(std::vector<cPDBAtom>& atoms, double cutoff) {
    cAtomGrid grid;
    cPDBAtom::cNeighbourList list;
    grid.initPointer(atoms.data(), static_cast<int>(atoms.size()), nullptr, cutoff);
    grid.constructNeighbourList(atoms.data(), static_cast<int>(atoms.size()), &list);
    return Positions(list);
}

} // namespace

TEST(NeighbourList, ThreeAtomsWithinTheCutoffGiveSixRecords) {
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    EXPECT_EQ(neighboursOf(atoms, 2.0).size(), 6U);
}

TEST(NeighbourList, OneAtomAloneGivesAnEmptyList) {
    std::vector<cPDBAtom> atoms = atomsAt({{3, 4, 5}});
    EXPECT_TRUE(neighboursOf(atoms, 2.0).empty());
}

TEST(NeighbourList, TwoAtomsAtOnePositionAreAPairOfDistanceZero) {
    std::vector<cPDBAtom> atoms = atomsAt({{1, 2, 3}, {1, 2, 3}});
    const Positions list = neighboursOf(atoms, 2.0);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].m_distance2, 0.0);
    EXPECT_NE(list[0].m_firstIndex, list[0].m_secondIndex);
}

TEST(NeighbourList, RecordsOfOneIndexGoEvenIfTheAtomsDiffer) {
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}, {1, 0, 0}});
    atoms[1].m_index = 0;
    EXPECT_TRUE(neighboursOf(atoms, 2.0).empty());
}

TEST(NeighbourList, PositionsAreIndependentOfTheAtoms) {
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}, {1, 2, 2}});
    const Positions list = neighboursOf(atoms, 4.0);
    atoms[1].m_position = cVector3(9.0, 9.0, 9.0);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].m_first, (std::array<double, 3>{1, 2, 2}));
    EXPECT_EQ(list[0].m_second, (std::array<double, 3>{0, 0, 0}));
    EXPECT_EQ(list[0].m_distance2, 9.0);
}
