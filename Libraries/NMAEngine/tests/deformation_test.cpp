// SPDX-License-Identifier: GPL-3.0-or-later
// Finite deformations along modes.
#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Math/cMatrix33.h"
#include "Math/pi.h"
#include "Math/structure.h"
#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/NeighbourList.h"
#include "modeScene.h"
#include "velocityField.h"

namespace {

using Vector = arma::Col<double>;
using Atoms = std::vector<cPDBAtom>;

constexpr double angstrom = 1e-9; // precision asked of a rigid motion, in angstrom
// A linear step isn't quite a rigid motion: the turn that fits it best is off by a share of the order of its
// own angle, which is 1e-4 angstrom over the size of the moving body.
constexpr double superposition = 1e-4; // angstrom, of motions by some angstrom

/// A way to move atoms along modes.
struct Form {
    std::string name;
    std::function<Atoms(const NormalModeEngine&, const std::vector<double>&, const Atoms&)> apply;
};

/// Positions in an array, laid over a copy of the atoms.
template <typename Apply>
Atoms viaArray(const Atoms& atoms, Apply apply) {
    std::vector<cVector3> positions(atoms.size(), cVector3(0.0));
    apply(positions.data());
    Atoms out = atoms;
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i].m_position = positions[i];
    }
    return out;
}

/// The forms for several modes at once.
std::vector<Form> formsOfSeveralModes() {
    using E = NormalModeEngine;
    using A = std::vector<double>;
    return {{"several modes, array",
             [](const E& e, const A& a, const Atoms& in) {
                 return viaArray(in, [&](cVector3* out) { e.applyNonLinearTransformation(a, out, in); });
             }},
            {"several modes, atoms",
             [](const E& e, const A& a, const Atoms& in) {
                 Atoms out;
                 e.applyNonLinearTransformation(a, out, in);
                 return out;
             }},
            {"large, several modes",
             [](const E& e, const A& a, const Atoms& in) {
                 Atoms out;
                 e.applyLargeNonLinearTransformation(a, out, in);
                 return out;
             }},
            {"superposition", [](const E& e, const A& a, const Atoms& in) {
                 Atoms out;
                 e.applyNonLinearTransformation(Vector(a), out, in);
                 return out;
             }}};
}

/// The forms for one mode, which is number 2 here.
constexpr int oneMode = 2;
std::vector<Form> formsOfOneMode() {
    using E = NormalModeEngine;
    using A = std::vector<double>;
    return {{"one mode, array",
             [](const E& e, const A& a, const Atoms& in) {
                 return viaArray(in, [&](cVector3* out) {
                     e.applyNonLinearTransformation(oneMode, a[oneMode], out, in);
                 });
             }},
            {"one mode, atoms",
             [](const E& e, const A& a, const Atoms& in) {
                 Atoms out;
                 e.applyNonLinearTransformation(oneMode, a[oneMode], out, in);
                 return out;
             }},
            {"large, one mode", [](const E& e, const A& a, const Atoms& in) {
                 return viaArray(in, [&](cVector3* out) {
                     e.applyLargeNonLinearTransformation(oneMode, a[oneMode], out, in);
                 });
             }}};
}

std::vector<Form> allForms() {
    std::vector<Form> forms = formsOfOneMode();
    for (const Form& form : formsOfSeveralModes()) {
        forms.push_back(form);
    }
    return forms;
}

/// Amplitudes of one mode.
std::vector<double> along(int mode, double amplitude) {
    std::vector<double> amplitudes(ModeScene::nModes, 0.0);
    amplitudes[static_cast<std::size_t>(mode)] = amplitude;
    return amplitudes;
}

/// Some of each mode, norm 1.
std::vector<double> mixture() {
    return {0.5, -0.5, 0.1, 0.1, -0.4, std::sqrt(0.32)};
}

std::vector<double> scaled(std::vector<double> amplitudes, double factor) {
    for (double& a : amplitudes) {
        a *= factor;
    }
    return amplitudes;
}

