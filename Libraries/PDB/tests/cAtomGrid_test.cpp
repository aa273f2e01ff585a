// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <limits>
#include <random>
#include <stdexcept>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "PDB/cAtomGrid.h"

namespace {

using Pair = std::tuple<int, int, double>;

std::vector<cPDBAtom> atomsAt(const std::vector<cVector3>& positions) {
    std::vector<cPDBAtom> atoms(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        atoms[i].m_position = positions[i];
        atoms[i].m_index = static_cast<int>(i);
    }
    return atoms;
}

/// Uniform in a box of 31 x 22 x 13 Å: the axes have different numbers of cells.
std::vector<cPDBAtom> randomAtoms(std::size_t n) {
    std::mt19937 generator(7);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::vector<cVector3> positions;
    for (std::size_t i = 0; i < n; ++i) {
        const double x = -10.0 + 31.0 * uniform(generator);
        const double y = 5.0 + 22.0 * uniform(generator);
        positions.emplace_back(x, y, 13.0 * uniform(generator));
    }
    return atomsAt(positions);
}

int size(const std::vector<cPDBAtom>& atoms) {
    return static_cast<int>(atoms.size());
}

cPDBAtom::cNeighbourList neighboursOf(std::vector<cPDBAtom>& atoms, double cutoff) {
    cAtomGrid grid;
    cPDBAtom::cNeighbourList list;
    grid.initPointer(atoms.data(), size(atoms), nullptr, cutoff);
    grid.constructNeighbourList(atoms.data(), size(atoms), &list);
    return list;
}

std::vector<Pair> sorted(const cPDBAtom::cNeighbourList& list) {
    std::vector<Pair> pairs;
    for (const cPDBAtom::cList& record : list) {
        pairs.emplace_back(record.m_first->m_index, record.m_second->m_index, record.m_distance2);
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

std::vector<Pair> bruteForce(const std::vector<cPDBAtom>& atoms, double cutoff) {
    std::vector<Pair> pairs;
    for (const cPDBAtom& b : atoms) {
        for (const cPDBAtom& a : atoms) {
            const double dx = a.m_position.x - b.m_position.x;
            const double dy = a.m_position.y - b.m_position.y;
            const double dz = a.m_position.z - b.m_position.z;
            const double distance2 = dx * dx + dy * dy + dz * dz;
            if (distance2 < cutoff * cutoff) {
                pairs.emplace_back(b.m_index, a.m_index, distance2);
            }
        }
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

} // namespace

TEST(CAtomGrid, FindsWhatBruteForceFinds) {
    std::vector<cPDBAtom> atoms = randomAtoms(400);
    for (const double cutoff : {0.7, 3.0, 10.0, 50.0}) {
        EXPECT_EQ(sorted(neighboursOf(atoms, cutoff)), bruteForce(atoms, cutoff)) << cutoff;
    }
}

TEST(CAtomGrid, RecordsComeAtomByAtomWithTheAtomSecond) {
    std::vector<cPDBAtom> atoms = randomAtoms(50);
    const cPDBAtom::cNeighbourList list = neighboursOf(atoms, 8.0);
    EXPECT_TRUE(
        std::is_sorted(list.begin(), list.end(), [](const cPDBAtom::cList& a, const cPDBAtom::cList& b) {
            return a.m_second->m_index < b.m_second->m_index;
        }));
    const cPDBAtom::cNeighbourList again = neighboursOf(atoms, 8.0);
    ASSERT_EQ(list.size(), again.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list[i].m_first, again[i].m_first);
    }
}

TEST(CAtomGrid, PairAtExactlyTheCutoffIsNotInTheList) {
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}, {3, 0, 4}});
    EXPECT_EQ(neighboursOf(atoms, 5.0).size(), 2U); // each atom with itself
    EXPECT_EQ(neighboursOf(atoms, 5.0000001).size(), 4U);
}

TEST(CAtomGrid, EveryAtomHasARecordWithItself) {
    std::vector<cPDBAtom> atoms = atomsAt({{1, 2, 3}});
    const cPDBAtom::cNeighbourList list = neighboursOf(atoms, 5.0);
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].m_first, &atoms[0]);
    EXPECT_EQ(list[0].m_second, &atoms[0]);
    EXPECT_EQ(list[0].m_distance2, 0.0);
}

