// SPDX-License-Identifier: GPL-3.0-or-later
#include "QCProt/qcprot.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>

#include "Math/structure.h"

namespace {

constexpr int maxRounds = 50;
constexpr double rootPrecision = 1e-11;  // relative to the root x
constexpr double lostValue = 1e-14;      // of the polynomial, relative to x^4: the rounding of its sum
constexpr double lostSlope = 1e-6;       // relative to x^3, where a double root has lost its value
constexpr double shortestColumn2 = 1e-6; // squared norm below which a column of the adjugate counts as null

using Quaternion = std::array<double, 4>;
using KeyMatrix = std::array<std::array<double, 4>, 4>;

/// x^4 + c2 x^2 + c1 x + c0.
struct CharacteristicPolynomial {
    double c2, c1, c0;
};

double square(double x) {
    return x * x;
}

CharacteristicPolynomial makePolynomial(const double* A) {
    const double Sxx = A[0], Sxy = A[1], Sxz = A[2];
    const double Syx = A[3], Syy = A[4], Syz = A[5];
    const double Szx = A[6], Szy = A[7], Szz = A[8];

    const double a = 2.0 * (Syz * Szy - Syy * Szz);
    const double b = Syz + Szy;
    const double c = square(Syy) + square(Szz) - square(Sxx) + square(Syz) + square(Szy);
    const double d = Sxy + Syx;
    const double e = Syz - Szy;
    const double f = Sxy - Syx;
    const double g = Sxz + Szx;
    const double h = square(Sxz) + square(Sxy) - square(Syx) - square(Szx);
    const double p = Sxx - Syy - Szz;
    const double r = Sxz - Szx;
    const double s = Sxx + Syy + Szz;
    const double u = Sxx + Syy - Szz;
    const double v = Sxx - Syy + Szz;

    CharacteristicPolynomial result{};
    result.c2 = -2.0 * (square(Sxx) + square(Syy) + square(Szz) + square(Sxy) + square(Syx) + square(Sxz) +
                        square(Szx) + square(Syz) + square(Szy));
    result.c1 = 8.0 * (Sxx * Syz * Szy + Syy * Szx * Sxz + Szz * Sxy * Syx - Sxx * Syy * Szz -
                       Syz * Szx * Sxy - Szy * Syx * Sxz);
    result.c0 = h * h + (c - a) * (c + a) + (f * v - b * r) * (-g * e + p * f) +
                (-g * b - d * u) * (-r * e - s * d) + (v * g + b * d) * (s * g - f * e) +
                (u * r - b * f) * (p * r + d * e);
    return result;
}

/// Newton's iteration downwards from `start`, the upper bound e0 of the roots. A multiple root, which points
/// on a line or in one place have, is a quotient of two values that vanish: it ends where both are lost in
/// rounding.
double findLargestRoot(const CharacteristicPolynomial& polynomial, double start) {
    double x = start;
    for (int round = 0; round < maxRounds; ++round) {
        const double x2 = x * x;
        const double b = (x2 + polynomial.c2) * x;
        const double a = b + polynomial.c1;
        const double value = a * x + polynomial.c0;
        const double slope = 2.0 * x2 * x + b + a;
        if (std::abs(value) <= lostValue * x2 * x2 && std::abs(slope) <= lostSlope * x2 * std::abs(x)) {
            return x;
        }
        const double next = x - value / slope;
        const bool isConverged = std::abs(next - x) < std::abs(next * rootPrecision);
        x = next;
        if (isConverged) {
            return x;
        }
    }
    std::fprintf(stderr, "\nMore than %d iterations needed!\n", maxRounds);
    return x;
}

KeyMatrix makeShiftedKeyMatrix(const double* A, double lambda) {
    const double Sxx = A[0], Sxy = A[1], Sxz = A[2];
    const double Syx = A[3], Syy = A[4], Syz = A[5];
    const double Szx = A[6], Szy = A[7], Szz = A[8];
    return {{{Sxx + Syy + Szz - lambda, Syz - Szy, Szx - Sxz, Sxy - Syx},
             {Syz - Szy, Sxx - Syy - Szz - lambda, Sxy + Syx, Szx + Sxz},
             {Szx - Sxz, Sxy + Syx, -Sxx + Syy - Szz - lambda, Syz + Szy},
             {Sxy - Syx, Szx + Sxz, Syz + Szy, -Sxx - Syy + Szz - lambda}}};
}

double cofactor(const KeyMatrix& m, std::size_t row, std::size_t column) {
    std::array<std::array<double, 3>, 3> rest{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            rest[i][j] = m[i < row ? i : i + 1][j < column ? j : j + 1];
        }
    }
    const double minor = rest[0][0] * (rest[1][1] * rest[2][2] - rest[1][2] * rest[2][1]) -
                         rest[0][1] * (rest[1][0] * rest[2][2] - rest[1][2] * rest[2][0]) +
                         rest[0][2] * (rest[1][0] * rest[2][1] - rest[1][1] * rest[2][0]);
    return (row + column) % 2 == 0 ? minor : -minor;
}

