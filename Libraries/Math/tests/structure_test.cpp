// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <random>
#include <stdexcept>

#include <gtest/gtest.h>

#include "Math/structure.h"

namespace {

using position = std::array<double, 3>;

constexpr double tolerance = 1e-12; // of values of order one after a few operations

cPDBAtom makeAtom(const char* name, int resSeq, const cVector3& p = cVector3(0.0, 0.0, 0.0),
                  float mass = 1.0F) {
    cPDBAtom atom;
    std::strcpy(atom.m_name, name);
    std::strcpy(atom.m_resName, "ALA");
    atom.m_resType = 1;
    atom.m_resSeq = resSeq;
    atom.m_position = p;
    atom.m_mass = mass;
    return atom;
}

std::vector<cPDBAtom> someAtoms() {
    return {makeAtom("N", 1, {1.0, 2.0, 3.0}, 14.0F), makeAtom("CA", 1, {-2.0, 0.5, 4.0}, 12.0F),
            makeAtom("C", 2, {0.25, -1.0, 1.5}, 13.0F)};
}

/// Rotation by `angle` about a unit axis.
arma::Mat<double> rodrigues(const arma::Col<double>& axis, double angle) {
    arma::Mat<double> skew;
    computeCrossProductMatrix({axis[0], axis[1], axis[2]}, skew);
    return arma::eye(3, 3) + std::sin(angle) * skew + (1 - std::cos(angle)) * skew * skew;
}

/// The search from the cursor on, as a plain scan.
bool scanForCalpha(const std::vector<cPDBAtom>& atoms, std::vector<int>& ids) {
    std::vector<int> list;
    for (const cPDBAtom& atom : atoms) {
        if (atom.isCA()) {
            list.push_back(atom.m_resSeq);
        }
    }
    bool isComplete = true;
    std::ptrdiff_t cursor = 0;
    ids.assign(atoms.size(), -1);
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        const auto found = std::find(list.begin() + cursor, list.end(), atoms[i].m_resSeq);
        if (found != list.end()) {
            cursor = found - list.begin();
            ids[i] = static_cast<int>(cursor);
        } else {
            list.push_back(atoms[i].m_resSeq);
            ids[i] = static_cast<int>(i);
            isComplete = false;
        }
    }
    return isComplete;
}

} // namespace

TEST(Structure, InertiaTensorOfAPointMassIsAboutTheOrigin) {
    double totalMass = -1.0;
    const cMatrix33 tensor = getInertiaTensor({makeAtom("CA", 1, {1.0, 2.0, 3.0}, 2.0F)}, totalMass);
    EXPECT_EQ(totalMass, 2.0);
    const cVector3 columns[] = {tensor * cVector3(1.0, 0.0, 0.0), tensor * cVector3(0.0, 1.0, 0.0),
                                tensor * cVector3(0.0, 0.0, 1.0)};
    EXPECT_EQ(columns[0], cVector3(26.0, -4.0, -6.0));
    EXPECT_EQ(columns[1], cVector3(-4.0, 20.0, -12.0));
    EXPECT_EQ(columns[2], cVector3(-6.0, -12.0, 10.0));
}

TEST(Structure, InertiaTensorAddsUp) {
    const std::vector<cPDBAtom> atoms = someAtoms();
    double totalMass = 0.0;
    cMatrix33 sum;
    for (const cPDBAtom& atom : atoms) {
        sum += getInertiaTensor({atom}, totalMass);
    }
    const cVector3 probe(0.5, -1.0, 2.0);
    EXPECT_LT((getInertiaTensor(atoms, totalMass) * probe - sum * probe).norm(), 1e-10);
    EXPECT_EQ(totalMass, 39.0);
}

TEST(Structure, CentresAreMeans) {
    const std::vector<position> p = {{0, 0, 3}, {2, 4, 5}};
    EXPECT_EQ(getCenter(p), (position{1, 2, 4}));
    EXPECT_EQ(getCenter(p.data(), 1), p[0]);
    EXPECT_TRUE(std::isnan(getCenter(std::vector<position>())[0]));
    const std::vector<cPDBAtom> atoms = {makeAtom("C", 1, {0.0, 0.0, 0.0}, 1.0F),
                                         makeAtom("C", 1, {4.0, 8.0, -4.0}, 3.0F)};
    EXPECT_EQ(getCenterOfMass(atoms.data(), 2), cVector3(3.0, 6.0, -3.0));
}