TEST(CAtomGrid, NoAtomsGiveNoRecords) {
    std::vector<cPDBAtom> atoms = randomAtoms(3);
    cAtomGrid grid;
    cPDBAtom::cNeighbourList list;
    grid.constructNeighbourList(atoms.data(), 3, &list); // a grid that holds nothing
    grid.initPointer(atoms.data(), 3, nullptr, 5.0);
    grid.constructNeighbourList(atoms.data(), 0, &list);
    grid.constructNeighbourList(atoms.data(), -1, &list);
    grid.initPointer(nullptr, 0, nullptr, 5.0);
    grid.constructNeighbourList(atoms.data(), 3, &list);
    EXPECT_TRUE(list.empty());
}

TEST(CAtomGrid, ListIsAppendedTo) {
    std::vector<cPDBAtom> atoms = randomAtoms(5);
    cAtomGrid grid;
    grid.initPointer(atoms.data(), 5, nullptr, 1e-3);
    cPDBAtom::cNeighbourList list;
    grid.constructNeighbourList(atoms.data(), 5, &list);
    grid.constructNeighbourList(atoms.data(), 2, &list);
    EXPECT_EQ(list.size(), 7U);
}

TEST(CAtomGrid, AtomsFarApartTakeNoMoreCellsThanAtoms) {
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}, {1e8, 0, 0}, {1e8, 0, 3}, {0, 1e5, 0}});
    cAtomGrid grid;
    grid.initPointer(atoms.data(), 4, nullptr, 10.0);
    EXPECT_EQ(grid.getOccupiedCellCount(), 3U);
    EXPECT_EQ(sorted(neighboursOf(atoms, 10.0)), bruteForce(atoms, 10.0));
}

TEST(CAtomGrid, BoxBeyondTheCellNumbersThrows) {
    cAtomGrid grid;
    std::vector<cPDBAtom> longBox = atomsAt({{0, 0, 0}, {1e12, 0, 0}});
    EXPECT_THROW(grid.initPointer(longBox.data(), 2, nullptr, 1.0), std::length_error);
    std::vector<cPDBAtom> cube = atomsAt({{0, 0, 0}, {1e8, 1e8, 1e8}});
    EXPECT_THROW(grid.initPointer(cube.data(), 2, nullptr, 1.0), std::length_error);
    for (const double cellSize : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(grid.initPointer(cube.data(), 2, nullptr, cellSize), std::length_error);
    }
}

TEST(CAtomGrid, CoordinateThatIsNoNumberThrows) {
    cAtomGrid grid;
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}, {0, std::numeric_limits<double>::quiet_NaN(), 0}});
    EXPECT_THROW(grid.initPointer(atoms.data(), 2, nullptr, 10.0), std::runtime_error);
}

TEST(CAtomGrid, AtomsOutsideAGivenBoxAreLeftOut) {
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}, {1, 0, 0}, {-500, 0, 0}, {1e300, 0, 0}});
    const cIAVector3 box(0.0, 5.0, 0.0, 5.0, 0.0, 5.0);
    cAtomGrid grid;
    grid.initPointer(atoms.data(), 4, &box, 2.0);
    cPDBAtom::cNeighbourList list;
    grid.constructNeighbourList(atoms.data(), 4, &list);
    EXPECT_EQ(list.size(), 4U);
}

TEST(CAtomGrid, GridCanBeFilledAgain) {
    std::vector<cPDBAtom> atoms = randomAtoms(30);
    cAtomGrid grid;
    grid.initPointer(atoms.data(), 30, nullptr, 3.0);
    grid.initPointer(atoms.data(), 30, nullptr, 6.0);
    cPDBAtom::cNeighbourList list;
    grid.constructNeighbourList(atoms.data(), 30, &list);
    EXPECT_EQ(sorted(list), bruteForce(atoms, 6.0));
}

TEST(CAtomGrid, DisconnectedAtomsHaveNoOtherAtomWithinTheCutoff) {
    std::vector<cPDBAtom> atoms = randomAtoms(60);
    const double cutoff = 4.0;
    std::vector<int> expected(atoms.size(), 0);
    for (const Pair& pair : bruteForce(atoms, cutoff)) {
        ++expected[static_cast<std::size_t>(std::get<0>(pair))];
    }
    cAtomGrid grid;
    grid.initPointer(atoms.data(), size(atoms), nullptr, cutoff);
    std::vector<cPDBAtom*> disconnected;
    grid.detectDisconnectedAtoms(atoms.data(), size(atoms), &disconnected);
    EXPECT_FALSE(disconnected.empty());
    EXPECT_EQ(static_cast<std::ptrdiff_t>(disconnected.size()),
              std::count(expected.begin(), expected.end(), 1));
    for (const cPDBAtom* atom : disconnected) {
        EXPECT_EQ(expected[static_cast<std::size_t>(atom->m_index)], 1);
    }
}

