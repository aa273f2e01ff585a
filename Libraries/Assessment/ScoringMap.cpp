// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/ScoringMap.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <vector>

#include "Preparation/AxisFilter.h"
#include "Preparation/PreparedMap.h"
#include "Preparation/ScanChoice.h"
#include "Preparation/coarsen.h"
#include "Preparation/content.h"

namespace {

constexpr double voxelsPerResolution = 3.0;
constexpr double surveyPerResolution = 2.0; // how much coarser the content is searched for
constexpr double marginInSigmas = 3.0;
// A level is a matter of a distribution, which so many values show as well as all of them.
constexpr std::size_t valuesOfLevel = std::size_t{1} << 21;

/// Nodes of a map, both ends included.
struct NodeRange {
    std::array<std::size_t, 3> low{}, high{};
};

NodeRange wholeOf(const DensityMap& map) {
    return {{0, 0, 0}, {map.size[0] - 1, map.size[1] - 1, map.size[2] - 1}};
}

DensityMap cut(const DensityMap& map, const NodeRange& range) {
    DensityMap part;
    part.voxel = map.voxel;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        part.size[axis] = range.high[axis] - range.low[axis] + 1;
    }
    part.origin = map.origin + cVector3(static_cast<double>(range.low[0]), static_cast<double>(range.low[1]),
                                        static_cast<double>(range.low[2])) *
                                   map.voxel;
    part.values.reserve(part.size[0] * part.size[1] * part.size[2]);
    for (std::size_t i = range.low[0]; i <= range.high[0]; ++i) {
        for (std::size_t j = range.low[1]; j <= range.high[1]; ++j) {
            const float* row = &map.values[map.index(i, j, range.low[2])];
            part.values.insert(part.values.end(), row, row + part.size[2]);
        }
    }
    return part;
}

/// The nodes of a map from `low` to `high` and the next ones outward, as far as there are.
NodeRange nodesBetween(const DensityMap& map, const cVector3& low, const cVector3& high) {
    NodeRange range;
    for (int axis = 0; axis < 3; ++axis) {
        const auto a = static_cast<std::size_t>(axis);
        const auto last = static_cast<double>(map.size[a] - 1);
        const double from = std::floor((low[axis] - map.origin[axis]) / map.voxel[axis]);
        const double to = std::ceil((high[axis] - map.origin[axis]) / map.voxel[axis]);
        range.low[a] = static_cast<std::size_t>(std::clamp(from, 0.0, last));
        range.high[a] = static_cast<std::size_t>(std::clamp(to, 0.0, last));
    }
    return range;
}

double levelOf(const DensityMap& map) {
    const std::size_t stride = (map.values.size() + valuesOfLevel - 1) / valuesOfLevel;
    if (stride <= 1) {
        return chooseLevel(map);
    }
    DensityMap sample;
    for (std::size_t v = 0; v < map.values.size(); v += stride) {
        sample.values.push_back(map.values[v]);
    }
    return chooseLevel(sample);
}

/// The nodes that belong to the content; all without content.
NodeRange contentOf(const DensityMap& map) {
    const Content content = findContent(map, levelOf(map), 0.0);
    if (content.voxels == 0) {
        return wholeOf(map);
    }
    NodeRange range{map.size, {0, 0, 0}};
    for (std::size_t v = 0; v < content.inside.size(); ++v) {
        if (content.inside[v] == 0) {
            continue;
        }
        const std::array<std::size_t, 3> node = {v / map.size[2] / map.size[1], v / map.size[2] % map.size[1],
                                                 v % map.size[2]};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            range.low[axis] = std::min(range.low[axis], node[axis]);
            range.high[axis] = std::max(range.high[axis], node[axis]);
        }
    }
    return range;
}

cVector3 placeOf(const DensityMap& map, const std::array<std::size_t, 3>& node) {
    return map.origin + cVector3(static_cast<double>(node[0]), static_cast<double>(node[1]),
                                 static_cast<double>(node[2])) *
                            map.voxel;
}

void takeStatistics(const DensityMap& map, ScoringMap& result) {
    const auto count = static_cast<double>(map.values.size());
    double sum = 0.0;
    for (const float value : map.values) {
        sum += static_cast<double>(value);
    }
    result.mean = sum / count;
    double squares = 0.0;
    for (const float value : map.values) {
        const double difference = static_cast<double>(value) - result.mean;
        squares += difference * difference;
    }
    result.deviation = std::sqrt(squares / count);
    result.lowest = map.origin;
    result.highest = placeOf(map, wholeOf(map).high);
}

double backgroundOf(const DensityMap& density, double level) {
    double sum = 0.0;
    std::size_t count = 0;
    for (const float value : density.values) {
        if (static_cast<double>(value) <= level) {
            sum += static_cast<double>(value);
            ++count;
        }
    }
    return count > 0 ? sum / static_cast<double>(count) : level;
}