TEST(Structure, SetCenterSubtracts) {
    std::vector<position> p = {{1, 2, 3}, {4, 5, 6}};
    setCenter(p, p[0]);
    EXPECT_EQ(p[0], (position{0, 0, 0}));
    EXPECT_EQ(p[1], (position{3, 3, 3}));
    arma::Col<double> flat = {1, 2, 3, 4, 5, 6, 7};
    setCenter(flat, position{1, 1, 2});
    EXPECT_TRUE(arma::approx_equal(flat, arma::Col<double>{0, 1, 1, 3, 4, 4, 7}, "absdiff", 0.0));
}

TEST(Structure, VectorsCompareByTheSumOfTheirComponents) {
    EXPECT_TRUE(compareVector3d({0, 0, 5}, {3, 3, 0}));
    EXPECT_FALSE(compareVector3d({3, 3, 0}, {0, 0, 5}));
    EXPECT_FALSE(compareVector3d({1, 2, 3}, {3, 2, 1}));
}

TEST(Structure, VectorAlgebra) {
    const position a = {1, 2, 2};
    const position b = {-3, 0.5, 4};
    EXPECT_EQ(norm(a), 3.0);
    EXPECT_EQ(dot(a, b), 6.0);
    EXPECT_EQ(distance(a, {1, 2, 7}), 5.0);
    position c = a;
    cross(c, b, c);
    EXPECT_EQ(c, (position{7, -10, 6.5}));
    EXPECT_NEAR(dot(c, a), 0.0, tolerance);
    normalize(c);
    EXPECT_NEAR(norm(c), 1.0, tolerance);
    position zero = {0, 0, 0};
    normalize(zero);
    EXPECT_TRUE(std::isnan(zero[0]));
}

TEST(Structure, RadiusOfGyrationOfTwoPointsIsHalfTheirDistance) {
    EXPECT_DOUBLE_EQ(getRadiusOfGyration({{5, 0, 0}, {7, 0, 0}}), 1.0);
    EXPECT_TRUE(std::isnan(getRadiusOfGyration({})));
}

TEST(Structure, ZeroMatrixIsAlmostNullForAnyTolerance) {
    arma::Mat<double> m(2, 3, arma::fill::zeros);
    EXPECT_TRUE(isAlmostNull(m, 0.0));
    m(1, 2) = -0.5;
    EXPECT_FALSE(isAlmostNull(m, 0.4));
    EXPECT_TRUE(isAlmostNull(m, 0.5));
    EXPECT_TRUE(isAlmostNull(arma::Mat<double>(), 0.0));
}

TEST(Structure, RandomNumbersStayInTheirRange) {
    for (int i = 0; i < 1000; ++i) {
        const double value = myRand(-2.0, 3.0);
        EXPECT_GE(value, -2.0);
        EXPECT_LE(value, 3.0);
    }
}

TEST(Structure, QcprotRowsFollowTheList) {
    const std::list<int> ids = {2, 0};
    std::vector<cPDBAtom> atoms = someAtoms();
    std::vector<position> p = pdbAtoms2Positions(atoms);
    double** rows = new_qcprotAtoms(2);
    double** same = new_qcprotAtoms(2);
    std2qcprot(p, ids, rows);
    std2qcprot(atoms, ids, same);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(rows[axis][0], p[2][axis]);
        EXPECT_EQ(rows[axis][1], p[0][axis]);
        EXPECT_EQ(same[axis][1], p[0][axis]);
        rows[axis][0] = 100.0 + static_cast<double>(axis);
    }
    const position untouched = p[1];
    qcprot2std(rows, ids, p);
    qcprot2std(rows, ids, atoms);
    EXPECT_EQ(p[2], (position{100, 101, 102}));
    EXPECT_EQ(p[1], untouched);
    EXPECT_EQ(atoms[2].m_position, cVector3(100.0, 101.0, 102.0));
    EXPECT_THROW(std2qcprot(p, {3}, rows), std::out_of_range);
    EXPECT_THROW(qcprot2std(rows, {-1}, p), std::out_of_range);
    delete_qcprotAtoms(rows);
    delete_qcprotAtoms(same);
    delete_qcprotAtoms(nullptr);
}

