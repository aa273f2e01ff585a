// SPDX-License-Identifier: GPL-3.0-or-later
#include "Math/cMatrix33.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>

#include "Math/pi.h"

namespace {

/// Below this sine of its tilt the z axis counts as kept or reversed.
constexpr double gimbalLock = 1e-8;

cMatrix33 rotationX(double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {1, 0, 0, 0, c, -s, 0, s, c};
}

cMatrix33 rotationY(double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {c, 0, s, 0, 1, 0, -s, 0, c};
}

cMatrix33 rotationZ(double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {c, -s, 0, s, c, 0, 0, 0, 1};
}

void writeRows(std::ostream& out, const cMatrix33& m) {
    for (int r = 0; r < 3; ++r) {
        out << m(r, 0) << ' ' << m(r, 1) << ' ' << m(r, 2) << '\n';
    }
}

cVector3 column(const cMatrix33& m, int c) {
    return {m(0, c), m(1, c), m(2, c)};
}

/// The state of a cyclic Jacobi diagonalisation of a symmetric matrix.
struct JacobiState {
    cMatrix33 a;       ///< only the part above the diagonal is read and kept up to date
    cMatrix33 vectors; ///< eigenvectors in the columns
    cVector3 values;   ///< running eigenvalues
    cVector3 start;    ///< eigenvalues at the start of the sweep
    cVector3 change;   ///< their change in the sweep, summed apart to keep its low digits

    explicit JacobiState(const cMatrix33& m)
        : a(m)
        , vectors(cMatrix33::identity())
        , values(m(0, 0), m(1, 1), m(2, 2))
        , start(values)
        , change(0.0) {}

    double offDiagonalSum() const { return std::fabs(a(0, 1)) + std::fabs(a(0, 2)) + std::fabs(a(1, 2)); }

    void sweep(int number) {
        constexpr int sweepsWithThreshold = 3;
        const double threshold = number <= sweepsWithThreshold ? 0.2 * offDiagonalSum() / 9 : 0.0;
        eliminate(0, 1, number, threshold);
        eliminate(0, 2, number, threshold);
        eliminate(1, 2, number, threshold);
        start += change;
        values = start;
        change.setZero();
    }

private:
    static void rotate(double& x, double& y, double s, double tau) {
        const double oldX = x;
        x = oldX - s * (y + tau * oldX);
        y = y + s * (oldX - tau * y);
    }

    void eliminate(int p, int q, int sweepNumber, double threshold) {
        constexpr int sweepsBeforeDropping = 4;
        const double apq = a(p, q);
        const double g = 100 * std::fabs(apq);
        const auto isLostIn = [g](double value) { return std::fabs(value) + g == std::fabs(value); };
        if (sweepNumber > sweepsBeforeDropping && isLostIn(values[p]) && isLostIn(values[q])) {
            a(p, q) = 0;
        } else if (std::fabs(apq) > threshold) {
            double h = values[q] - values[p];
            const double t = isLostIn(h) ? apq / h : tangent(0.5 * h / apq);
            const double c = 1 / std::sqrt(1 + t * t);
            const double s = t * c;
            const double tau = s / (1 + c);
            h = t * apq;
            change[p] -= h;
            change[q] += h;
            values[p] -= h;
            values[q] += h;
            a(p, q) = 0;
            const int r = 3 - p - q;
            rotate(a(std::min(p, r), std::max(p, r)), a(std::min(q, r), std::max(q, r)), s, tau);
            for (int row = 0; row < 3; ++row) {
                rotate(vectors(row, p), vectors(row, q), s, tau);
            }
        }
    }

    /// The tangent of the smaller rotation angle, from the cotangent theta of its double.
    static double tangent(double theta) {
        const double t = 1 / (std::fabs(theta) + std::sqrt(1 + theta * theta));
        return theta < 0 ? -t : t;
    }
};

/// V diag(f(d)) V^T of a symmetric matrix; not a number when the diagonalisation fails.
template <class Function>
cMatrix33 functionOfSymmetric(const cMatrix33& m, Function f) {
    cVector3 d(std::numeric_limits<double>::quiet_NaN());
    cMatrix33 v;
    m.diagonalize(d, v);
    return v * cMatrix33::diagMat({f(d.x), f(d.y), f(d.z)}) * v.getTranspose();
}

} // namespace

