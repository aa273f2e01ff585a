// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/content.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr double sigmasAboveBackground = 4.0;
constexpr double leastShareOfHighest = 0.1;
constexpr double smallestPart = 0.01; // of the largest
// Of the largest magnitude: what the sums of a filter make of equal values differs by less.
constexpr double roundingOfFilter = 1e-5;

/// The narrowest half of sorted numbers, again and again (Bickel and Fruehwirth 2006).
double halfSampleMode(const std::vector<float>& sorted) {
    std::size_t from = 0;
    std::size_t count = sorted.size();
    while (count > 2) {
        const std::size_t half = (count + 1) / 2;
        std::size_t best = from;
        for (std::size_t i = from; i + half <= from + count; ++i) {
            if (sorted[i + half - 1] - sorted[i] < sorted[best + half - 1] - sorted[best]) {
                best = i;
            }
        }
        from = best;
        count = half;
    }
    return 0.5 * (static_cast<double>(sorted[from]) + static_cast<double>(sorted[from + count - 1]));
}

/// A standard deviation from the median of the distances below the background.
double noiseBelow(const std::vector<float>& sorted, double background) {
    constexpr double deviationsPerMedian = 1.4826; // of a normal distribution
    const auto end = std::lower_bound(sorted.begin(), sorted.end(), static_cast<float>(background));
    if (end == sorted.begin()) {
        return 0.0;
    }
    const auto middle = sorted.begin() + (end - sorted.begin()) / 2;
    return deviationsPerMedian * (background - static_cast<double>(*middle));
}

/// Parts of voxels above a level that touch by face, edge or corner.
class Parts {
public:
    Parts(const DensityMap& map, double level) : m_map(map), m_part(map.values.size(), none) {
        for (std::size_t v = 0; v < map.values.size(); ++v) {
            if (static_cast<double>(map.values[v]) > level) {
                m_part[v] = unknown;
            }
        }
        for (std::size_t v = 0; v < m_part.size(); ++v) {
            if (m_part[v] == unknown) {
                grow(v, static_cast<int>(m_sizes.size()));
            }
        }
    }

    /// Whether the voxel is in a part that holds so large a share of the largest.
    bool isIn(std::size_t voxel, double share) const {
        const int part = m_part[voxel];
        return part >= 0 && static_cast<double>(m_sizes[static_cast<std::size_t>(part)]) >=
                                share * static_cast<double>(m_largest);
    }

    std::size_t total() const {
        std::size_t sum = 0;
        for (const std::size_t size : m_sizes) {
            sum += size;
        }
        return sum;
    }

private:
    static constexpr int none = -1;
    static constexpr int unknown = -2;

    void grow(std::size_t seed, int part) {
        m_stack.assign(1, seed);
        m_part[seed] = part;
        std::size_t size = 0;
        while (!m_stack.empty()) {
            const std::size_t v = m_stack.back();
            m_stack.pop_back();
            ++size;
            const std::size_t k = v % m_map.size[2];
            const std::size_t j = v / m_map.size[2] % m_map.size[1];
            const std::size_t i = v / m_map.size[2] / m_map.size[1];
            for (std::size_t a = i - (i > 0); a <= std::min(i + 1, m_map.size[0] - 1); ++a) {
                for (std::size_t b = j - (j > 0); b <= std::min(j + 1, m_map.size[1] - 1); ++b) {
                    for (std::size_t c = k - (k > 0); c <= std::min(k + 1, m_map.size[2] - 1); ++c) {
                        take(m_map.index(a, b, c), part);
                    }
                }
            }
        }
        m_sizes.push_back(size);
        m_largest = std::max(m_largest, size);
    }

    void take(std::size_t voxel, int part) {
        if (m_part[voxel] == unknown) {
            m_part[voxel] = part;
            m_stack.push_back(voxel);
        }
    }

