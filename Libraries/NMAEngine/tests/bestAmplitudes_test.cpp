// SPDX-License-Identifier: GPL-3.0-or-later
// Amplitudes that lead from one structure to another.
#include <cmath>
#include <cstdio>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Math/structure.h"
#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "modeScene.h"

namespace {

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;
using Atoms = std::vector<cPDBAtom>;
using AtomList = std::vector<unsigned int>;

const Vector known = {3.0, -1.5, 0.25, 8.0, 0.0, -4.0};

/// What computeBestAmplitudes gives.
struct Fit {
    Fit(const ModeScene& scene, int nModes, const Atoms& to, AtomList* atomList) {
        testing::internal::CaptureStdout();
        scene.engine.computeBestAmplitudes(nModes, scene.atoms, to, amplitudes, before, after, atomList);
        std::fflush(stdout);
        printed = testing::internal::GetCapturedStdout();
    }
    std::vector<double> amplitudes;
    double before = -1.0;
    double after = -1.0;
    std::string printed;
};

double totalMass(const ModeScene& scene) {
    return std::accumulate(scene.model.masses.begin(), scene.model.masses.end(), 0.0);
}

TEST(BestAmplitudes, KnownAmplitudesComeBack) {
    const ModeScene scene(61);
    const Fit fit(scene, ModeScene::nModes, scene.displaced(known), nullptr);
    EXPECT_LT(arma::norm(Vector(fit.amplitudes) - known), 1e-11);
    // The norm of the amplitudes is that of the mass-weighted displacement.
    EXPECT_NEAR(fit.before, arma::norm(known) / std::sqrt(totalMass(scene)), 1e-12);
    EXPECT_LT(fit.after, 1e-7); // the root of a difference that is 0 but for rounding
}

TEST(BestAmplitudes, KnownAmplitudesComeBackFromAFewAtoms) {
    const ModeScene scene(62);
    AtomList list = {3, 40, 11, 90, 119};
    const Fit fit(scene, ModeScene::nModes, scene.displaced(known), &list);
    EXPECT_LT(arma::norm(Vector(fit.amplitudes) - known), 1e-9);
    const Vector displacement = scene.engine.getDisplacement(known);
    double mass = 0.0;
    double sum = 0.0;
    for (const unsigned int atom : list) {
        mass += scene.model.masses[atom];
        sum += scene.model.masses[atom] * arma::dot(displacement.subvec(3 * atom, 3 * atom + 2),
                                                    displacement.subvec(3 * atom, 3 * atom + 2));
    }
    EXPECT_NEAR(fit.before, std::sqrt(sum / mass), 1e-12);
    EXPECT_LT(fit.after, 1e-7);
}

TEST(BestAmplitudes, OtherAtomsOfTheTargetDoNotEnter) {
    const ModeScene scene(62);
    AtomList list = {3, 40, 11, 90, 119};
    Atoms to = scene.displaced(known);
    to[50].m_position += cVector3(100.0);
    EXPECT_LT(arma::norm(Vector(Fit(scene, ModeScene::nModes, to, &list).amplitudes) - known), 1e-9);
}

TEST(BestAmplitudes, PartAcrossTheModesRemains) {
    const ModeScene scene(63);
    Vector across(3 * scene.atoms.size(), arma::fill::randn); // mass-weighted
    Matrix basis = scene.engine.m_modes;
    basis.each_col() %= scene.engine.m_system->m_sqrtMass;
    across -= basis * (basis.t() * across);
    Atoms to = scene.displaced(known);
    for (std::size_t i = 0; i < to.size(); ++i) {
        to[i].m_position += cVector3(across.memptr() + 3 * i) / std::sqrt(scene.model.masses[i]);
    }
    const Fit fit(scene, ModeScene::nModes, to, nullptr);
    EXPECT_LT(arma::norm(Vector(fit.amplitudes) - known), 1e-11);
    EXPECT_NEAR(fit.after, arma::norm(across) / std::sqrt(totalMass(scene)), 1e-11);
}

TEST(BestAmplitudes, FewerModesTakeTheFirstAndMoreThanThereAreTakeAll) {
    const ModeScene scene(64);
    const Atoms to = scene.displaced(known);
    const Fit two(scene, 2, to, nullptr);
    ASSERT_EQ(two.amplitudes.size(), 2u);
    EXPECT_NEAR(two.amplitudes[1], known[1], 1e-11);
    EXPECT_NEAR(two.after, arma::norm(known.tail(4)) / std::sqrt(totalMass(scene)), 1e-11);
    EXPECT_EQ(Fit(scene, 100, to, nullptr).amplitudes.size(), ModeScene::nModes);
    for (const int none : {0, -3}) {
        const Fit fit(scene, none, to, nullptr);
        EXPECT_TRUE(fit.amplitudes.empty());
        EXPECT_DOUBLE_EQ(fit.after, fit.before);
    }
}

TEST(BestAmplitudes, TooFewAtomsGiveTheShortestAmplitudesThatBringThemThere) {
    const ModeScene scene(65);
    AtomList list = {17}; // three equations for six amplitudes
    const Fit fit(scene, ModeScene::nModes, scene.displaced(known), &list);
    const Vector found(fit.amplitudes);
    EXPECT_LT(arma::norm(scene.engine.getModesMatrix(17) * (found - known)), 1e-9);
    EXPECT_LT(arma::norm(found - arma::pinv(scene.engine.getModesMatrix(17)) *
                                     (scene.engine.getModesMatrix(17) * known)),
              1e-9);
}

TEST(BestAmplitudes, EmptyListGivesZeros) {
    const ModeScene scene(65);
    AtomList list;
    const Fit fit(scene, 2, scene.displaced(known), &list);
    EXPECT_EQ(fit.amplitudes, std::vector<double>(2, 0.0));
    EXPECT_EQ(fit.before, 0.0);
    EXPECT_EQ(fit.after, 0.0);
}

TEST(BestAmplitudes, PrintsDeviationsAndAmplitudesInTwelveColumns) {
    const ModeScene scene(66);
    const Fit fit(scene, 3, scene.displaced(known), nullptr);
    char expected[100];
    std::snprintf(expected, sizeof expected, "%12.6f%12.6f%12.6f%12.6f%12.6f\n", fit.before, fit.after,
                  fit.amplitudes[0], fit.amplitudes[1], fit.amplitudes[2]);
    EXPECT_EQ(fit.printed, expected);
}

TEST(BestAmplitudes, SizesThatDoNotMatchAreAnError) {
    const ModeScene scene(67);
    std::vector<double> amplitudes;
    double before = 0.0;
    double after = 0.0;
    const auto fit = [&](const Atoms& from, const Atoms& to, AtomList* list) {
        scene.engine.computeBestAmplitudes(2, from, to, amplitudes, before, after, list);
    };
    EXPECT_THROW(fit(Atoms(3), scene.atoms, nullptr), std::length_error);
    EXPECT_THROW(fit(scene.atoms, Atoms(3), nullptr), std::length_error);
    AtomList list = {5, static_cast<unsigned int>(scene.atoms.size())};
    EXPECT_THROW(fit(scene.atoms, scene.atoms, &list), std::out_of_range);
}

} // namespace