cMatrix33::cMatrix33(const double (&rows)[3][3])
    : cMatrix33(rows[0][0], rows[0][1], rows[0][2], rows[1][0], rows[1][1], rows[1][2], rows[2][0],
                rows[2][1], rows[2][2]) {}

cMatrix33 cMatrix33::operator+(const cMatrix33& m) const {
    cMatrix33 sum = *this;
    return sum += m;
}

cMatrix33 cMatrix33::operator-(const cMatrix33& m) const {
    cMatrix33 difference;
    for (unsigned e = 0; e < 9; ++e) {
        difference.m_elements[e] = m_elements[e] - m.m_elements[e];
    }
    return difference;
}

cMatrix33& cMatrix33::operator+=(const cMatrix33& m) {
    for (unsigned e = 0; e < 9; ++e) {
        m_elements[e] += m.m_elements[e];
    }
    return *this;
}

cMatrix33 cMatrix33::operator*(double factor) const {
    cMatrix33 product = *this;
    return product *= factor;
}

cMatrix33& cMatrix33::operator*=(double factor) {
    for (double& element : m_elements) {
        element *= factor;
    }
    return *this;
}

cMatrix33 cMatrix33::operator*(const cMatrix33& m) const {
    return {*this * column(m, 0), *this * column(m, 1), *this * column(m, 2)};
}

cMatrix33 cMatrix33::getTranspose() const {
    const auto& m = m_elements;
    return {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]};
}

double cMatrix33::det() const {
    return column(*this, 0) | (column(*this, 1) ^ column(*this, 2));
}

cMatrix33 cMatrix33::Inverse() const {
    const cVector3 a = column(*this, 0);
    const cVector3 b = column(*this, 1);
    const cVector3 c = column(*this, 2);
    const double determinant = det();
    // The rows of the adjugate are the cross products of the columns.
    return cMatrix33((b ^ c) / determinant, (c ^ a) / determinant, (a ^ b) / determinant).getTranspose();
}

void cMatrix33::toArray(double* values) const {
    std::copy(m_elements.begin(), m_elements.end(), values);
}

void cMatrix33::fromArray(const double* values) {
    std::copy(values, values + 9, m_elements.begin());
}

cMatrix33 cMatrix33::rotationXYZ(double a, double b, double c) {
    const double ca = std::cos(a), sa = std::sin(a);
    const double cb = std::cos(b), sb = std::sin(b);
    const double cc = std::cos(c), sc = std::sin(c);
    return {cb * cc,
            -cb * sc,
            sb,
            ca * sc + sa * sb * cc,
            ca * cc - sa * sb * sc,
            -sa * cb,
            sa * sc - ca * sb * cc,
            sa * cc + ca * sb * sc,
            ca * cb};
}

cMatrix33 cMatrix33::makeEulerRotationXYZ(double a, double b, double c) {
    return rotationZ(c) * rotationY(b) * rotationX(a);
}

cMatrix33 cMatrix33::makeEulerRotationYZX(double a, double b, double c) {
    return rotationX(c) * rotationZ(b) * rotationY(a);
}

cMatrix33 cMatrix33::makeEulerRotationZYZ(double a, double b, double c) {
    return rotationZ(-c) * rotationY(-b) * rotationZ(-a);
}

cMatrix33 cMatrix33::fromAxisAngle(const cVector3& axis, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const cVector3& u = axis;
    return {u.x * u.x * (1 - c) + c,       u.x * u.y * (1 - c) - u.z * s, u.x * u.z * (1 - c) + u.y * s,
            u.y * u.x * (1 - c) + u.z * s, u.y * u.y * (1 - c) + c,       u.y * u.z * (1 - c) - u.x * s,
            u.z * u.x * (1 - c) - u.y * s, u.z * u.y * (1 - c) + u.x * s, u.z * u.z * (1 - c) + c};
}

cMatrix33 cMatrix33::fromAxisAnglePi(const cVector3& axis) {
    const cVector3& u = axis;
    return {2 * u.x * u.x - 1, 2 * u.x * u.y, 2 * u.x * u.z, 2 * u.y * u.x,    2 * u.y * u.y - 1,
            2 * u.y * u.z,     2 * u.z * u.x, 2 * u.z * u.y, 2 * u.z * u.z - 1};
}

