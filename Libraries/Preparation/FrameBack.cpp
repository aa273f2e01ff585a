// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/FrameBack.h"

FrameBack::FrameBack(const PreparedMap& map, const PreparedModel& model)
    : m_ofModel(chain(model.fromFile, RigidMotion::shift(map.middle()))), m_mapShift(map.inMap) {}

RigidMotion FrameBack::toUser(const RigidMotion& prepared) const {
    return chain(chain(m_ofModel, prepared), RigidMotion::shift(m_mapShift));
}
