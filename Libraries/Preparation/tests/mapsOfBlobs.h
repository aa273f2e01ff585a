// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_TESTS_MAPSOFBLOBS_H
#define SELVANE_PREPARATION_TESTS_MAPSOFBLOBS_H

#include <cmath>
#include <vector>

#include "Formats/DensityMap.h"
#include "Math/cVector3.h"

/// A spherical Gaussian of a given width and height.
struct Blob {
    cVector3 middle;
    double sigma;
    double height;

    double operator()(const cVector3& x) const {
        return height * std::exp(-0.5 * (x - middle).norm2() / (sigma * sigma));
    }
};

inline cVector3 placeOf(const DensityMap& map, std::size_t i, std::size_t j, std::size_t k) {
    return map.origin + cVector3(static_cast<double>(i) * map.voxel.x, static_cast<double>(j) * map.voxel.y,
                                 static_cast<double>(k) * map.voxel.z);
}

/// A map whose voxels hold a function of their place.
template <class Function>
DensityMap mapOf(const std::array<std::size_t, 3>& size, const cVector3& origin, const cVector3& voxel,
                 Function&& function) {
    DensityMap map;
    map.size = size;
    map.origin = origin;
    map.voxel = voxel;
    for (std::size_t i = 0; i < size[0]; ++i) {
        for (std::size_t j = 0; j < size[1]; ++j) {
            for (std::size_t k = 0; k < size[2]; ++k) {
                map.values.push_back(static_cast<float>(function(placeOf(map, i, j, k))));
            }
        }
    }
    return map;
}

inline DensityMap mapOfBlobs(const std::array<std::size_t, 3>& size, const cVector3& origin,
                             const cVector3& voxel, const std::vector<Blob>& blobs) {
    return mapOf(size, origin, voxel, [&](const cVector3& x) {
        double sum = 0.0;
        for (const Blob& blob : blobs) {
            sum += blob(x);
        }
        return sum;
    });
}

#endif
