// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/PreparedMap.h"

#include <stdexcept>

cVector3 PreparedMap::middle() const {
    return grid.m_box.center();
}

PreparedMap prepareMap(const DensityMap& /*map*/, const PreparedModel& /*model*/,
                       const ScanChoice& /*choice*/, const MapRequest& /*request*/) {
    throw std::logic_error("prepareMap");
}
