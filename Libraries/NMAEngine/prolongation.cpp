// SPDX-License-Identifier: GPL-3.0-or-later
// The basis P of the blocks' motions.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

#include "IO/cInfo.h"
#include "NMAEngine/NormalModeEngine.h"
#include "NMAEngine/rigidBlock.h"

namespace {

constexpr double megabyte = 1024.0 * 1024.0;

/// Checks the indices and gives the largest + 1.
std::size_t countBlocks(const std::vector<int>& blockIds) {
    if (blockIds.empty()) {
        return 0;
    }
    const auto [lowest, highest] = std::minmax_element(blockIds.begin(), blockIds.end());
    if (*lowest < 0) {
        throw std::out_of_range("NormalModeEngine: block index " + std::to_string(*lowest));
    }
    return static_cast<std::size_t>(*highest) + 1;
}

void checkSize(const char* what, std::size_t found, std::size_t expected) {
    if (found != expected) {
        throw std::length_error("NormalModeEngine: " + std::to_string(found) + ' ' + what + ", but " +
                                std::to_string(expected) + " block indices");
    }
}

/// A sparse matrix under construction, entry by entry.
class Triplets {
public:
    explicit Triplets(arma::uword count) : m_locations(2, count), m_values(count) {}
    void add(arma::uword row, arma::uword column, double value) {
        m_locations(0, m_count) = row;
        m_locations(1, m_count) = column;
        m_values[m_count++] = value;
    }
    arma::SpMat<double> matrix(arma::uword rows, arma::uword columns) const {
        return {m_locations, m_values, rows, columns};
    }

private:
    arma::umat m_locations;
    arma::Col<double> m_values;
    arma::uword m_count = 0;
};

} // namespace

void NormalModeEngine::buildRTBProlongationMatrix(const std::vector<std::array<double, 3>>& positions,
                                                  const std::vector<double>& masses,
                                                  const std::vector<int>& blockIds, cInfo* info) {
    checkSize("positions", positions.size(), blockIds.size());
    checkSize("masses", masses.size(), blockIds.size());
    const std::vector<RigidBlock> blocks =
        makeRigidBlocks(positions, masses, blockIds, countBlocks(blockIds));
    m_blockMasses.clear();
    m_blockCenters.clear();
    m_blockInvSqrtInertia.clear();
    for (const RigidBlock& block : blocks) {
        m_blockMasses.push_back(block.mass);
        m_blockCenters.push_back(block.center);
        m_blockInvSqrtInertia.push_back(block.invSqrtInertia);
    }

    const std::size_t nTriplets = 12 * blockIds.size();
    if (info) {
        info->printInfo(" Memory required for the RTB projection matrix",
                        static_cast<double>(2 * nTriplets + nTriplets) * 8.0 / megabyte, "Mb");
    }
    Triplets triplets(nTriplets);
    for (std::size_t atom = 0; atom < blockIds.size(); ++atom) {
        const auto b = static_cast<std::size_t>(blockIds[atom]);
        const double translation = std::sqrt(masses[atom] / blocks[b].mass);
        for (std::size_t k = 0; k < 3; ++k) {
            triplets.add(3 * atom + k, 6 * b + k, translation);
        }
        const arma::Mat<double> rotation = blocks[b].rotationColumns(positions[atom], masses[atom]);
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                triplets.add(3 * atom + j, 6 * b + 3 + i, rotation(j, i));
            }
        }
    }
    m_prolongation = triplets.matrix(3 * blockIds.size(), 6 * blocks.size());
}

void NormalModeEngine::buildCAProlongationMatrix(const std::vector<double>& masses,
                                                 const std::vector<int>& blockIds) {
    checkSize("masses", masses.size(), blockIds.size());
    m_blockMasses.assign(countBlocks(blockIds), 0.0);
    for (std::size_t atom = 0; atom < blockIds.size(); ++atom) {
        m_blockMasses[static_cast<std::size_t>(blockIds[atom])] += masses[atom];
    }

    Triplets triplets(3 * blockIds.size());
    for (std::size_t atom = 0; atom < blockIds.size(); ++atom) {
        const auto b = static_cast<std::size_t>(blockIds[atom]);
        for (std::size_t c = 0; c < 3; ++c) {
            triplets.add(3 * atom + c, 3 * b + c, std::sqrt(masses[atom] / m_blockMasses[b]));
        }
    }
    m_prolongation = triplets.matrix(3 * blockIds.size(), 3 * m_blockMasses.size());
}

void NormalModeEngine::loadCAlphaId2AtomId(const std::vector<int>& blockIds) {
    m_blockAtoms.assign(countBlocks(blockIds), {});
    for (std::size_t atom = 0; atom < blockIds.size(); ++atom) {
        m_blockAtoms[static_cast<std::size_t>(blockIds[atom])].push_back(static_cast<int>(atom));
    }
}