double largestDistance(const Atoms& a, const Atoms& b) {
    double largest = a.size() == b.size() ? 0.0 : 1e300;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        largest = std::max(largest, (a[i].m_position - b[i].m_position).norm());
    }
    return largest;
}

/// The amplitude of a mode at which the fastest block turns by the angle.
double amplitudeOfTurn(const NormalModeEngine& engine, int mode, double angle) {
    double fastest = 0.0;
    for (const auto& perMode : engine.m_blockRotations) {
        fastest = std::max(fastest, perMode[static_cast<std::size_t>(mode)].norm());
    }
    return angle / fastest;
}

TEST(NonLinearTransformation, AmplitudeZeroCopiesThePositionsToTheBit) {
    const ModeScene scene(41);
    for (const Form& form : allForms()) {
        const Atoms out = form.apply(scene.engine, along(oneMode, 0.0), scene.atoms);
        ASSERT_EQ(out.size(), scene.atoms.size());
        for (std::size_t i = 0; i < out.size(); ++i) {
            EXPECT_EQ(out[i].m_position, scene.atoms[i].m_position) << form.name;
        }
    }
}

TEST(NonLinearTransformation, AmplitudeBelowTheFloorCopiesThePositionsOfUnlistedAtomsToo) {
    ModeScene scene(41);
    scene.engine.m_blockAtoms.clear();
    for (const Form& form : allForms()) {
        EXPECT_EQ(
            largestDistance(form.apply(scene.engine, along(oneMode, -0.9e-11), scene.atoms), scene.atoms),
            0.0)
            << form.name;
    }
}

TEST(NonLinearTransformation, EveryFormAgreesWithTheLinearDisplacementToFirstOrder) {
    const ModeScene scene(42);
    for (const Form& form : allForms()) {
        const auto deviation = [&](double amplitude) {
            const std::vector<double> amplitudes = along(oneMode, amplitude);
            return largestDistance(form.apply(scene.engine, amplitudes, scene.atoms),
                                   scene.displaced(Vector(amplitudes)));
        };
        // Half the amplitude leaves a quarter of the deviation, which is of second order.
        const double amplitude = amplitudeOfTurn(scene.engine, oneMode, 0.02);
        for (const double a : {amplitude, -amplitude}) {
            EXPECT_GT(deviation(a), 1e-5) << form.name;
            EXPECT_LT(deviation(a), 2e-3) << form.name;
            EXPECT_NEAR(deviation(a) / deviation(a / 2), 4.0, 0.1) << form.name;
        }
    }
}

TEST(NonLinearTransformation, SeveralModesAgreeWithTheLinearDisplacementToFirstOrder) {
    const ModeScene scene(43);
    for (const Form& form : formsOfSeveralModes()) {
        const auto deviation = [&](double amplitude) {
            const std::vector<double> amplitudes = scaled(mixture(), amplitude);
            return largestDistance(form.apply(scene.engine, amplitudes, scene.atoms),
                                   scene.displaced(Vector(amplitudes)));
        };
        EXPECT_LT(deviation(2.0), 2e-2) << form.name;
        EXPECT_NEAR(deviation(2.0) / deviation(1.0), 4.0, 0.1) << form.name;
    }
}

TEST(NonLinearTransformation, BlocksStayRigidAtLargeAmplitudes) {
    const ModeScene scene(44);
    for (const double angle : {0.3, 2.0, 40.0}) {
        const double amplitude = amplitudeOfTurn(scene.engine, oneMode, angle);
        for (const Form& form : allForms()) {
            const Atoms out =
                form.apply(scene.engine, scaled({0.5, 0.2, 1.0, 0.0, -0.3, 0.1}, amplitude), scene.atoms);
            EXPECT_GT(largestDistance(out, scene.atoms), 0.5) << form.name;
            for (const std::list<int>& block : scene.engine.m_blockAtoms) {
                for (const int a : block) {
                    for (const int b : block) {
                        const auto i = static_cast<std::size_t>(a);
                        const auto j = static_cast<std::size_t>(b);
                        EXPECT_NEAR((out[i].m_position - out[j].m_position).norm(),
                                    (scene.atoms[i].m_position - scene.atoms[j].m_position).norm(), angstrom)
                            << form.name;
                    }
                }
            }
        }
    }
}

