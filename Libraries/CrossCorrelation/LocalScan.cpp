// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/LocalScan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

#include "CrossCorrelation/offerScores.h"
#include "CrossCorrelation/scoreFloor.h"

namespace {

void requireNodes(const std::vector<double>& field, const cGrid& grid) {
    if (field.size() != grid.getTotalSize()) {
        throw std::length_error("a field of " + std::to_string(field.size()) + " values on a grid of " +
                                std::to_string(grid.getTotalSize()) + " nodes");
    }
}

/// Along one axis: where the neighbours of each node lie, in the flat order.
class CyclicAxis {
public:
    CyclicAxis(std::size_t size, std::size_t stride) : m_size(size), m_stride(stride) {}

    /// The nodes `distance` below and above number `node` of the axis, taken together.
    double sumAround(const double* line, std::size_t node, std::size_t distance) const {
        const std::size_t step = distance % m_size;
        const std::size_t above = (node + step) % m_size;
        const std::size_t below = (node + m_size - step) % m_size;
        return line[below * m_stride] + line[above * m_stride];
    }

private:
    std::size_t m_size, m_stride;
};

/// 1 over the norm of the values about their mean, or 0 where all are the same.
template <class Value>
double inverseNorm(const std::vector<Value>& values) {
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    if (values.empty() || *least == *most) {
        return 0.0;
    }
    const double mean =
        std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
    // In units of the range, whose square neither overflows nor vanishes.
    const double range = double{*most} - double{*least};
    double sum = 0.0;
    for (const Value value : values) {
        const double part = (double{value} - mean) / range;
        sum += part * part;
    }
    return 1.0 / (range * std::sqrt(sum));
}

/// Weights of mean 0 and norm 1 in the mask and 0 elsewhere.
void normalize(std::vector<double>& weights, const std::vector<double>& mask) {
    const double count = std::accumulate(mask.begin(), mask.end(), 0.0);
    const double mean = std::inner_product(weights.begin(), weights.end(), mask.begin(), 0.0) / count;
    double squares = 0.0, deviations = 0.0;
    for (std::size_t v = 0; v < weights.size(); ++v) {
        squares += mask[v] * weights[v] * weights[v];
        weights[v] = mask[v] > 0.0 ? weights[v] - mean : 0.0;
        deviations += weights[v] * weights[v];
    }
    constexpr double rounding = 1e-20; // of a variance
    const double scale = deviations > rounding * squares ? 1.0 / std::sqrt(deviations) : 0.0;
    for (double& weight : weights) {
        weight *= scale;
    }
}

/// The score that a candidate of a set has to exceed.
double boundOf(const LocalScan::Set* set) {
    if (set == nullptr) {
        return std::numeric_limits<double>::infinity();
    }
    return set->isFull() ? std::max(scoreFloor, set->last().m_rigidScore) : scoreFloor;
}

} // namespace

std::vector<double> cyclicNegativeLaplacian(const std::vector<double>& field, const cGrid& grid) {
    requireNodes(field, grid);
    // f''(0) h^2 from f(0), f(+-h), f(+-2h), f(+-3h).
    constexpr std::array<double, 4> coefficients = {-490.0 / 180.0, 270.0 / 180.0, -27.0 / 180.0,
                                                    2.0 / 180.0};
    const std::array<std::size_t, 3> size = {grid.m_size[0], grid.m_size[1], grid.m_size[2]};
    const std::array<std::size_t, 3> strides = {size[1] * size[2], size[2], 1};
    const std::array<double, 3> edges = {grid.m_cellDim.x, grid.m_cellDim.y, grid.m_cellDim.z};
    std::vector<double> result(field.size(), 0.0);
    for (std::size_t v = 0; v < field.size(); ++v) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (size[axis] == 1) {
                continue; // nothing changes along it, and its cell need not be a number
            }
            const std::size_t node = v / strides[axis] % size[axis];
            const CyclicAxis neighbours(size[axis], strides[axis]);
            const double* const line = field.data() + v - node * strides[axis];
            double second = coefficients[0] * field[v];
            for (std::size_t d = 1; d < coefficients.size(); ++d) {
                second += coefficients[d] * neighbours.sumAround(line, node, d);
            }
            result[v] -= second / (edges[axis] * edges[axis]);
        }
    }
    return result;
}

