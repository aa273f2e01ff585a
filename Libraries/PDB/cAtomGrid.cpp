// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/cAtomGrid.h"

#include <cmath>
#include <new>
#include <stdexcept>
#include <string>

namespace {

constexpr unsigned long poolChunkSize = 1048576; // bytes
constexpr double marginCells = 2.0;              // the empty ring below the box
constexpr int marginTotal = 5;                   // both rings and the cell of the upper face
constexpr double maxCellsPerAxis = 2147483647.0;
constexpr double maxCells = 9.2e18; // flat indices have 64 bits

struct Offset {
    int i, j, k;
};

// The order in which the cells around an atom are searched.
constexpr Offset walk[27] = {
    {0, 0, -1},  {0, 0, 1},    {0, 1, 0},   {0, -1, 0},  {0, -1, -1}, {0, -1, 1}, {0, 1, -1},
    {0, 1, 1},   {0, 0, 0},    {1, 0, -1},  {1, 0, 1},   {1, 1, 0},   {1, -1, 0}, {1, -1, -1},
    {1, -1, 1},  {1, 1, -1},   {1, 1, 1},   {1, 0, 0},   {-1, 0, -1}, {-1, 0, 1}, {-1, 1, 0},
    {-1, -1, 0}, {-1, -1, -1}, {-1, -1, 1}, {-1, 1, -1}, {-1, 1, 1},  {-1, 0, 0},
};

void requireFiniteCoordinates(const cPDBAtom* atoms, int n) {
    for (int a = 0; a < n; ++a) {
        const cVector3& p = atoms[a].m_position;
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) {
            throw std::runtime_error("cAtomGrid: atom " + std::to_string(a) + " (serial " +
                                     std::to_string(atoms[a].m_serial) +
                                     ") has a coordinate that isn't a finite number");
        }
    }
}

cIAVector3 boundsOf(const cPDBAtom* atoms, int n) {
    cIAVector3 bounds;
    for (int a = 0; a < n; ++a) {
        bounds.bound(cIAVector3(atoms[a].m_position));
    }
    return bounds;
}

unsigned int cellsAlong(const cInterval& side, double invCellSize) {
    const double cells = (side.upper - side.lower) * invCellSize;
    if (!(cells >= 0.0 && cells < maxCellsPerAxis - marginTotal)) {
        throw std::length_error(
            "cAtomGrid: " + std::to_string(cells) +
            " cells along an axis, at most 2147483641 can be numbered; atoms lie too far apart");
    }
    return static_cast<unsigned int>(cells) + marginTotal;
}

/// Index of the cell of a coordinate; false below cell 0 or from cell n on.
bool findIndex(double coordinate, double lower, double invCellSize, unsigned int n, unsigned int& index) {
    const double cell = (coordinate - lower) * invCellSize + marginCells;
    if (!(cell >= 0.0 && cell < n)) {
        return false;
    }
    index = static_cast<unsigned int>(cell);
    return true;
}

bool isInside(unsigned int index, unsigned int n) {
    return index > 0 && index < n - 1;
}

} // namespace

cAtomGrid::~cAtomGrid() {
    clear();
}

void cAtomGrid::clear() {
    // The pool gives back the cells, not the vectors in them.
    for (const auto& entry : m_cells) {
        entry.second->~cCellPDB();
    }
    m_cells.clear();
    m_pool.reset();
    m_leaves.clear();
    m_occupancy.clear();
    m_leavesPerEdge = 0;
    m_nx = m_ny = m_nz = 0;
    m_sliceSize = m_nCells = 0;
    m_nAtoms = 0;
}

void cAtomGrid::initPointer(cPDBAtom* atoms, int n, const cIAVector3* box, double cellSize) {
    clear();
    if (!(cellSize > 0.0)) {
        throw std::length_error("cAtomGrid: the cell size is " + std::to_string(cellSize) +
                                ", it must be above 0");
    }
    requireFiniteCoordinates(atoms, n);
    m_cellSize = cellSize;
    m_invCellSize = 1.0 / cellSize;
    if (n < 1 && box == nullptr) {
        return;
    }
    m_box = box == nullptr ? boundsOf(atoms, n) : *box;
    setSizes();
    m_atoms = atoms;
    m_nAtoms = n;
    m_pool = std::make_unique<cMemoryPool>(poolChunkSize);
    for (int a = 0; a < n; ++a) {
        insert(&atoms[a]);
    }
}

