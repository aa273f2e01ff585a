// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <random>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "Preparation/PreparedModel.h"

namespace {

std::vector<ModelAtom> cloud() {
    std::mt19937 random(8);
    std::gamma_distribution<double> skewed(2.0, 1.0);
    std::vector<ModelAtom> atoms(200);
    for (ModelAtom& atom : atoms) {
        atom.position = cVector3(9.0 * skewed(random), 5.0 * skewed(random), -3.0 * skewed(random));
    }
    return atoms;
}

std::vector<ModelAtom> moved(std::vector<ModelAtom> atoms, const RigidMotion& motion) {
    for (ModelAtom& atom : atoms) {
        atom.position = motion(atom.position);
    }
    return atoms;
}

} // namespace

TEST(PrepareModel, PutsTheMiddleAtTheOrigin) {
    std::vector<ModelAtom> atoms(4);
    atoms[0].position = cVector3(20.0, 0.0, 5.0);
    atoms[1].position = cVector3(-20.0, 0.0, 5.0);
    atoms[2].position = cVector3(0.0, 10.0, 5.0);
    atoms[3].position = cVector3(0.0, -10.0, 5.0);
    const PreparedModel model = prepareModel(atoms);
    EXPECT_LT((model.fromFile.inverse().translation - cVector3(0.0, 0.0, 5.0)).norm(), 1e-12);
    EXPECT_DOUBLE_EQ(model.reach, 20.0);
    EXPECT_DOUBLE_EQ(model.radiusOfGyration, std::sqrt((2.0 * 400.0 + 2.0 * 100.0) / 4.0));
    EXPECT_NEAR(std::abs(model.atoms[0].position.x), 20.0, 1e-12) << "the longest axis lies along x";
}

TEST(PrepareModel, TellsTheMotionThatItMade) {
    const std::vector<ModelAtom> atoms = cloud();
    const PreparedModel model = prepareModel(atoms);
    for (std::size_t a = 0; a < atoms.size(); ++a) {
        EXPECT_LT((model.fromFile(atoms[a].position) - model.atoms[a].position).norm(), 1e-12);
    }
    const cMatrix33& r = model.fromFile.rotation;
    EXPECT_NEAR(r.det(), 1.0, 1e-12) << "no mirror image";
}

TEST(PrepareModel, IsTheSameHoweverTheFileStands) {
    const PreparedModel before = prepareModel(cloud());
    for (const cVector3& angles :
         {cVector3(0.3, -1.0, 2.0), cVector3(3.1, 0.2, -0.4), cVector3(-2.0, 1.5, 1.0)}) {
        const RigidMotion motion{cMatrix33::rotationXYZ(angles.x, angles.y, angles.z), 50.0 * angles};
        const PreparedModel after = prepareModel(moved(cloud(), motion));
        for (std::size_t a = 0; a < before.atoms.size(); ++a) {
            EXPECT_LT((after.atoms[a].position - before.atoms[a].position).norm(), 1e-9);
        }
    }
}

TEST(PrepareModel, AxesDiagonaliseTheSecondMoments) {
    double xx = 0.0, yy = 0.0, zz = 0.0, xy = 0.0, yz = 0.0, zx = 0.0;
    for (const ModelAtom& atom : prepareModel(cloud()).atoms) {
        const cVector3& p = atom.position;
        xx += p.x * p.x;
        yy += p.y * p.y;
        zz += p.z * p.z;
        xy += p.x * p.y;
        yz += p.y * p.z;
        zx += p.z * p.x;
    }
    EXPECT_GT(xx, yy);
    EXPECT_GT(yy, zz);
    for (const double mixed : {xy, yz, zx}) {
        EXPECT_NEAR(mixed, 0.0, 1e-8 * xx);
    }
}

TEST(PrepareModel, TakesASingleAtomAndRefusesNone) {
    std::vector<ModelAtom> one(1);
    one[0].position = cVector3(3.0, 4.0, 5.0);
    const PreparedModel model = prepareModel(one);
    EXPECT_EQ(model.reach, 0.0);
    EXPECT_LT((model.fromFile.inverse().translation - one[0].position).norm(), 1e-12);
    EXPECT_THROW(prepareModel({}), std::invalid_argument);
}
