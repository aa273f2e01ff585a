// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/PolishModel.h"
#include "Assessment/tests/polishScene.h"

namespace {

constexpr double rounding = 1e-12;

ModelAtom atomAt(const cVector3& position, double mass, int residue, char insertion = ' ') {
    ModelAtom atom;
    atom.position = position;
    atom.mass = mass;
    atom.chain = "A";
    atom.residueNumber = residue;
    atom.insertionCode = insertion;
    return atom;
}

} // namespace

TEST(PolishModel, StandsAboutItsCentreOfMass) {
    const PolishModel model = atomsOf({atomAt({1.0, 2.0, 3.0}, 1.0, 1), atomAt({5.0, 2.0, 3.0}, 3.0, 1)});
    EXPECT_NEAR((model.middle - cVector3(4.0, 2.0, 3.0)).norm(), 0.0, rounding);
    EXPECT_NEAR((model.points[0] - cVector3(-3.0, 0.0, 0.0)).norm(), 0.0, rounding);
    EXPECT_NEAR((model.points[1] - cVector3(1.0, 0.0, 0.0)).norm(), 0.0, rounding);
    EXPECT_NEAR(model.radiusOfGyration, std::sqrt((9.0 + 3.0) / 4.0), rounding);
    EXPECT_EQ(model.totalWeight, 4.0);
}

TEST(PolishModel, HasABeadForEachRunOfOneResidue) {
    std::vector<ModelAtom> atoms = {atomAt({0.0, 0.0, 0.0}, 1.0, 7), atomAt({4.0, 0.0, 0.0}, 3.0, 7),
                                    atomAt({9.0, 1.0, 0.0}, 2.0, 7, 'A'), atomAt({0.0, 0.0, 8.0}, 2.0, 8),
                                    atomAt({2.0, 0.0, 0.0}, 1.0, 8)};
    atoms.back().chain = "B";
    const PolishModel model = beadsOf(atoms);
    EXPECT_EQ(model.weights, (std::vector<double>{4.0, 2.0, 2.0, 1.0}));
    EXPECT_NEAR((model.points[0] + model.middle - cVector3(3.0, 0.0, 0.0)).norm(), 0.0, rounding);
}

TEST(PolishModel, HasTheSameMiddleAsItsBeads) {
    const std::vector<ModelAtom> atoms = polishScene::atomsOfChain(polishScene::smallChain());
    EXPECT_NEAR((atomsOf(atoms).middle - beadsOf(atoms).middle).norm(), 0.0, rounding);
    EXPECT_LT(beadsOf(atoms).points.size(), atoms.size() / 5);
}

TEST(PolishModel, CountsAllAtomsEquallyWhereOneHasNoMass) {
    const PolishModel model = atomsOf({atomAt({0.0, 0.0, 0.0}, 0.0, 1), atomAt({2.0, 0.0, 0.0}, 56.0, 2)});
    EXPECT_EQ(model.weights, (std::vector<double>{1.0, 1.0}));
    EXPECT_NEAR((model.middle - cVector3(1.0, 0.0, 0.0)).norm(), 0.0, rounding);
}

TEST(PolishModel, NeedsAtoms) {
    EXPECT_THROW(atomsOf({}), std::invalid_argument);
    EXPECT_THROW(beadsOf({}), std::invalid_argument);
}
