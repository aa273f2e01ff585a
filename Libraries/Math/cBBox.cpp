// SPDX-License-Identifier: GPL-3.0-or-later
#include "Math/cBBox.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include "Math/cGrid.h"
#include "Math/cMatrix33.h"

cBBox::cBBox() : m_min(-1, -1, -1), m_max(1, 1, 1) {
    // Deliberate: every default box, and so every grid, restarts the sequence of rand().
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
}

double cBBox::getSize() const {
    const cVector3 edges = m_max - m_min;
    return std::max({edges.x, edges.y, edges.z});
}

double cBBox::getVolume() const {
    const cVector3 edges = m_max - m_min;
    return edges.x * edges.y * edges.z;
}

void cBBox::uniteWith(const cBBox& box) {
    addVector(box.m_min);
    addVector(box.m_max);
}

void cBBox::addVector(const cVector3& v) {
    v.updateMinMax(m_min, m_max);
}

void cBBox::broaden(double distance) {
    m_min -= cVector3(distance);
    m_max += cVector3(distance);
}

void cBBox::setZero() {
    m_min.setZero();
    m_max.setZero();
}

void cBBox::boundVectors(const cVector3* vectors, int n) {
    setZero(); // Deliberate: the origin is always inside.
    for (int v = 0; v < n; ++v) {
        addVector(vectors[v]);
    }
}

void cBBox::boundVectorsRotations(const cVector3* vectors, int n) {
    double radius = 0;
    for (int v = 0; v < n; ++v) {
        radius = std::max(radius, vectors[v].norm());
    }
    m_min = cVector3(-radius);
    m_max = -m_min;
}

void cBBox::boundAllRotations() {
    const cVector3 middle = center();
    const cVector3 radius((m_max - middle).norm());
    m_min = middle - radius;
    m_max = middle + radius;
}

void cBBox::boundRotated(const cMatrix33& rotation) {
    const cBBox box = *this;
    // Deliberate: growing from the origin keeps the origin inside; getCorrectedTau counts on it.
    setZero();
    for (int corner = 0; corner < 8; ++corner) {
        addVector(rotation * cVector3((corner & 1) != 0 ? box.m_max.x : box.m_min.x,
                                      (corner & 2) != 0 ? box.m_max.y : box.m_min.y,
                                      (corner & 4) != 0 ? box.m_max.z : box.m_min.z));
    }
}

cVector3 cBBox::getRandomVector() const {
    constexpr double randRange = 2147483647.0;
    cVector3 point;
    for (int axis = 0; axis < 3; ++axis) {
        point[axis] = std::rand() * (m_max[axis] - m_min[axis]) / randRange + m_min[axis];
    }
    return point;
}

cVector3 cBBox::getCorrectedTau(const cVector3& tau, const cMatrix33& rotation, const cGrid& grid,
                                const cVector3& center) const {
    return getCorrectedTau(tau, rotation, grid.getPeriod(), center);
}

cVector3 cBBox::getCorrectedTau(const cVector3& tau, const cMatrix33& rotation, const cVector3& period,
                                const cVector3& center) const {
    const cMatrix33 inverse = rotation.getTranspose();
    const cVector3 boxCenter = this->center();
    const cVector3 placed = tau + center - boxCenter + inverse * boxCenter;
    cBBox bounds = *this;
    bounds.boundRotated(inverse);

    cVector3 corrected = tau;
    for (int axis = 0; axis < 3; ++axis) {
        // Deliberate: one period at most, however far off the placed point is.
        if (bounds.m_min[axis] > placed[axis]) {
            corrected[axis] += period[axis];
        } else if (placed[axis] > bounds.m_max[axis]) {
            corrected[axis] -= period[axis];
        }
    }
    return corrected;
}
