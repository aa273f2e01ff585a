// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/FrameBack.h"

FrameBack::FrameBack(const PreparedMap& map, const PreparedModel& model)
    : m_modelShift(map.middle() - model.centre), m_mapShift(map.inMap) {}

RigidMotion FrameBack::toUser(const RigidMotion& prepared) const {
    return chain(chain(RigidMotion::shift(m_modelShift), prepared), RigidMotion::shift(m_mapShift));
}

RigidMotion FrameBack::toPrepared(const RigidMotion& user) const {
    return chain(chain(RigidMotion::shift(m_modelShift * -1.0), user), RigidMotion::shift(m_mapShift * -1.0));
}
