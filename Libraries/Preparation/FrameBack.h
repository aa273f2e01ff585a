// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_FRAMEBACK_H
#define SELVANE_PREPARATION_FRAMEBACK_H

#include "Math/RigidMotion.h"
#include "Preparation/PreparedMap.h"
#include "Preparation/PreparedModel.h"

/// The way from the frames of a scan back to those of the user's files.
///
/// A scan moves the prepared model, whose middle stands at the middle of the prepared map, by y' = Q y + q.
/// The user wants x' = R x + t, from the model's file to the frame of the map. With A the rotation of the
/// file's axes to the model's own, c the model's middle in its file, m the middle of the prepared map in its
/// own frame and o the place of that frame's origin in the map's: y = A (x - c) + m and x' = y' + o.
class FrameBack {
public:
    FrameBack(const PreparedMap& map, const PreparedModel& model);

    /// From a motion in the prepared frame to the user's.
    RigidMotion toUser(const RigidMotion& prepared) const;

    const RigidMotion& ofModel() const { return m_ofModel; } ///< from the model's file to the prepared frame
    const cVector3& mapShift() const { return m_mapShift; }  ///< o: from the prepared frame to the map's

private:
    RigidMotion m_ofModel;
    cVector3 m_mapShift;
};

#endif
