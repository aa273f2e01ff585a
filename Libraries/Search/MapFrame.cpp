// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/MapFrame.h"

#include "Math/cGrid.h"

// Deliberate: the pivot lies one cell below the middle of the box.
MapFrame::MapFrame(const cGrid& map, const cVector3& structureOrigin, const cVector3& modelCenter)
    : m_box(map.m_box)
    , m_offset(map.m_box.m_min - structureOrigin)
    , m_pivot(map.m_box.center() - map.m_cellDim)
    , m_modelCenter(modelCenter) {}

cVector3 MapFrame::rotationCenter() const {
    return m_box.center();
}

PoseMove MapFrame::place(const PoseRecord& pose) const {
    const cMatrix33 rotation = pose.rotation();
    return {rotation, m_pivot, shiftOf(pose.tau + m_offset, rotation, pose.period), pose.dTau,
            pose.dRotation};
}

cVector3 MapFrame::shiftOf(const cVector3& tau, const cMatrix33& rotation, const cVector3& period) const {
    return m_box.getCorrectedTau(tau, rotation, period, m_modelCenter);
}

cVector3 MapFrame::translationOf(const cVector3& shift, const cMatrix33& rotation) const {
    return rotation * (shift - m_pivot) + m_pivot;
}
