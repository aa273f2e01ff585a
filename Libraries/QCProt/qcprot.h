// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_QCPROT_QCPROT_H
#define SELVANE_QCPROT_QCPROT_H

// Optimal superposition of two point sets by the quaternion characteristic polynomial: Newton's iteration for
// the largest eigenvalue of the 4 x 4 key matrix (Theobald 2005), and a column of an adjugate for its
// eigenvector, the rotation's quaternion (Liu, Agrafiotis and Theobald 2010).
//
// Coordinates are three rows x, y, z of `len` doubles (new_qcprotAtoms of Math/structure.h). `weight` holds
// `len` doubles; a null pointer means that every point counts once. Rotations are nine doubles, row-major.
// `len` < 1 is an empty set and no row is read. Nothing here throws.

/// Correlation of two sets, A = sum w_i (x_i, y_i, z_i)^T (x'_i, y'_i, z'_i) with the primed set 2; no
/// division.
/// @param A  nine doubles, row-major, overwritten
/// @return E0 = (G1 + G2) / 2, G being the sum of w_i |point_i|^2 over a set; 0 for an empty set
double InnerProduct(double* A, const double* const* coords1, const double* const* coords2, int len,
                    const double* weight);

/// Least root mean square distance of two centred sets, and the rotation of set 2 that reaches it.
/// @param rot         overwritten: rot * (point of set 2) falls on set 1
/// @param quaternion  four doubles (w, x, y, z) of length 1, overwritten; `rot` is quaternion2RotationMatrix
///                    of it, so a rotation by t about the axis u has (cos(t/2), -sin(t/2) u)
/// @param A, E0       of InnerProduct; A is left as it is
/// @param rmsd        overwritten: sqrt(|2 (E0 - lambda) / len|), lambda the largest eigenvalue; the divisor
///                    is the number of points whatever their weights, and for an empty set the result is 0
/// @param minScore    if positive and above the RMSD the rotation is not computed
/// @return 1; 0 with the identity if the sets do not tell the rotation (all four columns of the adjugate are
///         shorter than 1e-3, as for points on a line or all in one place); -1 below minScore, `rot` and
///         `quaternion` then stay as they are
/// @note After 50 rounds without convergence it says so on the standard error stream and goes on.
int FastCalcRMSDAndRotation(double* rot, double* quaternion, const double* A, double* rmsd, int len,
                            double E0, double minScore);

/// Moves both sets to their (weighted) centres, in place, and superposes set 2 on set 1.
/// @param rot  overwritten, as by FastCalcRMSDAndRotation; the points themselves are not rotated
/// @return the RMSD
double CalcRMSDRotationalMatrix(double** coords1, double** coords2, int len, double* rot,
                                const double* weight);

/// Subtracts the (weighted) centre from each point.
void CenterCoords(double** coords, int len, const double* weight);

/// sum w_i p_i / sum w_i into three doubles; the origin if there are no points or their weights sum to 0.
void GetCenter(const double* const* coords, int len, const double* weight, double* center);

/// Adds a vector to each point, subtracts it.
void ShiftCoordsPlus(double** coords, int len, const double* center);
void ShiftCoordsMinus(double** coords, int len, const double* center);

/// Replaces each point by rot * point.
void applyRotationMatrix(double** coords, int len, const double* rot);

/// Writes a line per point with its number to the standard output.
void PrintCoords(const double* const* coords, int len);

#endif