    const DensityMap& m_map;
    std::vector<int> m_part;
    std::vector<std::size_t> m_sizes;
    std::vector<std::size_t> m_stack;
    std::size_t m_largest = 0;
};

/// Marks what lies within some voxels of what is marked, along one axis after the other: a box, which is all
/// that a margin has to be.
void dilate(const DensityMap& map, std::size_t voxels, std::vector<char>& marks) {
    const std::array<std::size_t, 3> strides = {map.size[1] * map.size[2], map.size[2], 1};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::vector<char> before = marks;
        for (std::size_t v = 0; v < marks.size(); ++v) {
            if (before[v] == 0) {
                continue;
            }
            const std::size_t node = v / strides[axis] % map.size[axis];
            const std::size_t low = node - std::min(node, voxels);
            const std::size_t high = std::min(node + voxels, map.size[axis] - 1);
            for (std::size_t n = low; n <= high; ++n) {
                marks[v + n * strides[axis] - node * strides[axis]] = 1;
            }
        }
    }
}

/// Moves towards the farthest point by ever smaller steps (Badoiu and Clarkson 2003), from the middle of the
/// box; the best of all middles on the way.
void encloseBySphere(const std::vector<cVector3>& points, Content& content) {
    cVector3 low = points.front(), high = points.front();
    for (const cVector3& p : points) {
        low = cVector3(std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z));
        high = cVector3(std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z));
    }
    cVector3 middle = 0.5 * (low + high);
    double best = std::numeric_limits<double>::infinity();
    constexpr int steps = 60;
    for (int step = 0; step < steps; ++step) {
        const auto farthest =
            std::max_element(points.begin(), points.end(), [&](const cVector3& a, const cVector3& b) {
                return (a - middle).norm2() < (b - middle).norm2();
            });
        const double radius2 = (*farthest - middle).norm2();
        if (radius2 < best) {
            best = radius2;
            content.middle = middle;
        }
        middle += (*farthest - middle) * (1.0 / (step + 2.0));
    }
    content.radius = std::sqrt(best);
}

} // namespace

double chooseLevel(const DensityMap& map) {
    std::vector<float> sorted = map.values;
    std::sort(sorted.begin(), sorted.end());
    const double lowest = sorted.front();
    const double highest = sorted.back();
    if (!(highest - lowest > roundingOfFilter * std::max(std::abs(lowest), std::abs(highest)))) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const double background = halfSampleMode(sorted);
    const double noise = noiseBelow(sorted, background);
    return background + std::max(sigmasAboveBackground * noise, leastShareOfHighest * (highest - background));
}

Content findContent(const DensityMap& map, double level, double margin) {
    Content content;
    content.inside.assign(map.values.size(), 0);
    const Parts parts(map, level);
    std::vector<cVector3> points;
    for (std::size_t v = 0; v < map.values.size(); ++v) {
        if (!parts.isIn(v, smallestPart)) {
            continue;
        }
        content.inside[v] = 1;
        ++content.voxels;
        const std::array<std::size_t, 3> node = {v / map.size[2] / map.size[1], v / map.size[2] % map.size[1],
                                                 v % map.size[2]};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            content.reachesFaces =
                content.reachesFaces || node[axis] == 0 || node[axis] + 1 == map.size[axis];
        }
        // From the first voxel: which of two points is farther must not hang on where the map stands.
        points.emplace_back(static_cast<double>(node[0]) * map.voxel.x,
                            static_cast<double>(node[1]) * map.voxel.y,
                            static_cast<double>(node[2]) * map.voxel.z);
    }
    content.dropped = parts.total() - content.voxels;
    if (points.empty()) {
        return content;
    }
    encloseBySphere(points, content);
    content.middle += map.origin;
    const double voxel = std::min({map.voxel.x, map.voxel.y, map.voxel.z});
    dilate(map, static_cast<std::size_t>(std::ceil(margin / voxel)), content.inside);
    content.radius += margin;
    return content;
}