TEST(CAtomGrid, AtomOfTheSameIndexIsNoNeighbour) {
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}, {1, 0, 0}});
    atoms[1].m_index = 0;
    cAtomGrid grid;
    grid.initPointer(atoms.data(), 2, nullptr, 5.0);
    std::vector<cPDBAtom*> disconnected;
    grid.detectDisconnectedAtoms(atoms.data(), 2, &disconnected);
    EXPECT_EQ(disconnected.size(), 2U);
}

TEST(CAtomGridLeaves, CentresFillTheInnerCells) {
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}, {4, 0, 0}});
    cAtomGrid grid;
    grid.initPointer(atoms.data(), 2, nullptr, 2.0); // 7 x 5 x 5 cells
    grid.initLeafLayer(3);
    ASSERT_EQ(grid.getLeaves().size(), 5U * 3U * 3U);
    const cCellLeafs& first = grid.getLeaves().front();
    EXPECT_EQ(first.getOccupied(), -1);
    EXPECT_EQ(first.m_nLeaves, 27);
    ASSERT_EQ(first.m_centers.size(), 27U);
    EXPECT_NEAR(first.m_centers[0].x, -2.0 + 1.0 / 3.0, 1e-12);
    EXPECT_NEAR(first.m_centers[1].z - first.m_centers[0].z, 2.0 / 3.0, 1e-12); // z runs fastest
    EXPECT_NEAR(grid.getLeaves().back().m_centers.back().x, 8.0 - 1.0 / 3.0, 1e-12);
    EXPECT_THROW(grid.initLeafLayer(0), std::invalid_argument);
    EXPECT_THROW(grid.initLeafLayer(100000), std::length_error);
}

TEST(CAtomGridLeaves, LeavesInReachOfAnAtomAreInside) {
    std::vector<cPDBAtom> atoms = randomAtoms(12);
    cAtomGrid grid;
    EXPECT_FALSE(grid.contains(cVector3(0.0, 0.0, 0.0)));
    grid.initPointer(atoms.data(), size(atoms), nullptr, 6.0);
    grid.initLeafLayer(4);
    EXPECT_TRUE(grid.contains(atoms[0].m_position));
    const double radius = 3.2;
    grid.detectBoundaryLeafs(radius);
    int inside = 0;
    for (const cCellLeafs& cell : grid.getLeaves()) {
        for (const cVector3& centre : cell.m_centers) {
            const bool isInReach = std::any_of(atoms.begin(), atoms.end(), [&](const cPDBAtom& atom) {
                return (centre - atom.m_position).norm() <= radius;
            });
            EXPECT_EQ(grid.contains(centre), isInReach);
            inside += isInReach;
        }
    }
    EXPECT_GT(inside, 0);
    EXPECT_FALSE(grid.contains(cVector3(1e9, 0.0, 0.0)));
    EXPECT_FALSE(grid.contains(cVector3(std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0)));
}

TEST(CAtomGridLeaves, WithoutCellsOrLeavesThereIsNothingToMark) {
    cAtomGrid grid;
    grid.initLeafLayer(3);
    EXPECT_TRUE(grid.getLeaves().empty());
    std::vector<cPDBAtom> atoms = atomsAt({{0, 0, 0}});
    grid.initPointer(atoms.data(), 1, nullptr, 2.0);
    grid.detectBoundaryLeafs(1.0);
    EXPECT_FALSE(grid.contains(atoms[0].m_position));
}

TEST(CAtomGridLeaves, QueriesPartTheAtoms) {
    std::vector<cPDBAtom> model = atomsAt({{0, 0, 0}, {8, 8, 8}});
    std::vector<cPDBAtom> probes = atomsAt({{0.2, 0, 0}, {4, 4, 4}, {8, 8, 7.8}, {99, 0, 0}});
    cAtomGrid grid;
    grid.initPointer(model.data(), 2, nullptr, 4.0);
    grid.initLeafLayer(4);
    grid.detectBoundaryLeafs(2.0);
    cPDBAtom* in[] = {&probes[0], &probes[1], &probes[2], &probes[3]};
    cPDBAtom* out[4] = {};
    int m = -1;
    grid.query(in, 4, out, m);
    ASSERT_EQ(m, 2);
    EXPECT_EQ(out[0], &probes[0]);
    EXPECT_EQ(out[1], &probes[2]);
    grid.queryOut(in, 4, out, m);
    ASSERT_EQ(m, 2);
    EXPECT_EQ(out[0], &probes[1]);
    EXPECT_EQ(out[1], &probes[3]);
}
