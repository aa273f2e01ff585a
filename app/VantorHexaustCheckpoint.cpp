// SPDX-License-Identifier: GPL-3.0-or-later
// What a checkpoint of the scan holds of a fit, and how a fit takes it up again.
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "NMAEngine/NormalModeEngine.h"
#include "Search/ContentHash.h"
#include "Search/RecoverableScan.h"
#include "app/VantorHexaust.h"
#include "app/fail.h"

namespace {

/// All that the results have of the map: its voxels and its header.
std::uint64_t hashOfMap(const cDensityMapCCP4& map) {
    ContentHash hash;
    hash.addAll(map.m_data->values());
    for (const std::size_t size : map.m_data->shape()) {
        hash.add(size);
    }
    hash.addAll(map.m_extent);
    hash.addAll(map.m_start);
    hash.addAll(map.m_sampling);
    hash.addAll(map.m_axisOrder);
    hash.addAll(map.m_cellLengths);
    hash.addAll(map.m_cellAngles);
    hash.addAll(map.m_originWords);
    for (const float statistic : {map.m_minDensity, map.m_maxDensity, map.m_meanDensity}) {
        hash.add(statistic);
    }
    return hash.value();
}

/// All that the results have of the model's atoms.
std::uint64_t hashOfModel(const std::vector<cPDBAtom>& atoms, const std::vector<double>& masses,
                          const std::vector<int>& blockIds) {
    ContentHash hash;
    for (const cPDBAtom& atom : atoms) {
        for (const double coordinate : {atom.m_position.x, atom.m_position.y, atom.m_position.z}) {
            hash.add(coordinate);
        }
        for (const char* text : {atom.m_name, atom.m_resName, atom.m_chain, atom.m_segId, atom.m_iCode,
                                 atom.m_altLoc, atom.m_element}) {
            hash.addText(text);
        }
        for (const int number : {atom.m_serial, atom.m_resSeq}) {
            hash.add(number);
        }
        for (const float number : {atom.m_mass, atom.m_occupancy, atom.m_tempFactor}) {
            hash.add(number);
        }
    }
    hash.addAll(masses);
    hash.addAll(blockIds);
    return hash.value();
}

/// With as many digits as it takes to tell two numbers apart.
std::string exactly(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string yesOrNo(bool value) {
    return value ? "yes" : "no";
}

} // namespace

std::string VantorHexaust::getCheckpointPath() const {
    return m_settings.outputDirectory + "/.selvane-checkpoint";
}

/// Options count by the value in force, whether given or not.
checkpoint::Identity VantorHexaust::checkpointIdentity() const {
    const FitSettings& s = m_settings;
    checkpoint::Identity identity;
    identity.map = hashOfMap(m_edm);
    identity.model = hashOfModel(m_atoms, m_masses, m_blockIds);
    if (s.multistep && m_nma->m_nModes > 0) {
        ContentHash modes;
        modes.addBytes(m_nma->m_modes.memptr(), m_nma->m_modes.n_elem * sizeof(double));
        identity.modes = modes.value();
    }
    identity.options = {{"--nthread", std::to_string(m_nThread)},
                        {"--dangle", exactly(s.step.value())},
                        {"--sigma", exactly(m_sigma)},
                        {"--filtersigma", exactly(s.filterSigmas)},
                        {"--nsolutions", std::to_string(s.solutions)},
                        {"--nopadding", yesOrNo(!s.padding)},
                        {"--multistep", yesOrNo(s.multistep)},
                        {"--nmodes", std::to_string(s.modes)},
                        {"--cutoff", exactly(s.cutoff)},
                        {"--stiffness", exactly(s.stiffness)},
                        {"--maxrmsd", exactly(s.maxRmsd)},
                        {"--clustering", yesOrNo(s.clustering)},
                        {"--nclusters", "unused"},
                        {"--clusterThreshold", "unused"}};
    if (s.clustering) {
        const std::size_t last = identity.options.size() - 1;
        identity.options[last - 1].second = std::to_string(s.clusters);
        identity.options[last].second = exactly(s.clusterThreshold.value());
    }
    return identity;
}

void VantorHexaust::resumeScan(RecoverableScan& recovery) {
    checkpoint::Shape shape{m_paddedStructureGrid, m_nma->m_nModes,
                            static_cast<std::size_t>(m_settings.capacity()), m_nThread};
    try {
        recovery.attach({checkpointIdentity(), std::move(shape), {m_settings.mapPath, m_settings.modelPath}},
                        m_localTopConformations);
    } catch (const checkpoint::Error& error) {
        fail(error.what());
    }
}
