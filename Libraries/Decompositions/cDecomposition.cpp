// SPDX-License-Identifier: GPL-3.0-or-later
#include "Decompositions/cDecomposition.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "Decompositions/trilinear.h"

namespace {

[[noreturn]] void endUndefinedOperation() {
    std::printf("cDecomposition:Not defined\n");
    std::exit(-1);
}

} // namespace

double cDecomposition::getValue(const cVector3&) const {
    endUndefinedOperation();
}

double cDecomposition::getValue(double, double, double) const {
    endUndefinedOperation();
}

double cDecomposition::getCoef(int, int, int) const {
    endUndefinedOperation();
}

double cDecomposition::getAverageValue(const cVector3& position) const {
    if (!m_grid.m_box.inBox(position)) {
        return 0.0;
    }
    const cVector3 index = m_grid.vectorToIndex(position);
    const cVector3 upper = index + cVector3(1.0);
    if (!m_grid.isIndexOnGrid(index) || !m_grid.isIndexOnGrid(upper)) {
        return 0.0;
    }
    const cVector3 node = m_grid.m_box.m_min + index * m_grid.m_cellDim;
    const auto coef = [this](int i, int j, int k) { return getCoef(i, j, k); };
    return blendTrilinearly(coef, truncateToInt(index.x), truncateToInt(index.y), truncateToInt(index.z),
                            (position - node) / m_grid.m_cellDim);
}

void cDecomposition::getMinMaxValues(double& min, double& max) const {
    min = std::numeric_limits<double>::infinity();
    max = -min;
    for (unsigned int i = 0; i < m_grid.m_size[0]; ++i) {
        for (unsigned int j = 0; j < m_grid.m_size[1]; ++j) {
            for (unsigned int k = 0; k < m_grid.m_size[2]; ++k) {
                const double value = getCoef(static_cast<int>(i), static_cast<int>(j), static_cast<int>(k));
                min = std::min(min, value);
                max = std::max(max, value);
            }
        }
    }
}