TEST(Structure, UnitQuaternionHasTheAngleZeroAboutX) {
    const double q[4] = {1, 0, 0, 0};
    arma::Col<double> axis(3);
    double angle = -1.0;
    quaternion2AxisAndAngle(q, axis, angle);
    EXPECT_EQ(angle, 0.0);
    EXPECT_TRUE(arma::approx_equal(axis, arma::Col<double>{1, 0, 0}, "absdiff", 0.0));
}

TEST(Structure, AxisAndAngleSurviveARoundTrip) {
    const arma::Col<double> axis = arma::normalise(arma::Col<double>{1, -2, 0.5});
    for (const double angle : {0.1, 1.0, 3.0}) {
        double q[4];
        axisAndAngle2Quaternion(axis, angle, q);
        arma::Col<double> backAxis(3);
        double backAngle = 0.0;
        quaternion2AxisAndAngle(q, backAxis, backAngle);
        EXPECT_NEAR(backAngle, angle, tolerance);
        EXPECT_TRUE(arma::approx_equal(backAxis, axis, "absdiff", tolerance));
    }
}

TEST(Structure, NegativeQuaternionKeepsItsAxisWithTheShorterAngle) {
    // Seen to fail with the axis turned round.
    const arma::Col<double> axis = {0, 0, 1};
    double q[4];
    axisAndAngle2Quaternion(axis, 4.0, q);
    arma::Col<double> backAxis(3);
    double backAngle = 0.0;
    quaternion2AxisAndAngle(q, backAxis, backAngle);
    EXPECT_NEAR(backAngle, 2 * std::acos(-1.0) - 4.0, tolerance);
    EXPECT_TRUE(arma::approx_equal(backAxis, axis, "absdiff", tolerance)); // not turned round
}

TEST(Structure, QuaternionMatrixIsTheTransposedRotation) {
    const arma::Col<double> axis = arma::normalise(arma::Col<double>{1, 2, -3});
    double q[4];
    axisAndAngle2Quaternion(axis, 0.8, q);
    arma::Mat<double> rot;
    quaternion2RotationMatrix(q, rot);
    EXPECT_TRUE(arma::approx_equal(rot, rodrigues(axis, 0.8).t(), "absdiff", tolerance));
    double flat[9];
    quaternion2RotationMatrix(q, flat);
    for (arma::uword i = 0; i < 9; ++i) {
        EXPECT_EQ(flat[i], rot(i / 3, i % 3));
    }
}

TEST(Structure, ProductMatrices) {
    const position p = {1, 2, 3};
    const position v = {-1, 0.5, 4};
    const arma::Col<double> vector = {v[0], v[1], v[2]};
    arma::Mat<double> m;
    computeTensorProductMatrix(p, m);
    EXPECT_TRUE(arma::approx_equal(m * vector, dot(p, v) * arma::Col<double>{1, 2, 3}, "absdiff", tolerance));
    computeCrossProductMatrix(p, m);
    position c;
    cross(p, v, c);
    EXPECT_TRUE(arma::approx_equal(m * vector, arma::Col<double>{c[0], c[1], c[2]}, "absdiff", tolerance));
}

TEST(Structure, AtomsConvertToPositionsVectorsAndFlags) {
    const std::vector<cPDBAtom> atoms = someAtoms();
    const std::vector<position> p = pdbAtoms2Positions(atoms);
    ASSERT_EQ(p.size(), 3U);
    EXPECT_EQ(p[1], (position{-2.0, 0.5, 4.0}));
    const arma::Col<double> flat = pdbAtoms2armavec(atoms);
    ASSERT_EQ(flat.n_elem, 9U);
    EXPECT_EQ(flat[3], -2.0);
    EXPECT_EQ(flat[5], 4.0);
    EXPECT_EQ(pdbAtoms2IsCA(atoms), (std::vector<bool>{false, true, false}));
}

TEST(Structure, MatrixCopiesElementByElement) {
    const arma::Mat<double> m = {{1, 2, 3}, {4, 5, 6}};
    const Eigen::MatrixXd copy = arma2eigen(m);
    ASSERT_EQ(copy.rows(), 2);
    ASSERT_EQ(copy.cols(), 3);
    EXPECT_EQ(copy(0, 2), 3.0);
    EXPECT_EQ(copy(1, 0), 4.0);
}

