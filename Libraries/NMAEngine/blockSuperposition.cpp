// SPDX-License-Identifier: GPL-3.0-or-later
#include "NMAEngine/blockSuperposition.h"

#include <cmath>
#include <memory>

#include "Math/structure.h"
#include "QCProt/qcprot.h"

namespace {

struct FreePoints {
    void operator()(double** rows) const { delete_qcprotAtoms(rows); }
};
using Points = std::unique_ptr<double*, FreePoints>;

/// Of the second moments of a body: the sum of the products of two principal ones over the square of their
/// sum. Below this the body is a line, about which no superposition tells the rotation.
constexpr double noWidth = 1e-8;

/// Moves the points to their centre of mass.
cVector3 takeCenter(const Points& points, int n, const double* masses) {
    double center[3];
    GetCenter(points.get(), n, masses, center);
    ShiftCoordsMinus(points.get(), n, center);
    return cVector3(center);
}

double trace(const double* A) {
    return A[0] + A[4] + A[8];
}

/// Second moments of rank one stay so under a rotation.
bool isLine(const double* A) {
    double traceOfSquare = 0.0;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            traceOfSquare += A[3 * i + j] * A[3 * j + i];
        }
    }
    const double square = trace(A) * trace(A);
    return 0.5 * (square - traceOfSquare) <= noWidth * square;
}

/// Of A = s u (R u)^T: the vector u x R u, whose length is the sine of the angle between the lines and for
/// a small motion the angle.
cVector3 shortestTurn(const double* A) {
    if (!(trace(A) > 0.0)) {
        return cVector3(0.0);
    }
    return cVector3(A[5] - A[7], A[6] - A[2], A[1] - A[3]) / trace(A);
}

/// The rotation vector of a unit quaternion (w, v), theta = 2 atan(|v| / |w|) along v. q and -q are one
/// rotation; the one with w >= 0 has the axis of the shorter turn. The arc tangent, unlike the arc cosine of
/// w, keeps the digits of a small angle.
cVector3 rotationVector(const double* q) {
    const cVector3 v = cVector3(q + 1) * std::copysign(1.0, q[0]);
    const double length = v.norm();
    return length > 0.0 ? v * (2.0 * std::atan2(length, std::fabs(q[0])) / length) : cVector3(0.0);
}

/// The rotation of set 1 that brings it onto set 2. With set 1 undeformed and set 2 deformed, the quaternion
/// (cos(theta / 2), sin(theta / 2) n) holds the rotation from the first to the second; the matrix that comes
/// with it is the inverse.
cVector3 fitTurn(const Points& undeformed, const Points& deformed, int n, const double* masses) {
    double A[9];
    const double e0 = InnerProduct(A, undeformed.get(), deformed.get(), n, masses);
    if (isLine(A)) {
        return shortestTurn(A);
    }
    double inverse[9];
    double quaternion[4];
    double rmsd = 0.0;
    if (FastCalcRMSDAndRotation(inverse, quaternion, A, &rmsd, n, e0, -1.0) != 1) {
        return shortestTurn(A);
    }
    return rotationVector(quaternion);
}

} // namespace

BlockMotion fitBlockMotion(const std::vector<cPDBAtom>& before,
                           const std::vector<std::array<double, 3>>& after, const std::list<int>& block,
                           const std::vector<double>& masses) {
    const Points undeformed(new_qcprotAtoms(block.size()));
    const Points deformed(new_qcprotAtoms(block.size()));
    std2qcprot(before, block, undeformed.get());
    std2qcprot(after, block, deformed.get());
    const int n = static_cast<int>(block.size());
    const cVector3 center = takeCenter(undeformed, n, masses.data());
    const cVector3 newCenter = takeCenter(deformed, n, masses.data());
    return {center, fitTurn(undeformed, deformed, n, masses.data()), newCenter - center};
}
