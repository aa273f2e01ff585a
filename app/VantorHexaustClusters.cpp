// SPDX-License-Identifier: GPL-3.0-or-later
// Reduces the poses to mutually distant ones.
#include "Search/ConformationCluster.h"
#include "app/VantorHexaust.h"

void VantorHexaust::clusterSolutions() {
    m_info.printInfo(" Clustering the Solutions ");
    ConformationCluster<HexaustFlexibleFitConformation> clusters(m_positions, mapFrame(),
                                                                 m_settings.clusterThreshold.value());
    const auto capacity = static_cast<unsigned long>(m_settings.clusters);
    for (const auto& conformation : m_topConformations) {
        clusters.insertToMap(conformation, capacity);
    }
    m_topConformations = clusters.toStdVector();
}
