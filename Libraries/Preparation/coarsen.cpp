// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/coarsen.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>
#include <vector>

#include "Math/multiversion.h"
#include "Preparation/AxisFilter.h"

namespace {

/// target += factor * source.
SELVANE_MULTIVERSION void addScaled(const float* __restrict source, std::size_t n, float factor,
                                    float* __restrict target) {
    for (std::size_t i = 0; i < n; ++i) {
        target[i] += factor * source[i];
    }
}

/// In eight sums, whose order is the same however wide the machine is.
SELVANE_MULTIVERSION float dot(const float* a, const float* b, std::size_t n) {
    constexpr std::size_t lanes = 8;
    std::array<float, lanes> sums{};
    std::size_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            sums[lane] += a[i + lane] * b[i + lane];
        }
    }
    float sum = 0.0F;
    for (; i < n; ++i) {
        sum += a[i] * b[i];
    }
    for (const float lane : sums) {
        sum += lane;
    }
    return sum;
}

/// For each input of a filter the outputs that it takes part in, so that a map is read once.
struct Uses {
    struct Use {
        std::size_t output;
        float weight;
    };
    std::vector<std::vector<Use>> ofInput;

    Uses(const AxisFilter& filter, std::size_t inputs) : ofInput(inputs) {
        for (std::size_t j = 0; j < filter.size(); ++j) {
            for (std::size_t t = 0; t < filter.weights[j].size(); ++t) {
                ofInput[filter.first[j] + t].push_back({j, filter.weights[j][t]});
            }
        }
    }
};

/// The rows of a map without what counts as empty.
class Rows {
public:
    Rows(const DensityMap& map, const Coarsening& coarsening)
        : m_map(map), m_coarsening(coarsening), m_row(map.size[2]) {}

    const float* operator()(std::size_t i, std::size_t j) {
        const float* values = &m_map.values[m_map.index(i, j, 0)];
        if (!m_coarsening.level && m_coarsening.mask == nullptr) {
            return values;
        }
        std::copy(values, values + m_row.size(), m_row.begin());
        if (m_coarsening.level) {
            const double level = *m_coarsening.level;
            std::replace_if(
                m_row.begin(), m_row.end(), [level](float v) { return !(v > level); }, 0.0F);
        }
        if (m_coarsening.mask != nullptr) {
            constexpr float inside = 0.5F;
            const float* mask = &m_coarsening.mask->values[m_map.index(i, j, 0)];
            std::transform(m_row.begin(), m_row.end(), mask, m_row.begin(),
                           [](float v, float m) { return m > inside ? v : 0.0F; });
        }
        return m_row.data();
    }

private:
    const DensityMap& m_map;
    const Coarsening& m_coarsening;
    std::vector<float> m_row;
};

} // namespace

DensityMap coarsen(const DensityMap& map, const Coarsening& coarsening) {
    if (coarsening.mask != nullptr && coarsening.mask->size != map.size) {
        throw std::invalid_argument("a mask has to have as many voxels as the map");
    }
    const std::array<double, 3> source = {map.voxel.x, map.voxel.y, map.voxel.z};
    const auto filterOf = [&](std::size_t axis) {
        return AxisFilter(map.size[axis], source[axis], coarsening.voxel,
                          LowPass::between(coarsening.from, coarsening.to, source[axis], coarsening.voxel));
    };
    const AxisFilter x = filterOf(0), y = filterOf(1), z = filterOf(2);
    const Uses ofX(x, map.size[0]), ofY(y, map.size[1]);

    DensityMap result;
    result.size = {x.size(), y.size(), z.size()};
    result.origin = map.origin;
    result.voxel = cVector3(coarsening.voxel);
    const std::size_t plane = y.size() * z.size();
    result.values.assign(x.size() * plane, 0.0F);
    const std::size_t nz = map.size[2];
    std::vector<float> alongY(y.size() * nz);
    std::vector<float> alongYZ(plane);
    Rows rows(map, coarsening);
    for (std::size_t i = 0; i < map.size[0]; ++i) {
        std::fill(alongY.begin(), alongY.end(), 0.0F);
        for (std::size_t j = 0; j < map.size[1]; ++j) {
            const float* row = rows(i, j);
            for (const Uses::Use& use : ofY.ofInput[j]) {
                addScaled(row, nz, use.weight, &alongY[use.output * nz]);
            }
        }
        for (std::size_t j = 0; j < y.size(); ++j) {
            for (std::size_t k = 0; k < z.size(); ++k) {
                alongYZ[j * z.size() + k] =
                    dot(&alongY[j * nz + z.first[k]], z.weights[k].data(), z.weights[k].size());
            }
        }
        for (const Uses::Use& use : ofX.ofInput[i]) {
            addScaled(alongYZ.data(), plane, use.weight, &result.values[use.output * plane]);
        }
    }
    return result;
}

DensityMap negativeLaplacian(const DensityMap& map) {
    // f''(0) h^2 from f(0), f(+-h), f(+-2h), f(+-3h).
    constexpr std::array<double, 4> coefficients = {-490.0 / 180.0, 270.0 / 180.0, -27.0 / 180.0,
                                                    2.0 / 180.0};
    const std::array<std::size_t, 3> strides = {map.size[1] * map.size[2], map.size[2], 1};
    const std::array<double, 3> edges = {map.voxel.x, map.voxel.y, map.voxel.z};
    DensityMap result = map;
    std::size_t index = 0;
    for (std::size_t i = 0; i < map.size[0]; ++i) {
        for (std::size_t j = 0; j < map.size[1]; ++j) {
            for (std::size_t k = 0; k < map.size[2]; ++k, ++index) {
                const std::array<std::size_t, 3> node = {i, j, k};
                double sum = 0.0;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    double second = coefficients[0] * map.values[index];
                    for (std::size_t d = 1; d < coefficients.size(); ++d) {
                        const std::size_t below = std::min(d, node[axis]) * strides[axis];
                        const std::size_t above =
                            std::min(d, map.size[axis] - 1 - node[axis]) * strides[axis];
                        second += coefficients[d] * (static_cast<double>(map.values[index - below]) +
                                                     static_cast<double>(map.values[index + above]));
                    }
                    sum += second / (edges[axis] * edges[axis]);
                }
                result.values[index] = static_cast<float>(-sum);
            }
        }
    }
    return result;
}
