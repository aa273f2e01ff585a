// SPDX-License-Identifier: GPL-3.0-or-later
// Statistics over the voxels, and the operations that change voxels by a rule.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "DensityReader/cDensityMapInterface.h"

namespace {

constexpr float extremeStart = 1e10F;
constexpr double binsPerRange = 0.0078125; // 1 / 128
constexpr float largestExponent = 100.0F;  // exp beyond it overflows single precision

/// In double: a range that rounds up in single precision would put the maximum itself one bin too low.
double binWidthOf(float minimum, float maximum) {
    return (double{maximum} - double{minimum}) * binsPerRange;
}

} // namespace

void cDensityMapInterface::computeAvMaxMinDensity() {
    // Deliberate: the extremes start at 0, and the sum is kept in single precision.
    m_minDensity = m_maxDensity = m_meanDensity = 0.0F;
    if (isEmpty()) {
        return;
    }
    float sum = 0.0F;
    for (const double density : m_data->values()) {
        if (density < m_minDensity) {
            m_minDensity = static_cast<float>(density);
        }
        if (density > m_maxDensity) {
            m_maxDensity = static_cast<float>(density);
        }
        sum = static_cast<float>(sum + density);
    }
    m_meanDensity = sum / static_cast<float>(m_grid.getTotalSize());
}

void cDensityMapInterface::analyzeDensity() {
    m_maxDensity = -extremeStart;
    m_minDensity = extremeStart;
    if (isEmpty()) {
        return;
    }
    for (const double density : m_data->values()) {
        if (density < m_minDensity) {
            m_minDensity = static_cast<float>(density);
        }
        if (density > m_maxDensity) {
            m_maxDensity = static_cast<float>(density);
        }
    }
}

void cDensityMapInterface::computeHistogram() {
    m_histogram.fill(0.0F);
    m_peakBin = 0;
    m_histogramReady = false;
    const double binWidth = binWidthOf(m_minDensity, m_maxDensity);
    if (binWidth == 0.0 || isEmpty()) {
        return;
    }
    std::array<std::uint32_t, histogramBins> counts{};
    std::uint32_t largest = 0;
    const auto& [nx, ny, nz] = m_data->shape();
    // Deliberate: z outermost. Of two voxels that bring bins to the same count, the first one visited sets
    // the peak.
    for (std::size_t column = 0; column < nz * ny; ++column) {
        for (std::size_t i = 0; i < nx; ++i) {
            const double density = (*m_data)(i, column % ny, column / ny);
            const double bin = (density - m_minDensity) / binWidth;
            // Deliberate: the first bin's width above the minimum is left out.
            if (!(bin >= 1.0 && bin < histogramBins + 1.0)) {
                continue;
            }
            const auto index = static_cast<std::size_t>(bin) - 1;
            if (++counts[index] > largest) {
                largest = counts[index];
                m_peakBin = static_cast<int>(index);
                m_peakValue = static_cast<float>(density);
            }
        }
    }
    m_peakValueCopy = m_peakValue;
    for (std::size_t bin = 0; largest > 0 && bin < counts.size(); ++bin) {
        m_histogram[bin] = static_cast<float>(counts[bin]) / static_cast<float>(largest);
    }
    m_histogramReady = true;
}

void cDensityMapInterface::updateBin() {
    const double bin = (double{m_peakValue} - m_minDensity) / binWidthOf(m_minDensity, m_maxDensity);
    const int whole = truncateToInt(bin);
    m_peakBin = whole < 1 ? whole : whole - 1;
}

void cDensityMapInterface::regularizeEMDensity() {
    if (isEmpty()) {
        return;
    }
    auto& voxels = m_data->values();
    const double mean = m_meanDensity;
    double sum = 0.0;
    for (const double density : voxels) {
        sum += (density - mean) * (density - mean);
    }
    // Deliberate: the root before the division, so that sigma is far below a standard deviation.
    const double sigma = std::sqrt(sum) / static_cast<double>(voxels.size());
    const double threshold = sigma + sigma + mean;
    std::replace_if(
        voxels.begin(), voxels.end(), [=](double density) { return threshold > density; }, 0.0);
}

void cDensityMapInterface::requireTypedData(int type) const {
    if (isEmpty() || !m_typedData || m_typedData->shape() != m_data->shape()) {
        throw std::out_of_range("the density map has no typed values of the shape of its voxels");
    }
    if (type < 0 || static_cast<std::size_t>(type) >= m_typedData->valuesPerVoxel()) {
        throw std::out_of_range("type " + std::to_string(type) + " asked of " +
                                std::to_string(m_typedData->valuesPerVoxel()) + " typed values per voxel");
    }
}

void cDensityMapInterface::chooseType(int type) {
    requireTypedData(type);
    auto& voxels = m_data->values();
    const std::size_t perVoxel = m_typedData->valuesPerVoxel();
    for (std::size_t v = 0; v < voxels.size(); ++v) {
        voxels[v] = m_typedData->values()[v * perVoxel + static_cast<std::size_t>(type)];
    }
}

void cDensityMapInterface::meanDensity(float temperature) {
    requireTypedData(m_nTypes - 1);
    auto& voxels = m_data->values();
    const std::size_t perVoxel = m_typedData->valuesPerVoxel();
    for (std::size_t v = 0; v < voxels.size(); ++v) {
        double sum = 0.0;
        for (int type = 0; type < m_nTypes; ++type) {
            const float energy = m_typedData->values()[v * perVoxel + static_cast<std::size_t>(type)];
            const float exponent = -energy / temperature;
            sum += exponent < largestExponent ? std::exp(exponent) : 0.0F;
        }
        voxels[v] = -temperature * std::log(sum);
    }
}

void cDensityMapInterface::normalize(int total) {
    requireTypedData(m_nTypes - 1);
    if (!m_typeCounts || m_typeCounts->shape() != m_data->shape()) {
        throw std::out_of_range("the density map has no type counts of the shape of its voxels");
    }
    const std::size_t perVoxel = m_typedData->valuesPerVoxel();
    for (std::size_t v = 0; v < m_data->voxelCount(); ++v) {
        const std::int64_t left = std::int64_t{total} - m_typeCounts->values()[v];
        if (left <= 0) {
            continue;
        }
        for (std::size_t type = 0; type < static_cast<std::size_t>(m_nTypes); ++type) {
            m_typedData->values()[v * perVoxel + type] /= static_cast<float>(left);
        }
    }
}

cBBox cDensityMapInterface::getCropBBox(double threshold) const {
    cBBox box;
    bool found = false;
    for (std::size_t v = 0; !isEmpty() && v < m_data->voxelCount(); ++v) {
        if (!(m_data->values()[v] > threshold)) {
            continue;
        }
        const std::size_t nz = m_data->shape()[2], row = v / nz, ny = m_data->shape()[1];
        const std::size_t i = row / ny, j = row % ny, k = v % nz;
        const cVector3 index(static_cast<double>(i), static_cast<double>(j), static_cast<double>(k));
        const cVector3 node = m_grid.m_box.m_min + index * m_grid.m_cellDim;
        if (found) {
            box.addVector(node);
        } else {
            box = cBBox(node, node);
            found = true;
        }
    }
    return box;
}