TEST(NonLinearTransformation, FollowsTheVelocityFieldOfEachBlockExactly) {
    const ModeScene scene(45);
    const std::vector<double> amplitudes = scaled(mixture(), amplitudeOfTurn(scene.engine, 0, 3.0));
    Atoms out;
    scene.engine.applyNonLinearTransformation(amplitudes, out, scene.atoms);
    double largestTurn = 0.0;
    for (std::size_t b = 0; b < BlockModel::nBlocks; ++b) {
        VelocityField field = {cVector3(scene.engine.m_blockCenters[b].data()), cVector3(0.0), cVector3(0.0)};
        for (std::size_t m = 0; m < amplitudes.size(); ++m) {
            field.turn += scene.engine.m_blockRotations[b][m] * amplitudes[m];
            field.travel += scene.engine.m_blockTranslations[b][m] * amplitudes[m];
        }
        largestTurn = std::max(largestTurn, field.turn.norm());
        for (const int atom : scene.engine.m_blockAtoms[b]) {
            const auto a = static_cast<std::size_t>(atom);
            EXPECT_LT((out[a].m_position - field.carry(scene.atoms[a].m_position)).norm(), angstrom);
        }
    }
    EXPECT_GT(largestTurn, 1.0);
}

TEST(NonLinearTransformation, ArrayAndAtomsAndOneModeAmongSeveralAreTheSame) {
    const ModeScene scene(46);
    for (const double amplitude : {-7.0, 0.3, 60.0}) {
        const std::vector<double> amplitudes = along(oneMode, amplitude);
        const std::vector<Form> one = formsOfOneMode();
        const std::vector<Form> several = formsOfSeveralModes();
        const Atoms plain = one[0].apply(scene.engine, amplitudes, scene.atoms);
        EXPECT_EQ(largestDistance(one[1].apply(scene.engine, amplitudes, scene.atoms), plain), 0.0);
        EXPECT_LT(largestDistance(several[0].apply(scene.engine, amplitudes, scene.atoms), plain), 1e-12);
        EXPECT_LT(largestDistance(several[1].apply(scene.engine, amplitudes, scene.atoms), plain), 1e-12);
        EXPECT_LT(largestDistance(several[2].apply(scene.engine, amplitudes, scene.atoms),
                                  one[2].apply(scene.engine, amplitudes, scene.atoms)),
                  1e-12);
    }
}

TEST(NonLinearTransformation, BlockWithoutRotationTranslatesByAmplitudeTimesTranslation) {
    ModeScene scene(47);
    constexpr std::size_t still = 7;
    for (cVector3& w : scene.engine.m_blockRotations[still]) {
        w = cVector3(0.0);
    }
    const double amplitude = 25.0;
    const cVector3 shift = scene.engine.m_blockTranslations[still][oneMode] * amplitude;
    for (const Form& form : allForms()) {
        if (form.name == "superposition") { // doesn't read the stored motions
            continue;
        }
        const Atoms out = form.apply(scene.engine, along(oneMode, amplitude), scene.atoms);
        for (const int atom : scene.engine.m_blockAtoms[still]) {
            const auto a = static_cast<std::size_t>(atom);
            EXPECT_EQ(out[a].m_position, scene.atoms[a].m_position + shift) << form.name;
        }
    }
}