LocalPattern makeLocalPattern(const std::vector<double>& density, const cGrid& grid, double level) {
    LocalPattern pattern{cyclicNegativeLaplacian(density, grid), std::vector<double>(density.size(), 0.0)};
    const double most = density.empty() ? 0.0 : *std::max_element(density.begin(), density.end());
    if (!(most > 0.0)) {
        std::fill(pattern.weights.begin(), pattern.weights.end(), 0.0);
        return pattern;
    }
    std::transform(density.begin(), density.end(), pattern.mask.begin(),
                   [&](double value) { return value > level * most ? 1.0 : 0.0; });
    normalize(pattern.weights, pattern.mask);
    return pattern;
}

// Of the rotator's filter nothing is asked, so any number of deviations will do.
template <class Real>
BasicLocalScan<Real>::BasicLocalScan(const ScanMap& map, std::shared_ptr<const cGrid> grid, double floor)
    : m_grid(std::move(grid))
    , m_rotator(map, 0.0)
    , m_correlator(*m_grid, map.grid().getSizes(), floor)
    , m_factor(map.singles().empty() ? inverseNorm(map.values()) : inverseNorm(map.singles())) {}

template <class Real>
std::shared_ptr<const BasicLocalSpectra<Real>>
BasicLocalScan<Real>::makePattern(const ElectronDensity& density) {
    m_state = State::Empty;
    const LocalPattern pattern = [&] {
        std::vector<double> field(m_grid->getTotalSize(), 0.0);
        density.addDensity(field.data());
        return makeLocalPattern(field, *m_grid, maskLevel);
    }(); // the field is gone when the spectra come
    return std::make_shared<Spectra>(m_correlator.spectraOf(pattern.weights, pattern.mask));
}

template <class Real>
void BasicLocalScan<Real>::rotate(const std::array<double, 3>& eulerAngles) {
    m_rotator.rotatePlanes(
        eulerAngles, [this](std::size_t, std::size_t j) { return m_correlator.targetRow(j); },
        [this](std::size_t i) { m_correlator.transformPlane(i, m_factor); });
    m_eulerAngles = eulerAngles;
    m_state = State::Rotated;
}

template <class Real>
void BasicLocalScan<Real>::correlate(const Spectra& pattern) {
    if (m_state != State::Rotated) {
        throw std::logic_error("LocalScan: no rotation to correlate");
    }
    m_correlator.correlate(pattern);
    m_state = State::Correlated;
}

template <class Real>
void BasicLocalScan<Real>::offer(Set& byScore, Set* byOverlap, std::size_t modes) {
    if (m_state != State::Correlated) {
        throw std::logic_error("LocalScan: the present rotation is not correlated");
    }
    m_state = State::Empty;
    const arma::Col<double> eta(modes, arma::fill::zeros);
    const double alpha = m_eulerAngles[0], beta = m_eulerAngles[1], gamma = m_eulerAngles[2];
    const auto takeRow = [&](std::size_t i, std::size_t j, const double* overlaps, const double* scores) {
        const auto offerRow = [&](Set& set, const double* values) {
            offerScores(set, values, m_grid->m_size[2], [&](std::size_t k) {
                return HexaustFlexibleFitConformation(values[k], static_cast<int>(i), static_cast<int>(j),
                                                      static_cast<int>(k), eta, m_grid, alpha, beta, gamma);
            });
        };
        offerRow(byScore, scores);
        if (byOverlap != nullptr) {
            offerRow(*byOverlap, overlaps);
        }
    };
    m_correlator.readResult({boundOf(&byScore), boundOf(byOverlap)}, takeRow);
}

template class BasicLocalScan<double>;
template class BasicLocalScan<float>;
