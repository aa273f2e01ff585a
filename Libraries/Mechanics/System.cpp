// SPDX-License-Identifier: GPL-3.0-or-later
#include "Mechanics/System.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "IO/cInfo.h"
#include "IO/message.h"
#include "PDB/NeighbourList.h"
#include "PDB/cAtomGrid.h"
#include "PDB/cPDBAtom.h"
#include "PDB/cTrajectory.h"

namespace {

static_assert(sizeof(arma::uword) == 8, "a large network has more than 2^32 matrix elements");

constexpr std::size_t blockEntries = 9;
constexpr double megabyte = 1024.0 * 1024.0;

using Neighbours = NeighbourList<std::array<double, 3>>;

/// The records of a list, sorted by first atom: those of atom i are order[begin[i]] .. order[begin[i + 1] -
/// 1].
struct RecordsByAtom {
    std::vector<std::size_t> begin, order;
    std::size_t count(std::size_t atom) const { return begin[atom + 1] - begin[atom]; }
};

RecordsByAtom groupByFirstAtom(const Neighbours& neighbours, std::size_t nAtoms) {
    RecordsByAtom records;
    records.begin.assign(nAtoms + 1, 0);
    for (const auto& record : neighbours) {
        for (const int atom : {record.m_firstIndex, record.m_secondIndex}) {
            if (atom < 0 || static_cast<std::size_t>(atom) >= nAtoms) {
                throw std::out_of_range("System: neighbour record of atom " + std::to_string(atom) + " of " +
                                        std::to_string(nAtoms));
            }
        }
        ++records.begin[static_cast<std::size_t>(record.m_firstIndex) + 1];
    }
    for (std::size_t atom = 0; atom < nAtoms; ++atom) {
        records.begin[atom + 1] += records.begin[atom];
    }

    std::vector<std::size_t> next(records.begin.begin(), records.begin.end() - 1);
    records.order.resize(neighbours.size());
    for (std::size_t number = 0; number < neighbours.size(); ++number) {
        records.order[next[static_cast<std::size_t>(neighbours[number].m_firstIndex)]++] = number;
    }
    return records;
}

/// A network that doesn't have the entries that its springs call for can't be used.
/// Deliberate: the status is 0.
[[noreturn]] void endWithCount(cInfo* info, std::size_t count, const char* what) {
    if (info) {
        info->printInfo("Error : Hessian contains only", std::to_string(count), what);
    }
    std::exit(0);
}

/// Every atom has a diagonal block only if it has a neighbour.
void checkEveryAtomHasNeighbours(const RecordsByAtom& records, std::size_t nAtoms, std::size_t expected,
                                 cInfo* info) {
    std::size_t entries = 0;
    std::size_t firstLonely = nAtoms;
    for (std::size_t atom = 0; atom < nAtoms; ++atom) {
        if (records.count(atom) > 0) {
            entries += blockEntries * (records.count(atom) + 1);
        } else {
            firstLonely = std::min(firstLonely, atom);
        }
    }
    if (entries == expected) {
        return;
    }
    tell(
        "atom " + std::to_string(firstLonely) +
        " (counted from 0) has no other atom within the cut-off of the elastic network; raise the cut-off or "
        "take the atom out of the model");
    endWithCount(info, entries, "values");
}

struct Block {
    std::size_t neighbour;
    double elements[3][3];
};

/// The blocks of one atom's columns in ascending order of the neighbour, its own among them.
std::vector<Block> blocksOf(std::size_t atom, const Neighbours& neighbours, const RecordsByAtom& records,
                            double k) {
    std::vector<std::pair<int, std::size_t>> numbers;
    numbers.reserve(records.count(atom));
    for (std::size_t place = records.begin[atom]; place < records.begin[atom + 1]; ++place) {
        numbers.emplace_back(neighbours[records.order[place]].m_secondIndex, records.order[place]);
    }
    std::sort(numbers.begin(), numbers.end());

    std::vector<Block> blocks;
    blocks.reserve(numbers.size() + 1);
    Block diagonal{atom, {}};
    for (const auto& [neighbour, number] : numbers) {
        const auto& record = neighbours[number];
        Block block{static_cast<std::size_t>(neighbour), {}};
        const double factor = record.m_distance2 > 0.0 ? -k / record.m_distance2 : 0.0;
        for (std::size_t a = 0; a < 3; ++a) {
            for (std::size_t b = 0; b < 3; ++b) {
                const double ra = record.m_first[a] - record.m_second[a];
                const double rb = record.m_first[b] - record.m_second[b];
                block.elements[a][b] = factor * (ra * rb);
                diagonal.elements[a][b] -= block.elements[a][b];
            }
        }
        blocks.push_back(block);
    }
    const auto place = std::find_if(blocks.begin(), blocks.end(),
                                    [&](const Block& block) { return block.neighbour >= atom; });
    blocks.insert(place, diagonal);

    const auto twice = std::adjacent_find(blocks.begin(), blocks.end(), [](const Block& a, const Block& b) {
        return a.neighbour == b.neighbour;
    });
    if (twice != blocks.end()) {
        throw std::logic_error("System: more than one neighbour record of atoms " + std::to_string(atom) +
                               " and " + std::to_string(twice->neighbour));
    }
    return blocks;
}

/// The entries arise in the order of the compressed columns, so they are written in their final place:
/// collecting them first would more than double the peak of memory.
std::unique_ptr<arma::SpMat<double>> assemble(const Neighbours& neighbours, const RecordsByAtom& records,
                                              const arma::Col<double>& isqrtMass, double k, std::size_t nnz) {
    const std::size_t nAtoms = isqrtMass.n_elem / 3;
    auto hessian = std::make_unique<arma::SpMat<double>>(isqrtMass.n_elem, isqrtMass.n_elem);
    hessian->mem_resize(nnz);
    double* values = arma::access::rwp(hessian->values);
    arma::uword* rows = arma::access::rwp(hessian->row_indices);
    arma::uword* columnEnd = arma::access::rwp(hessian->col_ptrs) + 1;
    arma::uword entry = 0;
    const auto emit = [&](std::size_t atom, std::size_t a, const Block& block) {
        const double weight = isqrtMass[3 * atom] * isqrtMass[3 * block.neighbour];
        for (std::size_t b = 0; b < 3; ++b, ++entry) {
            values[entry] = block.elements[a][b] * weight;
            rows[entry] = 3 * block.neighbour + b;
        }
    };
    for (std::size_t atom = 0; atom < nAtoms; ++atom) {
        const std::vector<Block> blocks = blocksOf(atom, neighbours, records, k);
        for (std::size_t a = 0; a < 3; ++a) {
            for (const Block& block : blocks) {
                emit(atom, a, block);
            }
            *columnEnd++ = entry;
        }
    }
    return hessian;
}

} // namespace