cMatrix33 cMatrix33::revoluteJointZAxisMatrix(const cVector3& axis) {
    constexpr double farFromX = 0.1;
    const bool isFarFromX = std::fabs(axis.y) > farFromX || std::fabs(axis.z) > farFromX;
    const cVector3 helper = isFarFromX ? cVector3(1, 0, 0) : cVector3(0, 1, 0);
    const cVector3 third = axis.normalizedVersion();
    const cVector3 second = (third ^ helper).normalizedVersion();
    return {second ^ third, second, third};
}

cVector3 cMatrix33::rotateToAxis(const cVector3& axis) {
    constexpr double tolerance = 1e-10;
    const cVector3 n = axis.normalizedVersion();
    const double r = std::sqrt(n.x * n.x + n.y * n.y);
    const bool isXSmall = std::fabs(n.x) < tolerance;
    const bool isYSmall = std::fabs(n.y) < tolerance;
    double c = 1;
    double s = 0;
    if (isXSmall && !isYSmall) {
        c = 0;
        s = std::copysign(1.0, n.y);
    } else if (!isXSmall && isYSmall) {
        c = std::copysign(1.0, n.x);
    } else if (!isXSmall) {
        const double q = (n.x / n.y) * (n.x / n.y);
        c = std::copysign(1 / std::sqrt(1 + 1 / q), n.x);
        s = std::copysign(1 / std::sqrt(1 + q), n.y);
    }
    *this = cMatrix33(n.z * c, -s, r * c, n.z * s, c, r * s, -r, 0, n.z);
    const double phi = std::acos(c);
    return {s < 0 ? 2 * pi - phi : phi, std::acos(std::clamp(n.z, -1.0, 1.0)), 0};
}

cMatrix33::Quaternion cMatrix33::extractQuaternion(double threshold) const {
    const cMatrix33& m = *this;
    double square = (1 + m(0, 0) + m(1, 1) + m(2, 2)) / 4;
    if (square > threshold) {
        const double w = std::sqrt(square);
        return {w, (m(2, 1) - m(1, 2)) / (4 * w), (m(0, 2) - m(2, 0)) / (4 * w),
                (m(1, 0) - m(0, 1)) / (4 * w)};
    }
    // A half turn: m11 = 2 y^2 - 1 and m22 = 2 z^2 - 1, with x^2 + y^2 + z^2 = 1.
    square = -(m(1, 1) + m(2, 2)) / 2;
    if (square > threshold) {
        const double x = std::sqrt(square);
        return {0, x, m(1, 0) / (2 * x), m(2, 0) / (2 * x)};
    }
    square = (1 - m(2, 2)) / 2;
    if (square > threshold) {
        const double y = std::sqrt(square);
        return {0, 0, y, m(2, 1) / (2 * y)};
    }
    return {0, 0, 0, 1};
}

void cMatrix33::toQuaternion(double& w, double& x, double& y, double& z) const {
    constexpr double threshold = 1e-40;
    const Quaternion q = extractQuaternion(threshold);
    w = q.w;
    x = q.x;
    y = q.y;
    z = q.z;
}

