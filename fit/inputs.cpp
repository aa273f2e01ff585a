// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/inputs.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Formats/readMap.h"
#include "IO/sha256.h"
#include "Preparation/PreparedMap.h"
#include "fit/joinText.h"

namespace {

std::string textOf(const cVector3& v, const std::string& between) {
    return joinText(rounded(v.x), between, rounded(v.y), between, rounded(v.z));
}

void warnOf(Journal& journal, const std::string& path, const std::vector<std::string>& remarks) {
    for (const std::string& remark : remarks) {
        journal.warn(path + ": " + remark);
    }
}

DensityMap readMapOf(const std::string& path, Journal& journal) {
    MapFile file = readMap(path);
    warnOf(journal, path, file.remarks);
    const DensityMap& map = file.map;
    journal.choose(joinText(path, ": ", map.size[0], " x ", map.size[1], " x ", map.size[2], " voxels of ",
                            textOf(map.voxel, " x "), " A, the first at ", textOf(map.origin, " "), " A"));
    return std::move(file.map);
}

AtomicModel readModel(const FitOptions& options, Journal& journal) {
    AtomicModel model = AtomicModel::read(options.model, options.choice);
    warnOf(journal, options.model, model.remarks());
    journal.choose(joinText(options.model, ": ", model.atomCount(), " atoms, ", model.searchAtoms().size(),
                            " of them searched for"));
    return model;
}

std::optional<DensityMap> readMaskOf(const FitOptions& options, const DensityMap& map, Journal& journal) {
    if (options.mask.empty()) {
        return std::nullopt;
    }
    DensityMap mask = readMapOf(options.mask, journal);
    if (!isSameFrame(map, mask)) {
        throw std::runtime_error(options.mask +
                                 ": the mask has another frame than the map: give one with "
                                 "the size, voxels and place of " +
                                 options.map);
    }
    return mask;
}

} // namespace

FitInputs readInputs(const FitOptions& options, Journal& journal) {
    journal.stage("reading the model");
    AtomicModel model = readModel(options, journal);
    journal.stage("reading the map");
    DensityMap map = readMapOf(options.map, journal);
    std::optional<DensityMap> mask = readMaskOf(options, map, journal);
    return {std::move(model), std::move(map), std::move(mask), sha256OfFile(options.model),
            sha256OfFile(options.map)};
}
