// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_POSEOVERLAP_H
#define SELVANE_ASSESSMENT_POSEOVERLAP_H

#include <array>
#include <cstddef>

#include "Assessment/PolishModel.h"
#include "Assessment/SplineField.h"
#include "Math/cMatrix33.h"
#include "Math/cVector3.h"

/// Where a model's middle is and how the model is turned: a point p of it stands at rotation p + middle.
struct Placement {
    cMatrix33 rotation = cMatrix33::identity();
    cVector3 middle = cVector3(0.0); ///< in the frame of the field, angstrom
};

/// The placement after a small motion: the middle moved by d, the model turned about it by exp(w).
/// @param d  angstrom
/// @param w  axis times angle, radians
Placement moved(const Placement& placement, const cVector3& d, const cVector3& w);

/// The overlap S of a placed model with a field, with its derivatives by the motion (d, w) of moved() at 0:
///   S(d, w) = sum over points p of w_p F(exp(w) y + m + d),  y = R p.
/// With J = d(exp(w) y)/dw = -[y]x and d2(exp(w) y)/dw_i dw_j = (e_i y_j + e_j y_i) / 2 - delta_ij y,
///   dS/dd = sum w g,     d2S/dd2 = sum w H,    d2S/dd dw = sum w H J,
///   dS/dw = sum w J'g,   d2S/dw2 = sum w (J'H J + (g y' + y g') / 2 - (g.y) I)
/// for g and H the derivatives of F. Units: that of F times the weights', per angstrom and per radian.
struct PoseOverlap {
    double value = 0.0;
    std::array<double, 6> gradient{};
    std::array<std::array<double, 6>, 6> hessian{}; ///< symmetric
    std::size_t inside = 0;                         ///< points within two voxels of the field's lattice
};

PoseOverlap poseOverlap(const SplineField& field, const PolishModel& model, const Placement& placement);

#endif