TEST(NonLinearTransformation, FullTurnWithoutTravelAlongTheAxisReturnsTheBlock) {
    ModeScene scene(48);
    constexpr std::size_t b = 5;
    const cVector3 w = scene.engine.m_blockRotations[b][oneMode];
    cVector3& t = scene.engine.m_blockTranslations[b][oneMode];
    t -= w * ((t | w) / w.norm2());
    for (const double turns : {1.0, -1.0, 2.0, 1000.0}) {
        std::vector<cVector3> out(scene.atoms.size(), cVector3(0.0));
        scene.engine.applyNonLinearTransformation(oneMode, turns * 2.0 * pi / w.norm(), out.data(),
                                                  scene.atoms);
        for (const int atom : scene.engine.m_blockAtoms[b]) {
            const auto a = static_cast<std::size_t>(atom);
            EXPECT_LT((out[a] - scene.atoms[a].m_position).norm(), std::fabs(turns) * 1e-13);
        }
    }
}

TEST(NonLinearTransformation, ModeOutsideTheRangeAndUnloadedBlocksWriteNothing) {
    ModeScene scene(49);
    const cVector3 mark(1e3, 2e3, 3e3);
    const auto isUntouched = [&](auto apply) {
        std::vector<cVector3> out(scene.atoms.size(), mark);
        apply(out.data());
        return std::all_of(out.begin(), out.end(), [&](const cVector3& p) { return p == mark; });
    };
    for (const int mode : {-1, static_cast<int>(ModeScene::nModes)}) {
        EXPECT_TRUE(isUntouched(
            [&](cVector3* out) { scene.engine.applyNonLinearTransformation(mode, 1.0, out, scene.atoms); }));
        EXPECT_TRUE(isUntouched([&](cVector3* out) {
            scene.engine.applyLargeNonLinearTransformation(mode, 1.0, out, scene.atoms);
        }));
        Atoms out;
        scene.engine.applyNonLinearTransformation(mode, 1.0, out, scene.atoms);
        EXPECT_EQ(largestDistance(out, scene.atoms), 0.0);
    }
    scene.engine.m_blockAtoms.clear();
    EXPECT_TRUE(isUntouched(
        [&](cVector3* out) { scene.engine.applyNonLinearTransformation(0, 1.0, out, scene.atoms); }));
    EXPECT_TRUE(isUntouched(
        [&](cVector3* out) { scene.engine.applyNonLinearTransformation(mixture(), out, scene.atoms); }));
    for (const Form& form : formsOfSeveralModes()) {
        if (form.name == "several modes, array") {
            continue;
        }
        EXPECT_EQ(largestDistance(form.apply(scene.engine, mixture(), scene.atoms), scene.atoms), 0.0);
    }
}

TEST(NonLinearTransformation, AtomsOfUnlistedBlocksKeepWhatTheArrayHad) {
    ModeScene scene(49);
    scene.engine.m_blockAtoms[3].clear();
    const cVector3 mark(1e3, 2e3, 3e3);
    std::vector<cVector3> out(scene.atoms.size(), mark);
    scene.engine.applyNonLinearTransformation(mixture(), out.data(), scene.atoms);
    for (std::size_t a = 0; a < out.size(); ++a) {
        EXPECT_EQ(out[a] == mark, scene.model.blockIds[a] == 3) << a;
    }
}

TEST(NonLinearTransformation, AtomsOfUnlistedBlocksStayWhereTheOutputHadThem) {
    ModeScene scene(49);
    scene.engine.m_blockAtoms[3].clear();
    const cVector3 mark(1e3, 2e3, 3e3);
    const NormalModeEngine& engine = scene.engine;
    const auto expectMarks = [&](const std::string& name, const std::function<void(Atoms&)>& apply) {
        Atoms out = scene.atoms;
        for (cPDBAtom& atom : out) {
            atom.m_position = mark;
            atom.m_serial = -1;
        }
        apply(out);
        for (std::size_t a = 0; a < out.size(); ++a) {
            EXPECT_EQ(out[a].m_position == mark, scene.model.blockIds[a] == 3) << name << ", atom " << a;
            EXPECT_EQ(out[a].m_serial, scene.atoms[a].m_serial) << name << ", atom " << a;
        }
    };
    expectMarks("one mode",
                [&](Atoms& out) { engine.applyNonLinearTransformation(oneMode, 3.0, out, scene.atoms); });
    expectMarks("several modes",
                [&](Atoms& out) { engine.applyNonLinearTransformation(mixture(), out, scene.atoms); });
    expectMarks("large",
                [&](Atoms& out) { engine.applyLargeNonLinearTransformation(mixture(), out, scene.atoms); });
    expectMarks("superposition", [&](Atoms& out) {
        engine.applyNonLinearTransformation(Vector(mixture()), out, scene.atoms);
    });
}

