// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "IO/cInfo.h"
#include "Mechanics/System.h"
#include "PDB/NeighbourList.h"
#include "PDB/cPDBAtom.h"
#include "PDB/cTrajectory.h"

namespace {

using Position = std::array<double, 3>;
using Positions = std::vector<Position>;
using Matrix = arma::Mat<double>;
using Vector = arma::Col<double>;

double distance2(const Position& a, const Position& b) {
    double sum = 0.0;
    for (std::size_t c = 0; c < 3; ++c) {
        sum += (a[c] - b[c]) * (a[c] - b[c]);
    }
    return sum;
}

/// All pairs nearer than the cut-off, each from both sides, in a shuffled order.
NeighbourList<Position> bruteForceList(const Positions& x, double cutoff) {
    std::vector<NeighbourList<Position>::List> records;
    for (std::size_t i = 0; i < x.size(); ++i) {
        for (std::size_t j = 0; j < x.size(); ++j) {
            if (i != j && distance2(x[i], x[j]) < cutoff * cutoff) {
                records.push_back(
                    {x[i], x[j], static_cast<int>(i), static_cast<int>(j), distance2(x[i], x[j])});
            }
        }
    }
    std::shuffle(records.begin(), records.end(), std::mt19937(5));
    NeighbourList<Position> list;
    for (const auto& record : records) {
        list.push_back(record);
    }
    return list;
}

/// Atoms in a box of 2 x 3 x 4 side lengths, no two nearer than half of the side.
Positions randomPositions(std::size_t n, double side, unsigned seed) {
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> unit(0.0, side);
    Positions x;
    while (x.size() < n) {
        const Position p = {2.0 * unit(engine), 3.0 * unit(engine), 4.0 * unit(engine)};
        bool free = true;
        for (const Position& other : x) {
            free = free && distance2(p, other) > 0.25 * side * side;
        }
        if (free) {
            x.push_back(p);
        }
    }
    return x;
}

cTrajectory randomTrajectory(std::size_t nAtoms, unsigned nFrames) {
    cTrajectory trajectory;
    for (unsigned f = 0; f < nFrames; ++f) {
        trajectory.appendFrame(randomPositions(nAtoms, 5.0, 40 + f));
    }
    return trajectory;
}

Vector flat(const Positions& x) {
    Vector coordinates(3 * x.size());
    for (std::size_t i = 0; i < coordinates.n_elem; ++i) {
        coordinates[i] = x[i / 3][i % 3];
    }
    return coordinates;
}

std::vector<double> randomMasses(std::size_t n, unsigned seed) {
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> mass(1.0, 35.0);
    std::vector<double> masses(n);
    for (double& m : masses) {
        m = mass(engine);
    }
    return masses;
}

std::vector<cPDBAtom> makeAtoms(const Positions& x, const std::vector<double>& masses) {
    std::vector<cPDBAtom> atoms(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
        atoms[i].m_position = cVector3(x[i].data());
        atoms[i].m_mass = static_cast<float>(masses[i]);
        atoms[i].m_index = static_cast<int>(i);
    }
    return atoms;
}

/// M^(1/2) H_stored M^(1/2), the matrix in Cartesian coordinates.
Matrix unweighted(const System& system) {
    const Matrix root = arma::diagmat(system.m_sqrtMass);
    return root * Matrix(*system.m_hessian) * root;
}

/// k/2 sum over the pairs within the cut-off of the structure x0 of (|x_i - x_j| - d_ij)^2.
double networkEnergy(const Vector& x, const Positions& x0, double cutoff, double k) {
    const auto at = [&](std::size_t i) { return Position{x[3 * i], x[3 * i + 1], x[3 * i + 2]}; };
    double energy = 0.0;
    for (std::size_t i = 0; i < x0.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (distance2(x0[i], x0[j]) < cutoff * cutoff) {
                energy +=
                    0.5 * k *
                    std::pow(std::sqrt(distance2(at(i), at(j))) - std::sqrt(distance2(x0[i], x0[j])), 2);
            }
        }
    }
    return energy;
}

