// SPDX-License-Identifier: GPL-3.0-or-later
// The reader of CCP4 maps and all that a map offers once it is read.
#include <algorithm>
#include <cmath>
#include <iostream>

#include "DensityReader/cDensityMapCCP4.h"
#include "fuzz/fuzzTarget.h"

namespace {

bool isSameValue(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// What is written reads back voxel by voxel, whatever the header said.
void checkRoundTrip(cDensityMapCCP4& map, const std::string& path) {
    require(map.save(path), "a map that was read can be written");
    cDensityMapCCP4 again;
    again.load(path);
    require(!again.isEmpty() && again.m_data->shape() == map.m_data->shape(), "the sizes come back");
    const auto& before = map.m_data->values();
    const auto& after = again.m_data->values();
    require(std::equal(before.begin(), before.end(), after.begin(), isSameValue), "the voxels come back");
}

void useEverything(cDensityMapCCP4& map) {
    map.getAverageValue();
    map.getWeightedCenter();
    map.getFrameShiftFromOriginWords();
    map.computeHistogram(); // within the extremes of the header
    map.updateBin();
    map.computeAvMaxMinDensity();
    map.analyzeDensity();
    map.computeHistogram();
    map.updateBin();
    map.getCropBBox(0.0);
    map.regularizeEMDensity();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchDirectory scratch;
    std::cerr.rdbuf(nullptr); // messages of the reader
    cDensityMapCCP4 map;
    map.load(scratch.write("input.map", data, size));
    const std::size_t voxels = map.isEmpty() ? 0 : map.m_data->voxelCount();
    require(4 * voxels <= size, "the file's length bears out the voxels");
    require(map.m_grid.getTotalSize() == voxels, "a node for each voxel");
    require(map.getValue().size() == voxels, "a value for each voxel");
    require(voxels > 0 || !map.getDefect().empty(), "an empty map is told");
    if (voxels > 0) {
        checkRoundTrip(map, scratch.path("saved.map"));
        useEverything(map);
    }
    return 0;
}