TEST(NonLinearTransformation, NoAmplitudeBringsEveryAtomOfTheOutputToItsInput) {
    ModeScene scene(41);
    scene.engine.m_blockAtoms.clear();
    Atoms out = scene.atoms;
    out[5].m_position = cVector3(1e3);
    const std::vector<double> none(ModeScene::nModes, 0.0);
    scene.engine.applyNonLinearTransformation(Vector(none), out, scene.atoms);
    EXPECT_EQ(largestDistance(out, scene.atoms), 0.0);
}

TEST(NonLinearTransformation, AmplitudesBeyondTheLastModeMoveNothing) {
    const ModeScene scene(49);
    std::vector<double> tooMany = mixture();
    tooMany.resize(ModeScene::nModes + 5, 0.0);
    Atoms expected;
    Atoms found;
    scene.engine.applyNonLinearTransformation(mixture(), expected, scene.atoms);
    tooMany.back() = 100.0;
    scene.engine.applyNonLinearTransformation(tooMany, found, scene.atoms);
    EXPECT_EQ(largestDistance(found, expected), 0.0);
}

TEST(NonLinearTransformation, AnEngineWithoutModesMovesNothing) {
    const ModeScene scene(49);
    NormalModeEngine empty(3u);
    empty.loadCAlphaId2AtomId(scene.model.blockIds);
    Atoms out;
    empty.applyNonLinearTransformation(1, 5.0, out, scene.atoms);
    EXPECT_EQ(largestDistance(out, scene.atoms), 0.0);
    empty.applyLargeNonLinearTransformation(mixture(), out, scene.atoms);
    EXPECT_EQ(largestDistance(out, scene.atoms), 0.0);
}

TEST(NonLinearTransformation, OutputKeepsTheRecordsAndMayBeTheInput) {
    const ModeScene scene(50);
    for (const Form& form : formsOfSeveralModes()) {
        const Atoms out = form.apply(scene.engine, mixture(), scene.atoms);
        EXPECT_EQ(out[17].m_serial, scene.atoms[17].m_serial);
    }
    const Vector amplitudes(mixture());
    Atoms expected;
    scene.engine.applyNonLinearTransformation(amplitudes, expected, scene.atoms);
    Atoms inPlace = scene.atoms;
    scene.engine.applyNonLinearTransformation(amplitudes, inPlace, inPlace);
    EXPECT_EQ(largestDistance(inPlace, expected), 0.0);
    scene.engine.applyLargeNonLinearTransformation(mixture(), expected, scene.atoms);
    inPlace = scene.atoms;
    scene.engine.applyLargeNonLinearTransformation(mixture(), inPlace, inPlace);
    EXPECT_EQ(largestDistance(inPlace, expected), 0.0);
}

TEST(NonLinearTransformation, TooFewAtomsAreAnError) {
    const ModeScene scene(50);
    const Atoms few(scene.atoms.begin(), scene.atoms.end() - 1);
    for (const Form& form : allForms()) {
        EXPECT_THROW(form.apply(scene.engine, along(oneMode, 1.0), few), std::logic_error) << form.name;
    }
}