TEST(System, TwoAtomsOnTheXAxisAreOneSpring) {
    const Positions x = {{0.0, 0.0, 0.0}, {5.0, 0.0, 0.0}};
    const System system(bruteForceList(x, 10.0), {1.0, 1.0}, 1.0, nullptr);
    Matrix expected(6, 6, arma::fill::zeros);
    expected(0, 0) = expected(3, 3) = 1.0;
    expected(0, 3) = expected(3, 0) = -1.0;
    EXPECT_TRUE(arma::approx_equal(Matrix(*system.m_hessian), expected, "absdiff", 0.0));
    EXPECT_EQ(system.m_nDof, 6u);
    EXPECT_EQ(system.m_springConstant, 1.0);
    EXPECT_EQ(system.m_covariance, nullptr);
}

TEST(System, PairAtExactlyTheCutoffHasNoSpring) {
    std::vector<cPDBAtom> atoms =
        makeAtoms({{0.0, 0.0, 0.0}, {5.0, 0.0, 0.0}, {10.0, 0.0, 0.0}}, {1.0, 1.0, 1.0});
    const System system(atoms, 10.0, 1.0, nullptr);
    const Matrix h(*system.m_hessian);
    EXPECT_TRUE(h.submat(0, 6, 2, 8).is_zero());
    EXPECT_EQ(h(0, 3), -1.0);
    EXPECT_EQ(h(3, 3), 2.0);
    EXPECT_EQ(h(0, 0), 1.0);
}

TEST(System, DoublingAMassScalesItsBlocks) {
    const Positions x = randomPositions(5, 4.0, 1);
    const auto list = bruteForceList(x, 50.0);
    std::vector<double> masses = randomMasses(5, 2);
    const Matrix before(*System(list, masses, 1.5, nullptr).m_hessian);
    masses[2] *= 2.0;
    const Matrix after(*System(list, masses, 1.5, nullptr).m_hessian);
    Vector scale(15, arma::fill::ones);
    scale.subvec(6, 8).fill(1.0 / std::sqrt(2.0));
    const Matrix expected = arma::diagmat(scale) * before * arma::diagmat(scale);
    EXPECT_TRUE(arma::approx_equal(after, expected, "absdiff", 1e-14 * arma::abs(before).max()));
    EXPECT_NEAR(after(6, 6), 0.5 * before(6, 6), 1e-15);
}

TEST(System, EqualsTheSecondDifferencesOfTheNetworkEnergy) {
    const Positions x0 = randomPositions(8, 3.0, 3);
    constexpr double cutoff = 10.0;
    constexpr double k = 2.5;
    const System system(bruteForceList(x0, cutoff), randomMasses(8, 4), k, nullptr);
    const Matrix h = unweighted(system);

    Vector x(24);
    for (arma::uword i = 0; i < x.n_elem; ++i) {
        x[i] = x0[i / 3][i % 3];
    }
    constexpr double step = 1e-4; // energies are of the order k step^2, exact to about 1e-15 A^2
    const auto energy = [&](arma::uword i, double di, arma::uword j, double dj) {
        Vector moved = x;
        moved[i] += di;
        moved[j] += dj;
        return networkEnergy(moved, x0, cutoff, k);
    };
    for (arma::uword i = 0; i < x.n_elem; ++i) {
        for (arma::uword j = 0; j < x.n_elem; ++j) {
            const double difference = energy(i, step, j, step) - energy(i, step, j, -step) -
                                      energy(i, -step, j, step) + energy(i, -step, j, -step);
            EXPECT_NEAR(h(i, j), difference / (4.0 * step * step), 1e-6) << i << ' ' << j;
        }
    }
}

TEST(System, MatrixIsExactlySymmetric) {
    const System system(bruteForceList(randomPositions(30, 3.0, 6), 10.0), randomMasses(30, 7), 1.1, nullptr);
    const Matrix h(*system.m_hessian);
    EXPECT_TRUE(arma::approx_equal(h, Matrix(h.t()), "absdiff", 0.0));
}

