// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_SPLINELINES_H
#define SELVANE_ASSESSMENT_SPLINELINES_H

#include <array>
#include <cstddef>
#include <vector>

/// Turns the values at the nodes of a lattice into the coefficients c of the cubic spline through them, along
/// one axis after the other:
///   f(u) = sum over n of c[n] B(u - n),  B the cubic B-spline, u in voxels
/// (Unser, IEEE Signal Process. Mag. 16, 22-38, 1999). No coefficient lies off the lattice, so beyond a face
/// the spline falls to 0 within two voxels, with two continuous derivatives.
/// @param values  nx ny nz of them, z fastest
void toSplineCoefficients(std::vector<float>& values, const std::array<std::size_t, 3>& size);

/// Blurs a field by a Gaussian of integral 1 and takes the result at the nodes. What is convolved is the
/// cubic spline through the nodes, not the nodes, so that a Gaussian narrower than a voxel is no coarser.
/// @param values  as above; off the lattice the spline is that of toSplineCoefficients()
/// @param sigma   standard deviation along each axis, voxels, 0 or more
void blurSpline(std::vector<float>& values, const std::array<std::size_t, 3>& size,
                const std::array<double, 3>& sigma);

/// The cubic B-spline convolved with a Gaussian of integral 1, at 0, 1, 2, ... voxels from its middle, as far
/// as it is not nothing. Over all integers the values add up to 1.
/// @param sigma  standard deviation, voxels, 0 or more
std::vector<double> blurredBSpline(double sigma);

#endif
