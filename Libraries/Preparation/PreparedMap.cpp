// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/PreparedMap.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "Preparation/coarsen.h"
#include "Preparation/content.h"
#include "Preparation/fastSize.h"
#include "Preparation/numberText.h"

namespace {

// Of an atom's Gaussian, beyond which it adds nothing to a pose.
constexpr double sigmasOfAtom = 3.0;
// A side of the scan's grid, whose nodes are counted in 32 bits: 8 GiB for each of its fields.
constexpr double mostNodes = 1024.0;

/// Why a map has no content, with the remedy.
std::string reasonOfNothing(const DensityMap& map, const DensityMap& coarse, const MapRequest& request,
                            double chosenLevel) {
    const auto [lowest, highest] = std::minmax_element(map.values.begin(), map.values.end());
    if (coarse.values.size() == 1) {
        return "the whole map is no larger than a voxel of the scan, " + numberText(coarse.voxel.x) +
               " A: check its voxel size, the size of the model and the resolution";
    }
    if (!(*lowest < *highest)) {
        return "the map has no content: all its voxels have the same density";
    }
    const std::string withMask = request.mask != nullptr ? " where the mask is above 0.5" : "";
    if (request.level) {
        return "the map has no content above the level " + numberText(*request.level) + withMask +
               ": its highest density is " + numberText(static_cast<double>(*highest));
    }
    if (std::isnan(chosenLevel)) {
        return "the map has no content" + withMask +
               ": all its densities at the scan's resolution are the same";
    }
    return "no density of the map stands out from its noise, which would take " + numberText(chosenLevel) +
           " at the scan's resolution: check that the molecule is what is high in it, or give a level by "
           "--level";
}

double meanOf(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) {
        sum += value;
    }
    return sum / static_cast<double>(values.size());
}

/// To standard deviation 1, in numbers that single precision holds: a file gives them back as they are.
void normalise(std::vector<double>& values) {
    const double mean = meanOf(values);
    double squares = 0.0;
    for (const double value : values) {
        squares += (value - mean) * (value - mean);
    }
    const double scale = std::sqrt(static_cast<double>(values.size()) / squares);
    for (double& value : values) {
        value = static_cast<double>(static_cast<float>(value * scale));
    }
}

/// Of the content what a model near a place can reach, so that nothing else is searched.
void keepNear(Content& content, const DensityMap& map, const Neighbourhood& near, double reach) {
    const double farthest = near.distance + reach;
    content.middle = near.middle;
    content.radius = 0.0;
    content.voxels = 0;
    std::size_t v = 0;
    for (std::size_t i = 0; i < map.size[0]; ++i) {
        for (std::size_t j = 0; j < map.size[1]; ++j) {
            for (std::size_t k = 0; k < map.size[2]; ++k, ++v) {
                const cVector3 x = map.origin + cVector3(static_cast<double>(i) * map.voxel.x,
                                                         static_cast<double>(j) * map.voxel.y,
                                                         static_cast<double>(k) * map.voxel.z);
                const double away = (x - near.middle).norm();
                const bool isKept = content.inside[v] != 0 && away <= farthest;
                content.inside[v] = isKept ? 1 : 0;
                content.voxels += isKept ? 1 : 0;
                content.radius = isKept ? std::max(content.radius, away) : content.radius;
            }
        }
    }
    if (content.voxels == 0) {
        throw std::invalid_argument("the map has no content that the model could reach near its present "
                                    "place: check that the model is in "
                                    "the frame of the map, or leave out the distance of --near");
    }
}

/// A cube of so many nodes an axis that a pose near the content cannot meet it from the other side, too.
void layGrid(PreparedMap& prepared, const Content& content, double voxel, double modelReach,
             const DensityMap& coarse, const std::optional<Neighbourhood>& near) {
    // The middle of the content may lie half a voxel beside that of the nodes.
    const double halfDiagonal = 0.5 * std::sqrt(3.0) * voxel;
    prepared.contentRadius = content.radius + halfDiagonal;
    // Either the model's middle is in the content's sphere or the content is in the model's.
    prepared.farthestCentre = std::max(prepared.contentRadius, modelReach - prepared.contentRadius);
    if (near) {
        prepared.farthestCentre = std::min(prepared.farthestCentre, near->distance + halfDiagonal);
    }
    const double period = prepared.contentRadius + modelReach + prepared.farthestCentre;
    const double least = std::ceil(period / voxel) + 1.0;
    if (!(least <= mostNodes)) {
        throw std::invalid_argument(
            "a scan with voxels of " + numberText(voxel) + " A takes " + numberText(least) +
            " of them a side and has room "
            "for " +
            numberText(mostNodes) + ": the content of the map reaches " + numberText(content.radius) +
            " A from its middle and the model " + numberText(modelReach) +
            " A; check the voxel size and the model, cut the map by --mask or --level, or give a coarser "
            "--scan-resolution");
    }
    const std::size_t nodes = fastSize(static_cast<std::size_t>(least));
    const double length = static_cast<double>(nodes - 1) * voxel;
    const auto sizes = static_cast<unsigned int>(nodes);
    const unsigned int all[3] = {sizes, sizes, sizes};
    prepared.grid = cGrid(cBBox(cVector3(0.0), cVector3(length)), all);
    const cVector3 corner = content.middle - cVector3(0.5 * length) - coarse.origin;
    // A corner halfway between two nodes, as content of an odd number of voxels has it, goes up for every
    // place of the map, whose sums round one way or the other.
    constexpr double halfway = 0.5 + 1e-6;
    const auto nearestNode = [&](double x) { return std::floor(x / voxel + halfway) * voxel; };
    prepared.inMap =
        coarse.origin + cVector3(nearestNode(corner.x), nearestNode(corner.y), nearestNode(corner.z));
}

