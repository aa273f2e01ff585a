// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_CMATRIX33_H
#define SELVANE_MATH_CMATRIX33_H

#include <array>
#include <iosfwd>

#include "Math/cVector3.h"

/// A 3 x 3 matrix of doubles, row-major: element (row r, column c) is number 3 r + c.
///
/// Rotations are active and right-handed and act on column vectors; angles are in radians. Rx(a), Ry(a),
/// Rz(a) below turn about one axis, so
///
///             | cos a  -sin a   0 |
///     Rz(a) = | sin a   cos a   0 |
///             |   0       0     1 |
///
/// and Rx, Ry follow by cyclic exchange of the axes.
class cMatrix33 {
public:
    /// The zero matrix.
    cMatrix33() : m_elements{} {}
    /// All nine elements equal to value.
    explicit cMatrix33(double value) { m_elements.fill(value); }
    /// The diagonal matrix of v.
    explicit cMatrix33(const cVector3& v) : m_elements{v.x, 0, 0, 0, v.y, 0, 0, 0, v.z} {}
    explicit cMatrix33(const double (&rows)[3][3]);
    cMatrix33(double m00, double m01, double m02, double m10, double m11, double m12, double m20, double m21,
              double m22)
        : m_elements{m00, m01, m02, m10, m11, m12, m20, m21, m22} {}
    /// The matrix whose columns are a, b and c.
    cMatrix33(const cVector3& a, const cVector3& b, const cVector3& c)
        : m_elements{a.x, b.x, c.x, a.y, b.y, c.y, a.z, b.z, c.z} {}

    double& operator()(int row, int column) { return m_elements[static_cast<unsigned>(3 * row + column)]; }
    double operator()(int row, int column) const {
        return m_elements[static_cast<unsigned>(3 * row + column)];
    }

    void setIdentity() { *this = identity(); }
    void setZero() { m_elements.fill(0.0); }
    static cMatrix33 identity() { return diagMat(cVector3(1.0)); }
    static cMatrix33 diagMat(const cVector3& diagonal) { return cMatrix33(diagonal); }

    cMatrix33 operator+(const cMatrix33& m) const;
    cMatrix33 operator-(const cMatrix33& m) const;
    cMatrix33& operator+=(const cMatrix33& m);
    cMatrix33 operator*(double factor) const;
    cMatrix33& operator*=(double factor);
    cMatrix33 operator*(const cMatrix33& m) const;
    /// Matrix times column vector.
    cVector3 operator*(const cVector3& v) const {
        const auto& m = m_elements;
        return {m[0] * v.x + m[1] * v.y + m[2] * v.z, m[3] * v.x + m[4] * v.y + m[5] * v.z,
                m[6] * v.x + m[7] * v.y + m[8] * v.z};
    }

    cMatrix33 getTranspose() const;
    double det() const;
    /// Adjugate divided by the determinant; not finite for a singular matrix.
    cMatrix33 Inverse() const;

    /// Nine doubles, row-major.
    void toArray(double* values) const;
    void fromArray(const double* values);

    /// Rx(a) Ry(b) Rz(c), the rotation of a pose with the angles (a, b, c).
    static cMatrix33 rotationXYZ(double a, double b, double c);
    /// Rz(c) Ry(b) Rx(a): turns about the fixed axes x, then y, then z.
    static cMatrix33 makeEulerRotationXYZ(double a, double b, double c);
    /// Rx(c) Rz(b) Ry(a): turns about the fixed axes y, then z, then x.
    static cMatrix33 makeEulerRotationYZX(double a, double b, double c);
    /// Rz(-c) Ry(-b) Rz(-a), the passive form: it turns the axes, not the vectors.
    static cMatrix33 makeEulerRotationZYZ(double a, double b, double c);
    /// Rotation about a unit axis u by the angle t (Rodrigues 1840):
    /// R_ij = u_i u_j (1 - cos t) + delta_ij cos t - epsilon_ijk u_k sin t.
    static cMatrix33 fromAxisAngle(const cVector3& axis, double angle);
    /// Half turn about a unit axis: R_ij = 2 u_i u_j - delta_ij.
    static cMatrix33 fromAxisAnglePi(const cVector3& axis);
    /// A right-handed orthonormal frame whose third column is the direction of axis.
    static cMatrix33 revoluteJointZAxisMatrix(const cVector3& axis);
    /// Sets this matrix to the rotation Rz(phi) Ry(theta) that brings the z axis to the direction of axis.
    /// @return (phi, theta, 0), phi in [0, 2 pi), theta in [0, pi]
    cVector3 rotateToAxis(const cVector3& axis);

    /// The unit quaternion of a rotation matrix, w >= 0.
    void toQuaternion(double& w, double& x, double& y, double& z) const;
    /// Replaces a matrix that is a rotation up to rounding by a rotation, through its normalised quaternion.
    void orthonormalize();
    /// Angles with this = Rz(phi) Ry(-theta) Rz(psi), theta in [0, pi]. When the z axis is kept or reversed,
    /// theta = psi = 0.
    void computeEulerDecomposition(double& phi, double& theta, double& psi) const;
    /// The inverse of makeEulerRotationZYZ: this = Rz(-psi) Ry(-theta) Rz(-phi), theta in [0, pi]. When the
    /// z axis is kept or reversed, phi = 0.
    void computeEulerDecompositionZYZ(double& phi, double& theta, double& psi) const;
    /// Diagnostic aid: writes to standard output the frames of this = R' Rz(+-phi), R' being the shortest
    /// rotation that brings the z axis to the third column of this matrix.
    /// @param theta  angle of R'
    /// @param phi    acos((trace - 1) / 2) of the remaining rotation R'^-1 this
    void computeEulerDecompositionZY(double& theta, double& phi) const;

    /// Eigenvalues and eigenvectors (columns, unsorted) of a symmetric matrix by cyclic Jacobi rotations
    /// (Jacobi 1846; thresholds after Rutishauser 1966); only the upper triangle is read. Without convergence
    /// after 50 sweeps it writes a message to standard output and leaves its outputs as they were.
    void diagonalize(cVector3& values, cMatrix33& vectors) const;
    /// V diag(sqrt d) V^T of a symmetric matrix; not a number when an eigenvalue is negative.
    cMatrix33 getSquareRoot() const;
    /// V diag(1 / sqrt d) V^T of a symmetric matrix; not finite when an eigenvalue is zero or negative.
    cMatrix33 getInverseSquareRoot() const;
    /// The spectral norm (not its square): the root of the largest absolute eigenvalue of A^T A.
    double norm2() const;
    /// Of the eigenvalues of a symmetric matrix, in their order, one below the running value in magnitude,
    /// starting from 1.
    double cosphi() const;
    /// Writes the eigenvalues to standard output. It finds no axis: its argument stays as it is.
    void getAxis(cVector3& axis) const;

    /// Writes three lines of three elements, separated by one blank, to standard output.
    void print() const;

private:
    struct Quaternion {
        double w, x, y, z;
    };
    Quaternion extractQuaternion(double threshold) const;

    std::array<double, 9> m_elements;
};

/// Writes a line end, then three lines of three elements, separated by one blank.
std::ostream& operator<<(std::ostream& out, const cMatrix33& m);

#endif
