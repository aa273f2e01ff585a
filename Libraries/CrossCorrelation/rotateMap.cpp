// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/rotateMap.h"

#include <algorithm>

#include "CrossCorrelation/MapRotator.h"
#include "CrossCorrelation/padField.h"

void rotateMap(const std::vector<double>& source, const cGrid& sourceGrid,
               const std::array<double, 3>& eulerAngles, const cGrid& targetGrid, double* target,
               double threshold) {
    requireRoomToPad(sourceGrid, targetGrid);
    const MapRotator rotator(source, sourceGrid, threshold);
    std::fill_n(target, targetGrid.getTotalSize(), 0.0);
    const auto rowAt = [&](unsigned int i, unsigned int j) {
        return target + targetGrid.indexToFlatIndex(static_cast<int>(i), static_cast<int>(j), 0);
    };
    const fccf::SigmaFilter filter = rotator.rotate(eulerAngles, rowAt);
    for (unsigned int i = 0; i < sourceGrid.m_size[0]; ++i) {
        for (unsigned int j = 0; j < sourceGrid.m_size[1]; ++j) {
            double* const row = rowAt(i, j);
            std::transform(row, row + sourceGrid.m_size[2], row, filter);
        }
    }
}