/// The values of the content, at their nodes of the grid.
void fill(PreparedMap& prepared, const DensityMap& field, const Content& content) {
    prepared.values.assign(prepared.grid.getTotalSize(), 0.0);
    const cVector3 offset = field.origin - prepared.inMap;
    const auto shift = [&](double length, double edge) { return std::lround(length / edge); };
    const long di = shift(offset.x, field.voxel.x), dj = shift(offset.y, field.voxel.y),
               dk = shift(offset.z, field.voxel.z);
    std::size_t v = 0;
    for (std::size_t i = 0; i < field.size[0]; ++i) {
        for (std::size_t j = 0; j < field.size[1]; ++j) {
            for (std::size_t k = 0; k < field.size[2]; ++k, ++v) {
                const auto a = static_cast<int>(static_cast<long>(i) + di);
                const auto b = static_cast<int>(static_cast<long>(j) + dj);
                const auto c = static_cast<int>(static_cast<long>(k) + dk);
                if (content.inside[v] != 0 && prepared.grid.isIndexOnGrid(a, b, c)) {
                    prepared.values[prepared.grid.indexToFlatIndex(a, b, c)] =
                        static_cast<double>(field.values[v]);
                }
            }
        }
    }
}

void remark(PreparedMap& prepared, const Content& content, const PreparedModel& model) {
    if (content.reachesFaces) {
        prepared.remarks.push_back(
            "the content of the map reaches its faces, as in a map cut out of a larger "
            "one: places near a face are less certain");
    }
    if (model.reach > prepared.contentRadius) {
        prepared.remarks.push_back(
            "the model reaches " + numberText(model.reach) +
            " A from its middle and the content of the map only " + numberText(prepared.contentRadius) +
            " A: the map shows a part of the model, or the voxel size or the level is wrong");
    }
}

} // namespace

cVector3 PreparedMap::middle() const {
    return grid.m_box.center();
}

bool isSameFrame(const DensityMap& map, const DensityMap& mask) {
    constexpr double tolerance = 0.01; // of a voxel
    const cVector3 between = mask.origin - map.origin;
    const bool isSame =
        mask.size == map.size && std::abs(between.x) < tolerance * map.voxel.x &&
        std::abs(between.y) < tolerance * map.voxel.y && std::abs(between.z) < tolerance * map.voxel.z &&
        (mask.voxel - map.voxel).norm() * static_cast<double>(map.size[0]) < tolerance * map.voxel.x * 3.0;
    return isSame;
}

PreparedMap prepareMap(const DensityMap& map, const PreparedModel& model, const ScanChoice& choice,
                       const MapRequest& request) {
    if (request.mask != nullptr && !isSameFrame(map, *request.mask)) {
        throw std::invalid_argument(
            "the mask has another frame than the map: give a mask with the same size, "
            "voxels and place");
    }
    DensityMap coarse =
        coarsen(map, {choice.mapResolution, choice.resolution, choice.voxel, request.level, request.mask});
    PreparedMap prepared;
    const double level = chooseLevel(coarse);
    prepared.level = request.level.value_or(level);
    Content content = findContent(coarse, level, 0.5 * choice.resolution);
    if (content.voxels == 0) {
        throw std::invalid_argument(reasonOfNothing(map, coarse, request, level));
    }
    const double modelReach = model.reach + sigmasOfAtom * choice.sigma;
    if (request.near) {
        keepNear(content, coarse, *request.near, modelReach);
    }
    layGrid(prepared, content, choice.voxel, modelReach, coarse, request.near);
    if (request.field == MapField::Laplacian) {
        coarse = negativeLaplacian(coarse);
    }
    fill(prepared, coarse, content);
    normalise(prepared.values);
    remark(prepared, content, model);
    return prepared;
}
