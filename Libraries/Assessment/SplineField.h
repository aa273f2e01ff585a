// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_SPLINEFIELD_H
#define SELVANE_ASSESSMENT_SPLINEFIELD_H

#include <array>
#include <cstddef>
#include <vector>

#include "Formats/DensityMap.h"
#include "Math/cVector3.h"

/// A field at one place: in the unit of its map, per angstrom and per square angstrom.
struct FieldDerivatives {
    double value = 0.0;
    cVector3 gradient = cVector3(0.0);
    std::array<double, 6> hessian{}; ///< xx, yy, zz, xy, xz, yz
};

/// The cubic spline through the voxels of a map, with two continuous derivatives everywhere. Beyond a face it
/// falls to 0 within two voxels and stays there.
///
/// It takes a float for each voxel, with three more voxels beyond each face. Read-only, for any number of
/// threads.
class SplineField {
public:
    /// @throws std::invalid_argument where the coefficients of the spline do not fit single precision
    explicit SplineField(const DensityMap& map);

    /// @param x  in the frame of the map, angstrom
    double value(const cVector3& x) const { return derivatives(x).value; }
    FieldDerivatives derivatives(const cVector3& x) const;

    /// The same for many places.
    /// @param places   count of them
    /// @param results  count of them, overwritten
    /// @return how many of the places are within two voxels of the lattice
    std::size_t derivatives(const cVector3* places, std::size_t count, FieldDerivatives* results) const;

    /// Of the spline's coefficients, which bounds the field: the largest magnitude.
    double bound() const { return m_bound; }

private:
    std::array<std::size_t, 3> m_size; ///< with the voxels beyond the faces
    cVector3 m_origin;                 ///< of the first of those, angstrom
    cVector3 m_perVoxel;               ///< 1 over the edges of a voxel
    std::vector<float> m_coefficients; ///< z fastest
    double m_bound = 0.0;
};

#endif