TEST(LargeNonLinearTransformation, CentreOfMassOfEveryBlockTravelsByExactlyTheTranslation) {
    const ModeScene scene(51);
    std::vector<double> angles;
    for (int i = 1; i <= 40; ++i) {
        angles.push_back(0.37 * i);
    }
    for (const double offset : {-1e-3, -1e-9, 0.0, 1e-9, 1e-3}) {
        angles.push_back(2.0 * pi + offset);
    }
    for (const double angle : angles) {
        for (const std::size_t b : {std::size_t{0}, std::size_t{13}}) {
            const double amplitude = angle / scene.engine.m_blockRotations[b][oneMode].norm();
            for (const Form& form : {formsOfOneMode()[2], formsOfSeveralModes()[2]}) {
                const Atoms out = form.apply(scene.engine, along(oneMode, amplitude), scene.atoms);
                cVector3 travel(0.0);
                for (const int atom : scene.engine.m_blockAtoms[b]) {
                    const auto a = static_cast<std::size_t>(atom);
                    travel += (out[a].m_position - scene.atoms[a].m_position) *
                              (scene.model.masses[a] / scene.engine.m_blockMasses[b]);
                }
                const cVector3 expected = scene.engine.m_blockTranslations[b][oneMode] * amplitude;
                EXPECT_LT((travel - expected).norm(), 1e-12 + 1e-14 * expected.norm()) << angle;
            }
        }
    }
}

TEST(LargeNonLinearTransformation, LeastTurnOfSeveralModesCountsInAllAndNotPerUnitAmplitude) {
    // Seen to fail with the least turn scaled by the amplitudes, as in the other form.
    ModeScene scene(54);
    constexpr std::size_t b = 5;
    for (std::size_t m = 0; m < ModeScene::nModes; ++m) {
        scene.engine.m_blockTranslations[b][m] = scene.engine.m_blockRotations[b][m] = cVector3(0.0);
    }
    scene.engine.m_blockRotations[b][oneMode] = cVector3(3e-12, 0.0, 4e-12); // per unit amplitude
    const double amplitude = 1e4;
    const cVector3 turn = scene.engine.m_blockRotations[b][oneMode] * amplitude;
    const cVector3 center(scene.engine.m_blockCenters[b].data());
    Atoms large;
    Atoms other;
    scene.engine.applyLargeNonLinearTransformation(along(oneMode, amplitude), large, scene.atoms);
    scene.engine.applyNonLinearTransformation(along(oneMode, amplitude), other, scene.atoms);
    for (const int atom : scene.engine.m_blockAtoms[b]) {
        const auto a = static_cast<std::size_t>(atom);
        const cVector3 p = scene.atoms[a].m_position;
        const cVector3 turned = turn ^ (p - center);
        EXPECT_GT(turned.norm(), 1e-9);
        EXPECT_LT((large[a].m_position - p - turned).norm(), 1e-12);
        EXPECT_EQ(other[a].m_position, p);
    }
}

TEST(LargeNonLinearTransformation, TurnsByTheAngleThatTheOtherFormTurns) {
    const ModeScene scene(52);
    const double amplitude = amplitudeOfTurn(scene.engine, oneMode, 1.5);
    Atoms plain;
    std::vector<cVector3> large(scene.atoms.size(), cVector3(0.0));
    scene.engine.applyNonLinearTransformation(oneMode, amplitude, plain, scene.atoms);
    scene.engine.applyLargeNonLinearTransformation(oneMode, amplitude, large.data(), scene.atoms);
    for (const std::list<int>& block : scene.engine.m_blockAtoms) {
        const auto first = static_cast<std::size_t>(block.front());
        for (const int atom : block) {
            const auto a = static_cast<std::size_t>(atom);
            const cVector3 arm = plain[a].m_position - plain[first].m_position;
            EXPECT_LT((arm - (large[a] - large[first])).norm(), 1e-12);
        }
    }
}

