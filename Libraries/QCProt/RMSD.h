// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_QCPROT_RMSD_H
#define SELVANE_QCPROT_RMSD_H

#include <cstddef>
#include <vector>

#include "Math/structure.h"

/// Mean square distance (not its root, in spite of the name) between one structure under two rigid poses,
/// from moments of the structure: its cost does not depend on the number of points.
///
/// With d_a = x_a - m the points relative to their mean m, and R1, R2 the rotations,
///   mean |(R1 - R2) d_a|^2 = 2 mean |d_a|^2 - 2 mean d_a^T R1^T R2 d_a,
/// a sum of second moments weighted by elements of R1^T R2; the displacement of the mean adds its square, and
/// the cross term vanishes because the d_a sum to 0.
/// @tparam Position  three doubles by [], std::array<double, 3>
template <typename Position>
class RMSD {
public:
    /// A structure at one place, the origin.
    RMSD() = default;

    /// Takes the moments of the positions; without any, those of a structure at the origin.
    explicit RMSD(const std::vector<Position>& positions);

    /// mean over the points x of |(R1 x + t1) - (R2 x + t2)|^2, in the square of the positions' unit.
    /// Rounding can make it a little less than 0 for nearly equal poses.
    /// @param R1, R2  rotations, nine doubles, row-major
    /// @param t1, t2  translations, three doubles
    double getMSDTwoTransforms(const double* R1, const double* R2, const double* t1, const double* t2) const;

    Position m_mean{};
    double m_Ax = 0.0, m_Ay = 0.0, m_Az = 0.0;    ///< 4 mean d_x^2 and so on
    double m_Bx = 0.0, m_By = 0.0, m_Bz = 0.0;    ///< sums of the other two A; no formula here reads them
    double m_Cxy = 0.0, m_Cyz = 0.0, m_Cxz = 0.0; ///< -4 mean d_x d_y and so on
    double m_count = 0.0;                         ///< number of points
};

template <typename Position>
RMSD<Position>::RMSD(const std::vector<Position>& positions) {
    if (positions.empty()) {
        return;
    }
    m_count = static_cast<double>(positions.size());
    m_mean = getCenter(positions);
    double xx = 0.0, yy = 0.0, zz = 0.0;
    double xy = 0.0, yz = 0.0, xz = 0.0;
    for (const Position& position : positions) {
        const double dx = position[0] - m_mean[0];
        const double dy = position[1] - m_mean[1];
        const double dz = position[2] - m_mean[2];
        xx += dx * dx;
        yy += dy * dy;
        zz += dz * dz;
        xy += dx * dy;
        yz += dy * dz;
        xz += dx * dz;
    }
    m_Ax = 4.0 * xx / m_count;
    m_Ay = 4.0 * yy / m_count;
    m_Az = 4.0 * zz / m_count;
    m_Bx = m_Ay + m_Az;
    m_By = m_Az + m_Ax;
    m_Bz = m_Ax + m_Ay;
    m_Cxy = -4.0 * xy / m_count;
    m_Cyz = -4.0 * yz / m_count;
    m_Cxz = -4.0 * xz / m_count;
}

template <typename Position>
double RMSD<Position>::getMSDTwoTransforms(const double* R1, const double* R2, const double* t1,
                                           const double* t2) const {
    double M[3][3];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            M[i][j] = R1[i] * R2[j] + R1[3 + i] * R2[3 + j] + R1[6 + i] * R2[6 + j];
        }
    }
    double displacement2 = 0.0;
    for (int row = 0; row < 3; ++row) {
        // Deliberate: (R1 - I) m + t1 - (R2 - I) m - t2, in this order, although I drops out. The sum decides
        // whether two poses lie within a threshold.
        double moved1 = 0.0;
        double moved2 = 0.0;
        for (int column = 0; column < 3; ++column) {
            const double identity = row == column ? 1.0 : 0.0;
            const double m = m_mean[static_cast<std::size_t>(column)];
            moved1 += (R1[3 * row + column] - identity) * m;
            moved2 += (R2[3 * row + column] - identity) * m;
        }
        const double displacement = moved1 + t1[row] - moved2 - t2[row];
        displacement2 += displacement * displacement;
    }
    const double turned2 =
        ((1.0 - M[0][0]) * m_Ax + (1.0 - M[1][1]) * m_Ay + (1.0 - M[2][2]) * m_Az +
         (M[0][1] + M[1][0]) * m_Cxy + (M[0][2] + M[2][0]) * m_Cxz + (M[1][2] + M[2][1]) * m_Cyz) /
        2.0;
    return displacement2 + turned2;
}

#endif
