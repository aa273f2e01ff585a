// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_TESTS_BLOCKMODEL_H
#define SELVANE_NMAENGINE_TESTS_BLOCKMODEL_H

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include <armadillo>

#include "Mechanics/System.h"
#include "PDB/NeighbourList.h"

/// A compact model of 2 x 3 x 4 blocks of five atoms on a jittered lattice, and its network.
struct BlockModel {
    static constexpr std::size_t atomsPerBlock = 5;
    static constexpr std::size_t nBlocks = 24;
    static constexpr std::size_t nAtoms = nBlocks * atomsPerBlock;

    explicit BlockModel(unsigned seed) {
        std::mt19937 engine(seed);
        std::uniform_real_distribution<double> jitter(-1.5, 1.5);
        std::uniform_real_distribution<double> mass(1.0, 35.0);
        constexpr double spacing = 4.5;
        for (std::size_t block = 0; block < nBlocks; ++block) {
            const std::array<std::size_t, 3> place = {block / 12, block / 4 % 3, block % 4};
            for (std::size_t i = 0; i < atomsPerBlock; ++i) {
                std::array<double, 3> p{};
                for (std::size_t c = 0; c < 3; ++c) {
                    p[c] = spacing * static_cast<double>(place[c]) + jitter(engine);
                }
                positions.push_back(p);
                masses.push_back(mass(engine));
                blockIds.push_back(static_cast<int>(block));
            }
        }
    }

    /// Springs between all atoms nearer than the cut-off (angstrom).
    std::shared_ptr<System> network(double cutoff = 8.0) const {
        NeighbourList<std::array<double, 3>> list;
        for (std::size_t i = 0; i < positions.size(); ++i) {
            for (std::size_t j = 0; j < positions.size(); ++j) {
                double d2 = 0.0;
                for (std::size_t c = 0; c < 3; ++c) {
                    d2 += (positions[i][c] - positions[j][c]) * (positions[i][c] - positions[j][c]);
                }
                if (i != j && d2 < cutoff * cutoff) {
                    list.push_back(
                        {positions[i], positions[j], static_cast<int>(i), static_cast<int>(j), d2});
                }
            }
        }
        return std::make_shared<System>(list, masses, 1.0, nullptr);
    }

    /// M^(1/2) times the six rigid motions of the whole, orthonormal columns.
    arma::Mat<double> rigidMotions() const {
        arma::Mat<double> motions(3 * positions.size(), 6, arma::fill::zeros);
        for (std::size_t a = 0; a < positions.size(); ++a) {
            const auto& p = positions[a];
            motions.submat(3 * a, 0, 3 * a + 2, 2) = arma::eye(3, 3);
            motions.submat(3 * a, 3, 3 * a + 2, 5) =
                arma::Mat<double>{{0.0, p[2], -p[1]}, {-p[2], 0.0, p[0]}, {p[1], -p[0], 0.0}};
            motions.rows(3 * a, 3 * a + 2) *= std::sqrt(masses[a]);
        }
        return arma::orth(motions);
    }

    std::vector<std::array<double, 3>> positions;
    std::vector<double> masses;
    std::vector<int> blockIds;
};

#endif