/// An engine with one body that all atoms belong to, and one mode.
NormalModeEngine engineOfOneBody(const std::vector<std::array<double, 3>>& positions,
                                 const std::vector<double>& masses, const Vector& mode) {
    NeighbourList<std::array<double, 3>> list;
    for (std::size_t i = 0; i + 1 < positions.size(); ++i) {
        const int a = static_cast<int>(i);
        const double d2 = std::pow(distance(positions[i], positions[i + 1]), 2);
        list.push_back({positions[i], positions[i + 1], a, a + 1, d2});
        list.push_back({positions[i + 1], positions[i], a + 1, a, d2});
    }
    NormalModeEngine engine(1u);
    engine.m_system = std::make_shared<System>(list, masses, 1.0, nullptr);
    engine.m_modes = mode;
    engine.loadCAlphaId2AtomId(std::vector<int>(positions.size(), 0));
    return engine;
}

Atoms atomsAt(const std::vector<std::array<double, 3>>& positions) {
    Atoms atoms(positions.size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        atoms[i].m_position = cVector3(positions[i].data());
    }
    return atoms;
}

/// turn x (p - center) for all positions.
Vector rotationMode(const std::vector<std::array<double, 3>>& positions, const cVector3& center,
                    const cVector3& turn) {
    Vector mode(3 * positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const cVector3 v = turn ^ (cVector3(positions[i].data()) - center);
        for (int c = 0; c < 3; ++c) {
            mode[3 * i + static_cast<arma::uword>(c)] = v[c];
        }
    }
    return mode;
}

const std::vector<std::array<double, 3>> body = {
    {10.0, 0.0, 0.0}, {11.5, 0.2, 0.1}, {12.0, 1.4, -0.3}, {10.5, 1.0, 1.2}, {9.0, -1.1, 0.7}};
const std::vector<double> bodyMasses = {12.0, 14.0, 16.0, 1.0, 32.0};

TEST(SuperposedTransformation, TurnsInTheSenseOfTheMode) {
    // A positive amplitude of "turn about +z" turns from x to y; superposing in the other order, or taking
    // the matrix for its inverse, would turn from x to -y.
    cVector3 centerOfMass(0.0);
    for (std::size_t i = 0; i < body.size(); ++i) {
        centerOfMass += cVector3(body[i].data()) * (bodyMasses[i] / 75.0);
    }
    for (const cVector3& axis :
         {cVector3(0, 0, 1), cVector3(1, 0, 0), cVector3(2.0 / 3, -1.0 / 3, 2.0 / 3)}) {
        const NormalModeEngine engine =
            engineOfOneBody(body, bodyMasses, rotationMode(body, centerOfMass, axis));
        for (const double angle : {0.1, -0.1, 1.0, 3.0, -5.0}) {
            const cMatrix33 R = cMatrix33::fromAxisAngle(axis, angle);
            Atoms out;
            engine.applyNonLinearTransformation(Vector{angle}, out, atomsAt(body));
            for (std::size_t i = 0; i < body.size(); ++i) {
                const cVector3 expected = R * (cVector3(body[i].data()) - centerOfMass) + centerOfMass;
                EXPECT_LT((out[i].m_position - expected).norm(), superposition) << angle;
            }
        }
    }
}

TEST(SuperposedTransformation, IsTheScrewThatMovesTheCentreAtFiniteAmplitudesToo) {
    const ModeScene scene(53);
    for (const double angle : {0.5, 2.0, 7.0}) {
        const std::vector<double> amplitudes = scaled(mixture(), amplitudeOfTurn(scene.engine, 0, angle));
        Atoms large;
        Atoms superposed;
        scene.engine.applyLargeNonLinearTransformation(amplitudes, large, scene.atoms);
        scene.engine.applyNonLinearTransformation(Vector(amplitudes), superposed, scene.atoms);
        EXPECT_LT(largestDistance(large, superposed), superposition);
    }
}

