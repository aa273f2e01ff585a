// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CATOMGRID_H
#define SELVANE_PDB_CATOMGRID_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <unordered_map>
#include <vector>

#include "PDB/NeighbourList.h"
#include "PDB/cCellLeafs.h"
#include "PDB/cCellPDB.h"
#include "PDB/cIAVector3.h"
#include "PDB/cMemoryPool.h"
#include "PDB/cPDBAtom.h"

/// All pairs of atoms closer than a cut-off in linear time: atoms are sorted into cubic cells whose edge is
/// the cut-off, and only the 27 cells around an atom are searched. Only occupied cells are stored, so the
/// memory goes with the atoms, not with the box. The box has an empty ring of two cells around it, and cell
/// (i, j, k) has the flat index i * m_sliceSize + j * m_nz + k, z fastest.
///
/// A finer layer of leaves tells inside from outside of the molecule (initLeafLayer, detectBoundaryLeafs,
/// contains, query); it is stored densely.
class cAtomGrid {
public:
    cAtomGrid() = default;
    cAtomGrid(const cAtomGrid&) = delete;
    cAtomGrid& operator=(const cAtomGrid&) = delete;
    ~cAtomGrid();

    /// Sorts n atoms into cells, replacing what the grid held.
    /// @param atoms     not owned, must outlive the grid
    /// @param box       bounds of the grid; null for the bounds of the atoms. An atom outside a given box
    ///                  and its ring is left out.
    /// @param cellSize  edge of a cell and cut-off of the searches, in Å
    /// @throws std::runtime_error   a coordinate that isn't finite
    /// @throws std::length_error    a box of 2³¹ cells or more along an axis, of 2⁶³ or more in all, or a
    /// cell
    ///                              size that isn't positive
    void initPointer(cPDBAtom* atoms, int n, const cIAVector3* box, double cellSize);

    /// Appends to `out`, for each of the n given atoms a in order, a record (b, a, |a - b|²) for every atom b
    /// of the grid strictly nearer than the cell size, a itself included.
    void constructNeighbourList(cPDBAtom* atoms, int n, cPDBAtom::cNeighbourList* out) const;

    /// The number of records that constructNeighbourList appends; some number above `most` if there are more
    /// than that many.
    std::size_t countNeighbours(const cPDBAtom* atoms, int n,
                                std::size_t most = std::numeric_limits<std::size_t>::max()) const;

    /// Appends to `out` those of the n atoms that have no other atom (another m_index) of the grid strictly
    /// nearer than the cell size. Cheaper than the list: the search around an atom ends at its first
    /// neighbour.
    void detectDisconnectedAtoms(cPDBAtom* atoms, int n, std::vector<cPDBAtom*>* out) const;

    /// Cuts every cell but those of the outermost ring into k³ leaves, all counted as inside.
    /// @throws std::invalid_argument  k below 1
    /// @throws std::length_error      more than 2³¹ - 1 leaves
    void initLeafLayer(int k);
    /// Counts as outside the leaves whose centre is farther than `radius` (Å) from every atom, and as inside
    /// the others. Needs initLeafLayer.
    void detectBoundaryLeafs(double radius);
    /// The leaf at p counts as inside. False off the leaf layer.
    bool contains(const cVector3& p) const;
    /// Copies to `out` those of the n atoms that lie inside, in order; m becomes their number. queryOut
    /// copies the others. `out` has room for n pointers.
    void query(cPDBAtom** in, int n, cPDBAtom** out, int& m) const;
    void queryOut(cPDBAtom** in, int n, cPDBAtom** out, int& m) const;

    const cIAVector3& getBox() const { return m_box; }
    const std::vector<cCellLeafs>& getLeaves() const { return m_leaves; }
    std::size_t getOccupiedCellCount() const { return m_cells.size(); }

private:
    struct Cell {
        unsigned int i, j, k;
    };

    void clear();
    void setSizes();
    void insert(cPDBAtom* atom);
    /// The cell of p; false if p lies outside the grid.
    bool findCell(const cVector3& p, Cell& cell) const;
    std::uint64_t flatIndex(const Cell& cell) const {
        return cell.i * m_sliceSize + cell.j * std::uint64_t{m_nz} + cell.k;
    }
    bool isInner(const Cell& cell) const;
    /// Calls visit(b, d²) for the atoms b nearer to p than the cell size until it returns false.
    template <typename Visitor>
    void visitNeighbours(const cVector3& p, Visitor visit) const;
    /// Flat index of the leaf at p; false off the leaf layer.
    bool findLeaf(const cVector3& p, std::size_t& leaf) const;
    void markLeavesNear(const cVector3& p, double radius);
    /// Leaves along an axis of so many cells.
    std::size_t leavesAlong(unsigned int cells) const;
    void copyIf(bool inside, cPDBAtom** in, int n, cPDBAtom** out, int& m) const;

    std::vector<cCellLeafs> m_leaves; ///< the inner cells in flat order, if the leaf layer was made
    std::unique_ptr<cMemoryPool> m_pool;
    std::vector<bool> m_occupancy; ///< a bit per leaf, leaves in one lattice, z fastest: counts as inside
    std::unordered_map<std::uint64_t, cCellPDB*> m_cells; ///< the occupied cells, in the pool, by flat index
    cPDBAtom* m_atoms = nullptr;
    int m_nAtoms = 0;
    double m_cellSize = 0;
    double m_invCellSize = 0;
    cIAVector3 m_box;
    std::uint64_t m_sliceSize = 0;
    unsigned int m_nz = 0;
    unsigned int m_nx = 0;
    unsigned int m_ny = 0;
    std::uint64_t m_nCells = 0;
    int m_leavesPerEdge = 0;
};

#endif