TEST(System, RowsOfTheUnweightedMatrixSumToZeroPerCoordinate) {
    const System system(bruteForceList(randomPositions(20, 3.0, 8), 10.0), randomMasses(20, 9), 1.0, nullptr);
    const Matrix h = unweighted(system);
    for (arma::uword row = 0; row < h.n_rows; ++row) {
        for (arma::uword c = 0; c < 3; ++c) {
            double sum = 0.0;
            for (arma::uword a = 0; a < 20; ++a) {
                sum += h(row, 3 * a + c);
            }
            EXPECT_NEAR(sum, 0.0, 1e-12);
        }
    }
}

TEST(System, NullSpaceOfAConnectedNetworkIsTheSixRigidMotions) {
    const Positions x = randomPositions(25, 3.0, 10);
    const System system(bruteForceList(x, 10.0), randomMasses(25, 11), 1.0, nullptr);
    const Matrix h(*system.m_hessian);
    Matrix rigid(75, 6, arma::fill::zeros);
    for (arma::uword a = 0; a < 25; ++a) {
        const Position& p = x[a];
        for (arma::uword c = 0; c < 3; ++c) {
            rigid(3 * a + c, c) = 1.0;
        }
        rigid.submat(3 * a, 3, 3 * a + 2, 5) =
            Matrix{{0.0, p[2], -p[1]}, {-p[2], 0.0, p[0]}, {p[1], -p[0], 0.0}};
    }
    rigid.each_col() %= system.m_sqrtMass;
    EXPECT_LT(arma::abs(h * rigid).max(), 1e-12 * arma::abs(rigid).max());

    const Vector eigenvalues = arma::eig_sym(h);
    EXPECT_LT(std::abs(eigenvalues[5]), 1e-12);
    EXPECT_GT(eigenvalues[6], 1e-4);
}

TEST(System, NoAtomsGiveAnEmptyMatrix) {
    const System system(NeighbourList<Position>(), {}, 1.0, nullptr);
    EXPECT_EQ(system.m_hessian->n_rows, 0u);
    EXPECT_EQ(system.m_hessian->n_cols, 0u);
    EXPECT_EQ(system.m_nDof, 0u);
}

TEST(System, MassVectorsRepeatTheMassOverTheThreeCoordinates) {
    const Positions x = {{0.0, 0.0, 0.0}, {1.0, 2.0, 3.0}};
    const System system(bruteForceList(x, 10.0), {4.0, 12.011}, 1.0, nullptr);
    for (arma::uword c = 0; c < 3; ++c) {
        EXPECT_EQ(system.m_mass[c], 4.0);
        EXPECT_EQ(system.m_sqrtMass[c], 2.0);
        EXPECT_EQ(system.m_isqrtMass[c], 0.5);
        EXPECT_EQ(system.m_mass[3 + c], 12.011);
        EXPECT_EQ(system.m_isqrtMass[3 + c], 1.0 / std::sqrt(12.011));
    }
}

TEST(System, MassesOfAtomsHaveSinglePrecisionRoots) {
    // Seen to fail with the root in double precision.
    std::vector<cPDBAtom> atoms = makeAtoms({{0.0, 0.0, 0.0}, {1.0, 2.0, 3.0}}, {12.0107, 14.0067});
    const System system(atoms, 10.0, 1.0, nullptr);
    EXPECT_EQ(system.m_mass[0], static_cast<double>(12.0107f));
    EXPECT_EQ(system.m_isqrtMass[0], 1.0 / static_cast<double>(std::sqrt(12.0107f)));
    EXPECT_NE(system.m_isqrtMass[0], 1.0 / std::sqrt(static_cast<double>(12.0107f)));
    EXPECT_EQ(system.m_sqrtMass[0], std::sqrt(static_cast<double>(12.0107f)));
}

TEST(System, AtomsGiveTheMatrixOfTheirBruteForceList) {
    const Positions x = randomPositions(60, 4.0, 12);
    std::vector<cPDBAtom> atoms = makeAtoms(x, std::vector<double>(60, 4.0)); // a root that is exact
    const System fromAtoms(atoms, 9.0, 1.0, nullptr);
    const System fromList(bruteForceList(x, 9.0), std::vector<double>(60, 4.0), 1.0, nullptr);
    EXPECT_TRUE(
        arma::approx_equal(Matrix(*fromAtoms.m_hessian), Matrix(*fromList.m_hessian), "absdiff", 1e-13));
}