void cAtomGrid::setSizes() {
    const unsigned int nx = cellsAlong(m_box.x, m_invCellSize);
    const unsigned int ny = cellsAlong(m_box.y, m_invCellSize);
    const unsigned int nz = cellsAlong(m_box.z, m_invCellSize);
    if (static_cast<double>(nx) * ny * nz > maxCells) {
        throw std::length_error("cAtomGrid: " + std::to_string(nx) + " x " + std::to_string(ny) + " x " +
                                std::to_string(nz) + " cells can't be numbered; atoms lie too far apart");
    }
    m_nx = nx;
    m_ny = ny;
    m_nz = nz;
    m_sliceSize = std::uint64_t{ny} * nz;
    m_nCells = nx * m_sliceSize;
}

void cAtomGrid::insert(cPDBAtom* atom) {
    Cell cell;
    if (!findCell(atom->m_position, cell)) {
        return;
    }
    cCellPDB*& slot = m_cells[flatIndex(cell)];
    if (slot == nullptr) {
        slot = new (m_pool->alloc(sizeof(cCellPDB))) cCellPDB;
    }
    ++slot->m_occupied;
    slot->m_atoms.push_back(atom);
}

bool cAtomGrid::findCell(const cVector3& p, Cell& cell) const {
    return findIndex(p.x, m_box.x.lower, m_invCellSize, m_nx, cell.i) &&
           findIndex(p.y, m_box.y.lower, m_invCellSize, m_ny, cell.j) &&
           findIndex(p.z, m_box.z.lower, m_invCellSize, m_nz, cell.k);
}

bool cAtomGrid::isInner(const Cell& cell) const {
    return isInside(cell.i, m_nx) && isInside(cell.j, m_ny) && isInside(cell.k, m_nz);
}

template <typename Visitor>
void cAtomGrid::visitNeighbours(const cVector3& p, Visitor visit) const {
    Cell centre;
    if (!findCell(p, centre) || !isInner(centre)) {
        return;
    }
    const double cutoff2 = m_cellSize * m_cellSize;
    for (const Offset& offset : walk) {
        const auto i = static_cast<unsigned int>(static_cast<int>(centre.i) + offset.i);
        const auto j = static_cast<unsigned int>(static_cast<int>(centre.j) + offset.j);
        const auto k = static_cast<unsigned int>(static_cast<int>(centre.k) + offset.k);
        const auto cell = m_cells.find(flatIndex({i, j, k}));
        if (cell == m_cells.end()) {
            continue;
        }
        for (cPDBAtom* b : cell->second->m_atoms) {
            const double dx = p.x - b->m_position.x;
            const double dy = p.y - b->m_position.y;
            const double dz = p.z - b->m_position.z;
            const double distance2 = dx * dx + dy * dy + dz * dz;
            if (cutoff2 > distance2 && !visit(b, distance2)) {
                return;
            }
        }
    }
}

std::size_t cAtomGrid::countNeighbours(const cPDBAtom* atoms, int n, std::size_t most) const {
    std::size_t count = 0;
    for (int a = 0; a < n && count <= most; ++a) {
        visitNeighbours(atoms[a].m_position, [&count](const cPDBAtom*, double) {
            ++count;
            return true;
        });
    }
    return count;
}

void cAtomGrid::constructNeighbourList(cPDBAtom* atoms, int n, cPDBAtom::cNeighbourList* out) const {
    // Counted first: a list that grows step by step holds up to three times its size while it is copied.
    out->reserve(out->size() + countNeighbours(atoms, n));
    for (int a = 0; a < n; ++a) {
        visitNeighbours(atoms[a].m_position, [&](cPDBAtom* b, double distance2) {
            out->push_back({b, &atoms[a], distance2});
            return true;
        });
    }
}

void cAtomGrid::detectDisconnectedAtoms(cPDBAtom* atoms, int n, std::vector<cPDBAtom*>* out) const {
    for (int a = 0; a < n; ++a) {
        bool isConnected = false;
        visitNeighbours(atoms[a].m_position, [&](const cPDBAtom* b, double) {
            isConnected = b->m_index != atoms[a].m_index;
            return !isConnected;
        });
        if (!isConnected) {
            out->push_back(&atoms[a]);
        }
    }
}
