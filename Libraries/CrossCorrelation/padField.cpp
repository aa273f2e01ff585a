// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/padField.h"

#include <algorithm>
#include <stdexcept>

#include "Math/cGrid.h"

namespace {

void copyRows(const double* source, const cGrid& sourceGrid, const cGrid& targetGrid, double* target) {
    for (unsigned int i = 0; i < sourceGrid.m_size[0]; ++i) {
        for (unsigned int j = 0; j < sourceGrid.m_size[1]; ++j) {
            const int x = static_cast<int>(i);
            const int y = static_cast<int>(j);
            std::copy_n(source + sourceGrid.indexToFlatIndex(x, y, 0), sourceGrid.m_size[2],
                        target + targetGrid.indexToFlatIndex(x, y, 0));
        }
    }
}

} // namespace

void requireRoomToPad(const cGrid& sourceGrid, const cGrid& targetGrid) {
    for (int axis = 0; axis < 3; ++axis) {
        if (targetGrid.m_size[axis] < sourceGrid.m_size[axis]) {
            throw std::length_error("zeroPadd: the target has fewer nodes than the source");
        }
    }
}

void padField(const double* source, const cGrid& sourceGrid, const cGrid& targetGrid, double* target) {
    requireRoomToPad(sourceGrid, targetGrid);
    std::fill_n(target, targetGrid.getTotalSize(), 0.0);
    copyRows(source, sourceGrid, targetGrid, target);
}

void padField(const std::vector<double>& source, const cGrid& sourceGrid, const cGrid& targetGrid,
              std::vector<double>& target) {
    requireRoomToPad(sourceGrid, targetGrid);
    target.resize(targetGrid.getTotalSize());
    copyRows(source.data(), sourceGrid, targetGrid, target.data());
}
