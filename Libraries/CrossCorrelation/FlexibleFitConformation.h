// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_FLEXIBLEFITCONFORMATION_H
#define SELVANE_CROSSCORRELATION_FLEXIBLEFITCONFORMATION_H

#include <array>
#include <iosfwd>
#include <memory>
#include <string>

#include <armadillo>

class cGrid;

/// A candidate pose: a rotation of the scan, a translation on the correlation grid, continuous increments of
/// both between the samples, mode amplitudes, and two scores.
///
/// The degrees-of-freedom vector x of length n = m + 6, m the number of normal modes, is shared by all
/// derivatives (element or row i of a gradient or Hessian belongs to x_i; a flat list of second derivatives
/// holds (i, j) at i * n + j):
///   x[0..2]  tau    increment of the translation along x, y, z, in angstrom
///   x[3..5]  theta  infinitesimal rotation vector, in radians: p moves by theta x (p - centre)
///   x[6..]   eta    amplitudes of the modes, in the order of the modes
/// Grid translation, tau, theta and eta act in the frame of the model, before the rotation of the scan.
///
/// A plain value; copies share the grid.
class FlexibleFitConformation {
public:
    /// Rigid score -1, below every candidate that a scan accepts; node, angles and increments 0; no grid.
    FlexibleFitConformation() = default;

    /// A candidate at node (i, j, k) with zero angles and increments.
    FlexibleFitConformation(double score, int i, int j, int k, const arma::Col<double>& eta,
                            std::shared_ptr<const cGrid> grid);

    /// The same with the rotation of the scan, angles of cMatrix33::rotationXYZ in radians.
    FlexibleFitConformation(double score, int i, int j, int k, const arma::Col<double>& eta,
                            std::shared_ptr<const cGrid> grid, double alpha, double beta, double gamma);

    void setRotation(double alpha, double beta, double gamma);

    /// Sets the three parts of x.
    void setTweenDof(const std::array<double, 3>& tau, const std::array<double, 3>& theta,
                     const arma::Col<double>& eta);

    /// Translation of the grid node in angstrom, in REVERSE order: (t_z, t_y, t_x), with t_x = (n_i - 1 - i)
    /// c_x for the grid's size n and cell c, and y and z alike. A correlation peaks at the shift that undoes
    /// the translation, so the count runs down from the last node; no component is negative.
    /// @throws std::logic_error without a grid
    std::array<double, 3> getTau() const;

    /// The report of operator<<.
    std::string toString() const;

    /// Deliberate: both orders look at the rigid score alone, and conformations of equal rigid score are
    /// equivalent.
    bool operator<(const FlexibleFitConformation& other) const { return m_rigidScore < other.m_rigidScore; }
    bool operator>(const FlexibleFitConformation& other) const { return m_rigidScore > other.m_rigidScore; }

    double m_rigidScore = -1.0; ///< correlation at the grid node
    double m_flexScore = 0.0;   ///< score after the local solve; 0 before it
    int m_i = 0;                ///< node on the correlation grid, along x
    int m_j = 0;                ///< along y
    int m_k = 0;                ///< along z
    double m_alpha = 0.0;       ///< rotation of the scan, radians
    double m_beta = 0.0;
    double m_gamma = 0.0;
    double m_dalpha = 0.0; ///< theta of x
    double m_dbeta = 0.0;
    double m_dgamma = 0.0;
    arma::Col<double> m_eta; ///< eta of x
// The elements of an array under names of their own: no standard C++, but what gcc and clang define.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
    union {
        std::array<double, 3> m_dTau{}; ///< tau of x, as one
        struct {
            double m_ddx; ///< tau of x
            double m_ddy;
            double m_ddz;
        };
    };
#pragma GCC diagnostic pop
    bool m_isSet = false; ///< constructed from values
    std::shared_ptr<const cGrid> m_grid;

protected:
    /// Moves the candidate to the maximum of q(d) = r + g'd + d'Hd / 2 on the ball |d| <= radius, r being the
    /// rigid score: the step is added to the increments and the flex score becomes q there. If H is not
    /// negative definite nothing moves and the flex score becomes the rigid score.
    /// @param gradient  g, n elements, n >= 6
    /// @param hessian   H, n x n
    /// @return whether H is negative definite
    /// @throws std::length_error for other sizes
    bool maximizeLocalModel(const arma::Col<double>& gradient, const arma::Mat<double>& hessian,
                            double radius);
};

/// A line end, then one line per member as "\t* name = value"; every line ends with a flush.
/// @throws std::logic_error without a grid
std::ostream& operator<<(std::ostream& out, const FlexibleFitConformation& conformation);

#endif // SELVANE_CROSSCORRELATION_FLEXIBLEFITCONFORMATION_H