TEST(SuperposedTransformation, AtomsOnALineTurnAcrossIt) {
    const std::vector<std::array<double, 3>> line = {{1.0, 2.0, 3.0}, {2.0, 4.0, 5.0}};
    const cVector3 center(1.5, 3.0, 4.0);
    const cVector3 axis = cVector3(2.0, -1.0, 0.0) / std::sqrt(5.0); // across (1, 2, 2)
    for (const double mass : {1.0, 200.0}) {
        const NormalModeEngine engine = engineOfOneBody(line, {mass, mass}, rotationMode(line, center, axis));
        Atoms out;
        engine.applyNonLinearTransformation(Vector{0.8}, out, atomsAt(line));
        for (std::size_t i = 0; i < line.size(); ++i) {
            const cVector3 expected =
                cMatrix33::fromAxisAngle(axis, 0.8) * (cVector3(line[i].data()) - center) + center;
            EXPECT_LT((out[i].m_position - expected).norm(), 1e-6);
        }
    }
}

TEST(SuperposedTransformation, BlocksOfOneAtomTranslate) {
    Vector mode(15);
    for (arma::uword i = 0; i < mode.n_elem; ++i) {
        mode[i] = std::sin(1.0 + static_cast<double>(i));
    }
    NormalModeEngine engine = engineOfOneBody(body, bodyMasses, mode);
    engine.loadCAlphaId2AtomId({0, 1, 2, 3, 4});
    Atoms out;
    engine.applyNonLinearTransformation(Vector{2.0}, out, atomsAt(body));
    for (std::size_t i = 0; i < body.size(); ++i) {
        const cVector3 expected = cVector3(body[i].data()) + cVector3(mode.memptr() + 3 * i) * 2.0;
        EXPECT_LT((out[i].m_position - expected).norm(), 1e-6);
    }
}

TEST(SuperposedTransformation, SmallTurnsOfBlocksInALargeModelAreNotLost) {
    // Among n blocks a step of 1e-4 angstrom is one of 1e-4 / sqrt(n) each: turns of 1e-7 rad and less, for
    // which the cosine of half the angle is 1.
    constexpr std::size_t nBlocks = 2000;
    std::mt19937 random(54);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<std::array<double, 3>> positions;
    std::vector<double> masses;
    std::vector<int> blockIds;
    Vector mode(15 * nBlocks);
    std::vector<cVector3> turns;
    for (std::size_t b = 0; b < nBlocks; ++b) {
        turns.emplace_back(uniform(random), uniform(random), uniform(random));
        std::vector<std::array<double, 3>> block = body;
        cVector3 center(0.0);
        for (std::size_t i = 0; i < block.size(); ++i) {
            block[i][1] += 5.0 * static_cast<double>(b);
            center += cVector3(block[i].data()) * (bodyMasses[i] / 75.0);
            blockIds.push_back(static_cast<int>(b));
        }
        mode.subvec(15 * b, 15 * b + 14) = rotationMode(block, center, turns.back());
        positions.insert(positions.end(), block.begin(), block.end());
        masses.insert(masses.end(), bodyMasses.begin(), bodyMasses.end());
    }
    NormalModeEngine engine = engineOfOneBody(positions, masses, mode);
    engine.loadCAlphaId2AtomId(blockIds);
    Atoms out;
    const Atoms atoms = atomsAt(positions);
    engine.applyNonLinearTransformation(Vector{1.0}, out, atoms);
    for (std::size_t b = 0; b < nBlocks; b += 97) {
        const cMatrix33 R = cMatrix33::fromAxisAngle(turns[b].normalizedVersion(), turns[b].norm());
        for (std::size_t a = 5 * b; a + 1 < 5 * b + 5; ++a) {
            EXPECT_LT(((out[a + 1].m_position - out[a].m_position) -
                       R * (atoms[a + 1].m_position - atoms[a].m_position))
                          .norm(),
                      superposition);
        }
    }
}

TEST(SuperposedTransformation, SizesThatDoNotMatchAreAnError) {
    const NormalModeEngine engine = engineOfOneBody(body, bodyMasses, Vector(15, arma::fill::ones));
    Atoms out;
    EXPECT_THROW(engine.applyNonLinearTransformation(Vector{1.0, 2.0}, out, atomsAt(body)), std::logic_error);
    EXPECT_THROW(engine.applyNonLinearTransformation(Vector{1.0}, out, Atoms(4)), std::length_error);
}

} // namespace