TEST(System, MatrixWorksInSparseProducts) {
    const System system(bruteForceList(randomPositions(12, 3.0, 13), 10.0), randomMasses(12, 14), 1.0,
                        nullptr);
    const Vector v(36, arma::fill::ones);
    EXPECT_LT(arma::norm(*system.m_hessian * v - Matrix(*system.m_hessian) * v), 1e-13);
    EXPECT_EQ(arma::SpMat<double>(system.m_hessian->t()).n_nonzero, system.m_hessian->n_nonzero);
}

TEST(System, ReportsTheMemoryOfLocationsAndValues) {
    cInfo info(80);
    testing::internal::CaptureStdout();
    const System system(bruteForceList({{0.0, 0.0, 0.0}, {1.0, 2.0, 3.0}}, 10.0), {1.0, 1.0}, 1.0, &info);
    std::fflush(stdout);
    const std::string out = testing::internal::GetCapturedStdout();
    // 2 records and 2 diagonal blocks of 9 entries, 24 bytes each
    EXPECT_EQ(out,
              " Memory required for the Hessian matrix" + std::string(80 - 39, '.') + " : 0.000823975 Mb\n");
}

TEST(System, AtomsAtOnePositionHaveAZeroBlockAndAreNeighbours) {
    const Positions x = {{1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}};
    const System system(bruteForceList(x, 10.0), {1.0, 1.0}, 1.0, nullptr); // neither ends as lonely
    EXPECT_TRUE(Matrix(*system.m_hessian).is_zero());
}

TEST(System, AtomsAtOnePositionLeaveTheOtherSpringsFinite) {
    const Positions x = {{0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}};
    const System system(bruteForceList(x, 10.0), std::vector<double>(4, 1.0), 1.0, nullptr);
    EXPECT_TRUE(system.m_hessian->is_finite());
    EXPECT_NEAR((*system.m_hessian)(0, 0), 1.0, 1e-15); // three springs along the diagonal, a third each
}

TEST(System, ImpossibleRecordsAreErrors) {
    const Position p = {0.0, 0.0, 0.0};
    const Position q = {1.0, 0.0, 0.0};
    const auto build = [](std::initializer_list<NeighbourList<Position>::List> records) {
        NeighbourList<Position> list;
        for (const auto& record : records) {
            list.push_back(record);
        }
        const System system(list, {1.0, 1.0}, 1.0, nullptr);
    };
    EXPECT_THROW(build({{p, q, 0, 2, 1.0}}), std::out_of_range);
    EXPECT_THROW(build({{p, q, -1, 1, 1.0}}), std::out_of_range);
    EXPECT_THROW(build({{p, q, 0, 1, 1.0}, {q, p, 1, 0, 1.0}, {p, q, 0, 1, 1.0}}), std::logic_error);
    EXPECT_THROW(build({{p, q, 0, 0, 1.0}, {q, p, 1, 0, 1.0}}), std::logic_error);
}

TEST(System, MassesOfAnotherNumberOfAtomsAreAnError) {
    const auto list = bruteForceList({{0.0, 0.0, 0.0}, {1.0, 2.0, 3.0}}, 10.0);
    System system(list, {1.0, 1.0}, 1.0, nullptr);
    EXPECT_THROW(system.buildMassWeightedStiffnessMatrix(list, 3), std::length_error);
}

TEST(System, TrajectoryGivesMassesAndCovarianceAlone) {
    cTrajectory trajectory = randomTrajectory(4, 7);
    const std::vector<double> masses = randomMasses(4, 3);
    const System system(&trajectory, masses, nullptr);
    EXPECT_EQ(system.m_nDof, 12u);
    EXPECT_EQ(system.m_hessian, nullptr);
    EXPECT_EQ(system.m_springConstant, 0.0);
    EXPECT_EQ(system.m_info, nullptr);
    EXPECT_EQ(system.m_covariance, trajectory.getCovariance(masses).get());
    ASSERT_EQ(system.m_mass.n_elem, 12u);
    EXPECT_EQ(system.m_mass[7], masses[2]);
    EXPECT_EQ(system.m_sqrtMass[7], std::sqrt(masses[2]));
    EXPECT_EQ(system.m_isqrtMass[7], 1.0 / std::sqrt(masses[2]));
}