/// The first column of the adjugate that isn't null, scaled to length 1; false if all are null.
bool findNullVector(const KeyMatrix& m, Quaternion& q) {
    for (std::size_t column = 0; column < 4; ++column) {
        double norm2 = 0.0;
        for (std::size_t row = 0; row < 4; ++row) {
            q[row] = cofactor(m, column, row);
            norm2 += square(q[row]);
        }
        if (norm2 < shortestColumn2) {
            continue;
        }
        for (double& component : q) {
            component /= std::sqrt(norm2);
        }
        return true;
    }
    q = {1.0, 0.0, 0.0, 0.0};
    return false;
}

void shift(double** coords, int len, const double* vector, double sign) {
    for (int axis = 0; axis < 3; ++axis) {
        for (int i = 0; i < len; ++i) {
            coords[axis][i] += sign * vector[axis];
        }
    }
}

} // namespace

double InnerProduct(double* A, const double* const* coords1, const double* const* coords2, int len,
                    const double* weight) {
    double G1 = 0.0;
    double G2 = 0.0;
    for (int element = 0; element < 9; ++element) {
        A[element] = 0.0;
    }
    for (int i = 0; i < len; ++i) {
        const double w = weight == nullptr ? 1.0 : weight[i];
        const double p1[3] = {w * coords1[0][i], w * coords1[1][i], w * coords1[2][i]};
        for (int row = 0; row < 3; ++row) {
            G1 += p1[row] * coords1[row][i];
            G2 += w * coords2[row][i] * coords2[row][i];
            for (int column = 0; column < 3; ++column) {
                A[3 * row + column] += p1[row] * coords2[column][i];
            }
        }
    }
    return (G1 + G2) * 0.5;
}

int FastCalcRMSDAndRotation(double* rot, double* quaternion, const double* A, double* rmsd, int len,
                            double e0, double minScore) {
    const double lambda = findLargestRoot(makePolynomial(A), e0);
    // Deliberate: the divisor is the number of points, whatever their weights.
    *rmsd = len < 1 ? 0.0 : std::sqrt(std::abs(2.0 * (e0 - lambda) / len));
    if (minScore > 0.0 && *rmsd < minScore) {
        return -1;
    }
    Quaternion q{};
    const bool isFound = findNullVector(makeShiftedKeyMatrix(A, lambda), q);
    for (std::size_t i = 0; i < q.size(); ++i) {
        quaternion[i] = q[i];
    }
    quaternion2RotationMatrix(quaternion, rot);
    return isFound ? 1 : 0;
}

double CalcRMSDRotationalMatrix(double** coords1, double** coords2, int len, double* rot,
                                const double* weight) {
    CenterCoords(coords1, len, weight);
    CenterCoords(coords2, len, weight);
    double A[9];
    double quaternion[4];
    double rmsd = 0.0;
    const double e0 = InnerProduct(A, coords1, coords2, len, weight);
    FastCalcRMSDAndRotation(rot, quaternion, A, &rmsd, len, e0, -1.0);
    return rmsd;
}

void CenterCoords(double** coords, int len, const double* weight) {
    double center[3];
    GetCenter(coords, len, weight, center);
    ShiftCoordsMinus(coords, len, center);
}

void GetCenter(const double* const* coords, int len, const double* weight, double* center) {
    double total = 0.0;
    for (int i = 0; i < len; ++i) {
        total += weight == nullptr ? 1.0 : weight[i];
    }
    for (int axis = 0; axis < 3; ++axis) {
        double sum = 0.0;
        for (int i = 0; i < len; ++i) {
            sum += (weight == nullptr ? 1.0 : weight[i]) * coords[axis][i];
        }
        center[axis] = total == 0.0 ? 0.0 : sum / total;
    }
}

void ShiftCoordsPlus(double** coords, int len, const double* center) {
    shift(coords, len, center, 1.0);
}

void ShiftCoordsMinus(double** coords, int len, const double* center) {
    shift(coords, len, center, -1.0);
}

void applyRotationMatrix(double** coords, int len, const double* rot) {
    for (int i = 0; i < len; ++i) {
        const double x = coords[0][i];
        const double y = coords[1][i];
        const double z = coords[2][i];
        for (std::size_t row = 0; row < 3; ++row) {
            coords[row][i] = rot[3 * row] * x + rot[3 * row + 1] * y + rot[3 * row + 2] * z;
        }
    }
}

void PrintCoords(const double* const* coords, int len) {
    for (int i = 0; i < len; ++i) {
        std::printf("%d %8.3f %8.3f %8.3f\n", i + 1, coords[0][i], coords[1][i], coords[2][i]);
    }
}