System::System(const NeighbourList<std::array<double, 3>>& neighbours, const std::vector<double>& masses,
               double k, cInfo* info)
    : m_info(info), m_nDof(static_cast<unsigned int>(3 * masses.size())), m_springConstant(k) {
    buildIsqrtMassMatrix(masses);
    buildMassWeightedStiffnessMatrix(neighbours, static_cast<unsigned int>(masses.size()));
}

System::System(std::vector<cPDBAtom>& atoms, double cutoff, double k, cInfo* info)
    : m_info(info), m_nDof(static_cast<unsigned int>(3 * atoms.size())), m_springConstant(k) {
    const int n = static_cast<int>(atoms.size());
    cPDBAtom::cNeighbourList list;
    cAtomGrid grid;
    grid.initPointer(atoms.data(), n, nullptr, cutoff);
    grid.constructNeighbourList(atoms.data(), n, &list);
    buildIsqrtMassMatrix(atoms);
    buildMassWeightedStiffnessMatrix(NeighbourList<std::array<double, 3>>(list),
                                     static_cast<unsigned int>(atoms.size()));
}

System::System(cTrajectory* trajectory, const std::vector<double>& masses, cInfo* info)
    : m_info(info), m_nDof(static_cast<unsigned int>(3 * masses.size())), m_springConstant(0.0) {
    if (!trajectory) {
        throw std::invalid_argument("System: there is no trajectory");
    }
    buildIsqrtMassMatrix(masses);
    m_trajectoryCovariance = trajectory->getCovariance(masses);
    m_covariance = m_trajectoryCovariance.get();
}

void System::buildIsqrtMassMatrix(const std::vector<double>& masses) {
    m_isqrtMass.set_size(3 * masses.size());
    m_mass.set_size(3 * masses.size());
    for (std::size_t i = 0; i < m_mass.n_elem; ++i) {
        m_mass[i] = masses[i / 3];
        m_isqrtMass[i] = 1.0 / std::sqrt(masses[i / 3]);
    }
    buildSqrtMassMatrix();
}

void System::buildIsqrtMassMatrix(const std::vector<cPDBAtom>& atoms) {
    m_isqrtMass.set_size(3 * atoms.size());
    m_mass.set_size(3 * atoms.size());
    for (std::size_t i = 0; i < m_mass.n_elem; ++i) {
        const float mass = atoms[i / 3].m_mass;
        m_mass[i] = static_cast<double>(mass);
        // Deliberate: the root is taken in the precision of the atom's mass.
        m_isqrtMass[i] = 1.0 / static_cast<double>(std::sqrt(mass));
    }
    buildSqrtMassMatrix();
}

void System::buildSqrtMassMatrix() {
    m_sqrtMass = arma::sqrt(m_mass);
}

void System::buildMassWeightedStiffnessMatrix(const NeighbourList<std::array<double, 3>>& neighbours,
                                              unsigned int nAtoms) {
    if (m_isqrtMass.n_elem != 3ull * nAtoms) {
        throw std::length_error("System: " + std::to_string(nAtoms) + " atoms, but masses of " +
                                std::to_string(m_isqrtMass.n_elem / 3));
    }
    const RecordsByAtom records = groupByFirstAtom(neighbours, nAtoms);
    if (records.begin.back() != neighbours.size()) {
        endWithCount(m_info, records.begin.back(), "interactions");
    }

    const std::size_t nnz = blockEntries * neighbours.size() + blockEntries * nAtoms;
    if (m_info) {
        m_info->printInfo(" Memory required for the Hessian matrix",
                          static_cast<double>(2 * nnz + nnz) * 8.0 / megabyte, "Mb");
    }
    checkEveryAtomHasNeighbours(records, nAtoms, nnz, m_info);

    m_hessian = assemble(neighbours, records, m_isqrtMass, m_springConstant, nnz);
}