TEST(LoadAtomId2CalphaId, AtomsOfAResidueShareTheirCalphasNumber) {
    const std::vector<cPDBAtom> atoms = {makeAtom("N", 1),  makeAtom("CA", 1), makeAtom("N", 2),
                                         makeAtom("CA", 2), makeAtom("C", 2),  makeAtom("CA", 3),
                                         makeAtom("O", 3)};
    std::vector<int> ids;
    EXPECT_TRUE(loadAtomId2CalphaId(atoms, ids));
    EXPECT_EQ(ids, (std::vector<int>{0, 0, 1, 1, 1, 2, 2}));
    std::vector<const cPDBAtom*> pointers;
    for (const cPDBAtom& atom : atoms) {
        pointers.push_back(&atom);
    }
    std::vector<int> same;
    EXPECT_TRUE(loadAtomId2CalphaId(pointers, same));
    EXPECT_EQ(same, ids);
}

TEST(LoadAtomId2CalphaId, SecondChainFindsItsOwnOnceTheCursorHasMovedOn) {
    // Seen to fail with every search begun at the front of the list.
    std::vector<int> ids;
    EXPECT_TRUE(loadAtomId2CalphaId(
        {makeAtom("CA", 1), makeAtom("CA", 2), makeAtom("CA", 1), makeAtom("CA", 2)}, ids));
    EXPECT_EQ(ids, (std::vector<int>{0, 1, 2, 3}));
}

TEST(LoadAtomId2CalphaId, ResidueWithoutCalphaMayCollide) {
    // Seen to fail with the place of the appended number in place of the atom's index.
    // The first ligand atom gets its own index 1, which is residue 2's place; the second finds the number
    // appended.
    const std::vector<cPDBAtom> atoms = {makeAtom("CA", 1), makeAtom("O1", 9), makeAtom("O2", 9),
                                         makeAtom("CA", 2)};
    std::vector<int> ids;
    EXPECT_FALSE(loadAtomId2CalphaId(atoms, ids));
    EXPECT_EQ(ids, (std::vector<int>{0, 1, 2, 3}));
    EXPECT_FALSE(loadAtomId2CalphaId({makeAtom("CA", 1), makeAtom("O1", 9), makeAtom("CA", 2)}, ids));
    EXPECT_EQ(ids, (std::vector<int>{0, 1, 1}));
}

TEST(LoadAtomId2CalphaId, EqualsAPlainScan) {
    std::mt19937 generator(3);
    for (int round = 0; round < 200; ++round) {
        std::vector<cPDBAtom> atoms;
        for (int i = 0; i < 40; ++i) {
            atoms.push_back(makeAtom(generator() % 3 == 0 ? "CA" : "C", static_cast<int>(generator() % 12)));
        }
        std::vector<int> expected;
        std::vector<int> ids;
        EXPECT_EQ(loadAtomId2CalphaId(atoms, ids), scanForCalpha(atoms, expected));
        EXPECT_EQ(ids, expected);
    }
}

TEST(LoadAtomId2CalphaId, ManyResiduesWithoutCalphaAreFast) {
    std::vector<cPDBAtom> atoms;
    for (int i = 0; i < 200000; ++i) {
        atoms.push_back(makeAtom("P", i));
    }
    std::vector<int> ids;
    EXPECT_FALSE(loadAtomId2CalphaId(atoms, ids));
    EXPECT_EQ(ids.back(), 199999);
}

TEST(Structure, ReorderedListsCorrespond) {
    const std::vector<cPDBAtom> left = {makeAtom("N", 1), makeAtom("CA", 1), makeAtom("CB", 1),
                                        makeAtom("CA", 2)};
    const std::vector<cPDBAtom> right = {makeAtom("CA", 1), makeAtom("N", 1), makeAtom("CA", 3)};
    const std::map<unsigned, std::vector<const cPDBAtom*>> a = {{1, {&left[0], &left[1], &left[2]}},
                                                                {2, {&left[3]}}};
    const std::map<unsigned, std::vector<const cPDBAtom*>> b = {{1, {&right[0], &right[1]}},
                                                                {3, {&right[2]}}};
    std::vector<const cPDBAtom*> out1;
    std::vector<const cPDBAtom*> out2;
    reorderAtomList(a, b, out1, out2);
    EXPECT_EQ(out1, (std::vector<const cPDBAtom*>{&left[0], &left[1]}));
    EXPECT_EQ(out2, (std::vector<const cPDBAtom*>{&right[1], &right[0]}));
}
