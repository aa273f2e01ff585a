// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_CBBOX_H
#define SELVANE_MATH_CBBOX_H

#include "Math/cVector3.h"

class cGrid;
class cMatrix33;

/// An axis-aligned box, in angstrom.
class cBBox {
public:
    cVector3 m_min; ///< low corner
    cVector3 m_max; ///< high corner

    /// The box from (-1, -1, -1) to (1, 1, 1). Reseeds the generator of rand() with the time.
    cBBox();
    cBBox(const cBBox&) = default;
    cBBox(const cVector3& min, const cVector3& max) : m_min(min), m_max(max) {}
    cBBox& operator=(const cBBox&) = default;
    virtual ~cBBox() = default;

    cVector3 center() const { return 0.5 * (m_min + m_max); }
    /// The largest edge length.
    double getSize() const;
    /// The product of the edge lengths.
    double getVolume() const;

    /// Grow to contain the box, the point.
    void uniteWith(const cBBox& box);
    void addVector(const cVector3& v);
    /// min < v < max on all three axes: a point on the surface is outside.
    bool inBox(const cVector3& v) const { return m_min < v && v < m_max; }
    /// Moves each face outwards by distance.
    void broaden(double distance);
    /// Both corners to the origin.
    void setZero();

    /// The smallest box around the origin and n points.
    void boundVectors(const cVector3* vectors, int n);
    /// The cube around the origin that holds n points however they are rotated about it.
    void boundVectorsRotations(const cVector3* vectors, int n);
    /// The cube around the centre of this box that holds this box however it is rotated about its centre.
    void boundAllRotations();
    /// The smallest box around the origin and the corners of this box, rotated about the origin.
    void boundRotated(const cMatrix33& rotation);

    /// A point of the box by rand(), one call per axis in the order x, y, z.
    cVector3 getRandomVector() const;

    /// Moves a translation found by a cyclic scan to the period that keeps the model in this box, by at most
    /// one period per axis.
    /// @param tau       translation, angstrom
    /// @param rotation  rotation of the pose
    /// @param grid      padded grid of the scan, of period m_size * m_cellDim
    /// @param center    rotation centre
    cVector3 getCorrectedTau(const cVector3& tau, const cMatrix33& rotation, const cGrid& grid,
                             const cVector3& center) const;
    /// @param period  of the scan's grid
    cVector3 getCorrectedTau(const cVector3& tau, const cMatrix33& rotation, const cVector3& period,
                             const cVector3& center) const;

    bool operator==(const cBBox& box) const { return m_min == box.m_min && m_max == box.m_max; }
    bool operator!=(const cBBox& box) const { return !(*this == box); }
};

#endif