// P^T C P and the sum of p p^T over the projected frames are one matrix, so their modes are the same.
TEST(System, CovarianceOfATrajectoryIsThatOfItsFramesWithTheMassesOfTheSystem) {
    cTrajectory trajectory = randomTrajectory(4, 7);
    const System system(&trajectory, randomMasses(4, 3), nullptr);
    const Vector average = flat(trajectory.getAverageFrame());
    Matrix sum(12, 12, arma::fill::zeros);
    for (std::size_t f = 0; f < 7; ++f) {
        const Vector p = (flat(trajectory.getFrame(f)) - average) / (std::sqrt(7.0) * system.m_isqrtMass);
        sum += p * p.t();
    }
    EXPECT_LT(arma::abs(sum - *system.m_covariance).max(), 1e-13 * arma::abs(sum).max());
}

TEST(System, CovarianceOutlivesTheTrajectory) {
    auto trajectory = std::make_unique<cTrajectory>(randomTrajectory(4, 7));
    const System system(trajectory.get(), randomMasses(4, 3), nullptr);
    const Matrix before = *system.m_covariance;
    trajectory->appendFrame(Positions(4));
    EXPECT_NE(trajectory->getCovariance(randomMasses(4, 3)).get(), system.m_covariance);
    trajectory.reset();
    EXPECT_EQ(arma::abs(*system.m_covariance - before).max(), 0.0);
}

TEST(System, UnfitTrajectoriesAreErrors) {
    cTrajectory trajectory = randomTrajectory(4, 7);
    cTrajectory empty;
    EXPECT_THROW(System(&trajectory, randomMasses(5, 3), nullptr), std::length_error);
    EXPECT_THROW(System(&empty, {}, nullptr), std::logic_error);
    EXPECT_THROW(System(nullptr, randomMasses(4, 3), nullptr), std::invalid_argument);
}

TEST(System, CannotBeChangedThroughAConstOne) {
    using Const = const System&;
    EXPECT_TRUE((std::is_same_v<decltype(*std::declval<Const>().m_hessian), const arma::SpMat<double>&>));
    EXPECT_TRUE((std::is_same_v<decltype(*std::declval<Const>().m_covariance), const arma::Mat<double>&>));
    EXPECT_FALSE((std::is_assignable_v<decltype((std::declval<System&>().m_nDof)), unsigned int>));
    EXPECT_FALSE((std::is_assignable_v<decltype((std::declval<System&>().m_springConstant)), double>));
}

// Atom 2 of 4 is out of reach; the first two and the last have 3 records x 2 sides + 3 diagonal blocks.
const Positions withALonelyAtom = {{0.0, 0.0, 0.0}, {4.0, 0.0, 0.0}, {50.0, 0.0, 0.0}, {0.0, 4.0, 0.0}};

TEST(SystemDeathTest, AtomWithoutNeighboursEndsWithStatusZeroAndIsNamed) {
    // Seen to fail with a status other than 0.
    EXPECT_EXIT(System(bruteForceList(withALonelyAtom, 10.0), {1.0, 1.0, 1.0, 1.0}, 1.0, nullptr),
                testing::ExitedWithCode(0), "^atom 2 .*cut-off");
}

TEST(SystemDeathTest, AtomWithoutNeighboursIsReportedByTheCountOfValues) {
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            cInfo info(80);
            System(bruteForceList(withALonelyAtom, 10.0), {1.0, 1.0, 1.0, 1.0}, 1.0, &info);
        },
        testing::ExitedWithCode(0), "Error : Hessian contains only\\.+ : 81 values\n");
}

TEST(SystemDeathTest, SingleAtomHasNoNeighbours) {
    std::vector<cPDBAtom> atoms = makeAtoms({{0.0, 0.0, 0.0}}, {12.0});
    EXPECT_EXIT(System(atoms, 10.0, 1.0, nullptr), testing::ExitedWithCode(0), "^atom 0 ");
}

} // namespace
