// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_STRUCTURE_H
#define SELVANE_MATH_STRUCTURE_H

#include <array>
#include <list>
#include <map>
#include <vector>

#include <Eigen/Core>
#include <armadillo>

#include "Math/cMatrix33.h"
#include "Math/cVector3.h"
#include "PDB/cPDBAtom.h"

// Free functions on atoms, positions and flat coordinate vectors. A position is a std::array<double, 3>; a
// flat vector of length 3N holds atom i at the entries 3i, 3i + 1, 3i + 2. Lengths in ångström, angles in
// radians.

/// Inertia tensor about the coordinate origin, not about the centre of mass: I00 = sum m (y² + z²),
/// I01 = -sum m x y and so on, symmetric, in Da Å².
/// @param totalMass  overwritten with sum m
cMatrix33 getInertiaTensor(const std::vector<cPDBAtom>& atoms, double& totalMass);

/// Arithmetic mean, unweighted; not a number for n = 0.
std::array<double, 3> getCenter(const std::array<double, 3>* positions, unsigned long n);
std::array<double, 3> getCenter(const std::vector<std::array<double, 3>>& positions);
/// sum m r / sum m.
cVector3 getCenterOfMass(const cPDBAtom* atoms, unsigned long n);

/// Subtract c from each position, from each of the length / 3 triples. In spite of the name, c need not be
/// the centre and the result is centred only if it is.
void setCenter(std::vector<std::array<double, 3>>& positions, const std::array<double, 3>& c);
void setCenter(arma::Col<double>& coordinates, const std::array<double, 3>& c);

/// Order by the sum of the components: 0 > (a0 - b0) + (a1 - b1) + (a2 - b2).
bool compareVector3d(const std::array<double, 3>& a, const std::array<double, 3>& b);

double norm(const std::array<double, 3>& p);
/// Divides by the length in place; not a number for a zero vector.
void normalize(std::array<double, 3>& p);
double dot(const std::array<double, 3>& a, const std::array<double, 3>& b);
/// out = a x b; out may be a or b.
void cross(const std::array<double, 3>& a, const std::array<double, 3>& b, std::array<double, 3>& out);
double distance(const std::array<double, 3>& a, const std::array<double, 3>& b);

/// sqrt(sum |p_i - c|² / n) about the unweighted centre c; not a number for an empty vector.
double getRadiusOfGyration(const std::vector<std::array<double, 3>>& positions);

/// No element has a magnitude above tol. An empty matrix is null.
bool isAlmostNull(const arma::Mat<double>& m, double tol);

/// Uniform in [a, b] from std::rand, so its state is shared: a + rand() / 2147483647 (b - a).
double myRand(double a, double b);

/// Three rows (x, y, z) of n doubles for the superposition routines, owned by the caller until
/// delete_qcprotAtoms.
double** new_qcprotAtoms(unsigned long n);
void delete_qcprotAtoms(double** p);
/// Copies the listed atoms, in list order, to the rows of `out`.
/// @throws std::out_of_range  an id outside the input
void std2qcprot(const std::vector<std::array<double, 3>>& positions, const std::list<int>& ids, double** out);
void std2qcprot(const std::vector<cPDBAtom>& atoms, const std::list<int>& ids, double** out);
/// The reverse: entry n of the rows goes to the n-th listed atom.
/// @throws std::out_of_range  an id outside the output
void qcprot2std(const double* const* in, const std::list<int>& ids,
                std::vector<std::array<double, 3>>& positions);
void qcprot2std(const double* const* in, const std::list<int>& ids, std::vector<cPDBAtom>& atoms);

/// Axis and angle in [0, pi] of a unit quaternion (w, x, y, z). No rotation gives the angle 0 about x.
/// Deliberate: for w < 0 the angle is folded to the shorter one and the axis is not turned round.
/// @param axis  has 3 entries already
void quaternion2AxisAndAngle(const double* q, arma::Col<double>& axis, double& angle);
/// q = (cos(angle / 2), sin(angle / 2) axis), for a unit axis.
void axisAndAngle2Quaternion(const arma::Col<double>& axis, const double& angle, double* q);
/// Matrix of a unit quaternion as the superposition routines use it, the transpose of the active rotation:
/// its first row is (q0² + q1² - q2² - q3², 2 (q1 q2 + q0 q3), 2 (q1 q3 - q0 q2)).
/// @param rot  nine doubles, row-major; or set to 3 x 3
void quaternion2RotationMatrix(const double* q, double* rot);
void quaternion2RotationMatrix(const double* q, arma::Mat<double>& rot);

/// m = p p^T, 3 x 3.
void computeTensorProductMatrix(const std::array<double, 3>& p, arma::Mat<double>& m);
/// The skew matrix with m v = p x v, 3 x 3.
void computeCrossProductMatrix(const std::array<double, 3>& p, arma::Mat<double>& m);

/// m_position of each atom.
void pdbAtoms2Positions(const std::vector<cPDBAtom>& atoms, std::vector<std::array<double, 3>>& out);
std::vector<std::array<double, 3>> pdbAtoms2Positions(const std::vector<cPDBAtom>& atoms);
/// The same as a flat vector of length 3N.
void pdbAtoms2armavec(const std::vector<cPDBAtom>& atoms, arma::Col<double>& out);
arma::Col<double> pdbAtoms2armavec(const std::vector<cPDBAtom>& atoms);
/// isCA() of each atom.
void pdbAtoms2IsCA(const std::vector<cPDBAtom>& atoms, std::vector<bool>& out);
std::vector<bool> pdbAtoms2IsCA(const std::vector<cPDBAtom>& atoms);

/// Element-wise copy of the same shape.
Eigen::MatrixXd arma2eigen(const arma::Mat<double>& m);

/// Rigid block of each atom: the position of its residue's Cα among the residue numbers L of all Cα in file
/// order. L is searched for the atom's residue number from a cursor that never moves back, so that a second
/// chain with the same numbers finds its own. An atom that finds none gets its own index and appends its
/// number to L. Deliberate: such an index may collide with a position in L; the block numbering of the modes
/// reads it so.
/// @return true if every atom found a Cα
bool loadAtomId2CalphaId(const std::vector<cPDBAtom>& atoms, std::vector<int>& ids);
bool loadAtomId2CalphaId(const std::vector<const cPDBAtom*>& atoms, std::vector<int>& ids);

/// Appends to out1 and out2, for each key that both maps have and each atom of a, the atom and every atom of
/// b with the same name, so that two structures can be compared atom by atom. Keys are residues.
void reorderAtomList(const std::map<unsigned, std::vector<const cPDBAtom*>>& a,
                     const std::map<unsigned, std::vector<const cPDBAtom*>>& b,
                     std::vector<const cPDBAtom*>& out1, std::vector<const cPDBAtom*>& out2);

#endif
