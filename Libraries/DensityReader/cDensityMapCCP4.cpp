// SPDX-License-Identifier: GPL-3.0-or-later
#include "DensityReader/cDensityMapCCP4.h"

#include <cmath>
#include <typeinfo>

/// A class derived from this one may look positions up in a way of its own.
std::vector<double> cDensityMapCCP4::getValue() const {
    return typeid(*this) == typeid(cDensityMapCCP4) ? lookUpNodes() : cDensityMapInterface::getValue();
}

cVector3 cDensityMapCCP4::getFrameShiftFromOriginWords() const {
    constexpr double negligible = 1e-3; // of a voxel: single-precision words can't tell less
    const cVector3 words(m_originWords[0], m_originWords[1], m_originWords[2]);
    if (isEmpty() || words == cVector3(0.0)) {
        return cVector3(0.0);
    }
    cVector3 shift = words - m_firstVoxelByStartWords;
    for (int axis = 0; axis < 3; ++axis) {
        if (!std::isfinite(shift[axis])) {
            return cVector3(0.0);
        }
        if (std::abs(shift[axis]) <= negligible * std::abs(m_delta[axis])) {
            shift[axis] = 0.0;
        }
    }
    return shift;
}