/// Equal values differ by the rounding of the filter, and the contrast must not show it.
void flatten(ScoringMap& map) {
    std::fill(map.density.values.begin(), map.density.values.end(), map.density.values.front());
    std::fill(map.contrast.values.begin(), map.contrast.values.end(), 0.0F);
}

/// Between which places the content with its margin lies.
struct Region {
    cVector3 low, high;
};

Region surveyed(const DensityMap& map, const ScoringRequest& request, ScoringMap& result) {
    const double coarse = surveyPerResolution * request.resolution;
    const DensityMap survey =
        coarsen(map, {request.resolution, coarse, coarse / voxelsPerResolution, request.level, request.mask});
    const NodeRange content = contentOf(survey);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        result.reached[2 * axis] = content.low[axis] == 0;
        result.reached[2 * axis + 1] = content.high[axis] + 1 == survey.size[axis];
    }
    // The content may go on up to the next node of the survey.
    const cVector3 margin(std::max(request.resolution, marginInSigmas * result.sigma) + survey.voxel.x);
    return {placeOf(survey, content.low) - margin, placeOf(survey, content.high) + margin};
}

/// The part of the map that a region takes, on the lattice of the scores.
DensityMap filtered(const DensityMap& map, const ScoringRequest& request, const Region& region) {
    const double resolution = request.resolution;
    const double voxel = resolution / voxelsPerResolution;
    const double widest = std::max({map.voxel.x, map.voxel.y, map.voxel.z});
    const cVector3 reach(LowPass::between(resolution, resolution, widest, voxel).reach() + voxel);
    const NodeRange around = nodesBetween(map, region.low - reach, region.high + reach);
    const DensityMap part = cut(map, around);
    const DensityMap maskPart = request.mask != nullptr ? cut(*request.mask, around) : DensityMap();
    return coarsen(
        part, {resolution, resolution, voxel, request.level, request.mask != nullptr ? &maskPart : nullptr});
}

double trilinear(const DensityMap& field, const cVector3& x, double outside) {
    std::array<std::size_t, 3> node{};
    std::array<double, 3> beyond{};
    for (int axis = 0; axis < 3; ++axis) {
        const auto a = static_cast<std::size_t>(axis);
        const double place = (x[axis] - field.origin[axis]) / field.voxel[axis];
        const auto last = static_cast<double>(field.size[a] - 1);
        if (!(place >= 0.0 && place <= last)) {
            return outside;
        }
        const double below = std::floor(place);
        node[a] = static_cast<std::size_t>(below);
        beyond[a] = place - below;
    }
    const auto along = [&](std::size_t i, std::size_t j) {
        const float* row = &field.values[field.index(i, j, 0)];
        const auto first = static_cast<double>(row[node[2]]);
        const auto second = static_cast<double>(row[std::min(node[2] + 1, field.size[2] - 1)]);
        return first + beyond[2] * (second - first);
    };
    const auto across = [&](std::size_t i) {
        const double first = along(i, node[1]);
        return first + beyond[1] * (along(i, std::min(node[1] + 1, field.size[1] - 1)) - first);
    };
    const double first = across(node[0]);
    return first + beyond[0] * (across(std::min(node[0] + 1, field.size[0] - 1)) - first);
}

} // namespace

double ScoringMap::densityAt(const cVector3& x) const {
    return trilinear(density, x, background);
}

double ScoringMap::contrastAt(const cVector3& x) const {
    return trilinear(contrast, x, 0.0);
}

bool ScoringMap::isWithin(const cVector3& x) const {
    return x.x >= lowest.x && x.y >= lowest.y && x.z >= lowest.z && x.x <= highest.x && x.y <= highest.y &&
           x.z <= highest.z;
}

ScoringMap makeScoringMap(const DensityMap& map, const ScoringRequest& request) {
    if (request.mask != nullptr && !isSameFrame(map, *request.mask)) {
        throw std::invalid_argument(
            "the mask has another frame than the map: give a mask with the same size, voxels and place");
    }
    ScoringMap result;
    result.resolution = request.resolution;
    result.sigma = gaussianOf(request.resolution);
    takeStatistics(map, result);
    const Region region = surveyed(map, request, result);
    const DensityMap density = filtered(map, request, region);
    const NodeRange box = nodesBetween(density, region.low, region.high);
    result.contrast = cut(negativeLaplacian(density), box);
    result.density = cut(density, box);
    const double chosen = levelOf(result.density);
    if (std::isnan(chosen)) {
        flatten(result);
    }
    result.level = request.level.value_or(
        std::isnan(chosen) ? static_cast<double>(result.density.values.front()) : chosen);
    const bool isEmptied = request.level || request.mask != nullptr;
    result.background = isEmptied ? 0.0 : backgroundOf(result.density, result.level);
    return result;
}