void cMatrix33::orthonormalize() {
    constexpr double threshold = 1e-8;
    const Quaternion q = extractQuaternion(threshold);
    const double length = std::sqrt(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
    const double w = q.w / length, x = q.x / length, y = q.y / length, z = q.z / length;
    *this = cMatrix33(1 - 2 * y * y - 2 * z * z, 2 * x * y - 2 * w * z, 2 * x * z + 2 * w * y,
                      2 * x * y + 2 * w * z, 1 - 2 * x * x - 2 * z * z, 2 * y * z - 2 * w * x,
                      2 * x * z - 2 * w * y, 2 * y * z + 2 * w * x, 1 - 2 * x * x - 2 * y * y);
}

void cMatrix33::computeEulerDecomposition(double& phi, double& theta, double& psi) const {
    const cMatrix33& m = *this;
    const double s = std::sqrt(1 - m(2, 2) * m(2, 2));
    if (s > gimbalLock) {
        phi = std::atan2(-m(1, 2), -m(0, 2));
        theta = std::atan2(s, m(2, 2));
        psi = std::atan2(-m(2, 1), m(2, 0));
    } else {
        // Deliberate: a reversed z axis, too, comes back with theta = 0.
        phi = std::atan2(m(1, 0), m(0, 0));
        theta = 0;
        psi = 0;
    }
}

void cMatrix33::computeEulerDecompositionZYZ(double& phi, double& theta, double& psi) const {
    const cMatrix33& m = *this;
    const double cosine = m(2, 2);
    const double s = cosine * cosine <= 1 ? std::sqrt(1 - cosine * cosine) : 0;
    if (s > gimbalLock) {
        theta = std::atan2(s, cosine);
        phi = std::atan2(m(2, 1), m(2, 0));
    } else {
        phi = 0;
        theta = cosine < 0 ? pi : 0;
    }
    if (cosine > 0) {
        psi = std::atan2(m(0, 1) - m(1, 0), m(0, 0) + m(1, 1)) - phi;
    } else {
        psi = phi - std::atan2(-(m(0, 1) + m(1, 0)), -(m(0, 0) - m(1, 1)));
    }
}

void cMatrix33::computeEulerDecompositionZY(double& theta, double& phi) const {
    const cVector3 z0(0, 0, 1);
    const cVector3 x = column(*this, 0);
    const cVector3 y = column(*this, 1);
    const cVector3 z = column(*this, 2);
    const cVector3 normal = z0 ^ z;
    const cVector3 n = normal.norm() > gimbalLock ? normal.normalizedVersion() : cVector3(1, 0, 0);
    theta = std::atan2(normal.norm(), z.z);
    const cMatrix33 rPrime = fromAxisAngle(n, theta);
    const cVector3 xPrime = column(rPrime, 0);
    const cVector3 yPrime = column(rPrime, 1);
    const cMatrix33 rPrimeInverse = rPrime.getTranspose();
    const cMatrix33 rest = rPrimeInverse * *this;
    const double trace = rest(0, 0) + rest(1, 1) + rest(2, 2);
    phi = std::acos(std::clamp((trace - 1) / 2, -1.0, 1.0));

    std::cout << "n=" << n << "\nz=" << z << "\nxPrime=" << xPrime << "\nyPrime=" << yPrime
              << "\nzPrime=" << column(rPrime, 2) << "\nx=" << x << "\ny=" << y
              << "\nxPrime*yPrime=" << (xPrime | yPrime) << "\nxPrime*z0=" << (xPrime | z0)
              << "\nyPrime*z0=" << (yPrime | z0) << "\nRPrime=" << rPrime << "this=" << *this
              << "RPrimeInverse=" << rPrimeInverse << "trace= " << trace << "\nphi= " << phi << std::endl;
}

void cMatrix33::diagonalize(cVector3& values, cMatrix33& vectors) const {
    constexpr int maxSweeps = 50;
    JacobiState state(*this);
    for (int number = 1; number <= maxSweeps; ++number) {
        if (state.offDiagonalSum() == 0) {
            values = state.values;
            vectors = state.vectors;
            return;
        }
        state.sweep(number);
    }
    std::cout << "Error in diagonalization in Matrix33" << std::endl;
}

cMatrix33 cMatrix33::getSquareRoot() const {
    return functionOfSymmetric(*this, [](double d) { return std::sqrt(d); });
}

cMatrix33 cMatrix33::getInverseSquareRoot() const {
    return functionOfSymmetric(*this, [](double d) { return 1 / std::sqrt(d); });
}

double cMatrix33::norm2() const {
    cVector3 d(std::numeric_limits<double>::quiet_NaN());
    cMatrix33 v;
    (getTranspose() * *this).diagonalize(d, v);
    return std::sqrt(std::max({std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)}));
}

double cMatrix33::cosphi() const {
    cVector3 d(std::numeric_limits<double>::quiet_NaN());
    cMatrix33 v;
    diagonalize(d, v);
    double u = std::fabs(d.x) < 1 ? d.x : 1;
    // Deliberate: a magnitude is compared with a signed running value, so a negative one is final.
    u = std::fabs(d.y) < u ? d.y : u;
    return std::fabs(d.z) < u ? d.z : u;
}

void cMatrix33::getAxis(cVector3& /*axis*/) const {
    // Deliberate: prints the eigenvalues and leaves the axis alone.
    cVector3 d(std::numeric_limits<double>::quiet_NaN());
    cMatrix33 v;
    diagonalize(d, v);
    d.print();
}

void cMatrix33::print() const {
    writeRows(std::cout, *this);
}

std::ostream& operator<<(std::ostream& out, const cMatrix33& m) {
    out << '\n';
    writeRows(out, m);
    return out;
}
