// SPDX-License-Identifier: GPL-3.0-or-later
// Reduces the poses to mutually distant ones.
#include "app/ConformationCluster.h"
#include "app/VantorHexaust.h"

void VantorHexaust::clusterSolutions() {
    m_info.printInfo(" Clustering the Solutions ");
    ConformationCluster<HexaustFlexibleFitConformation> clusters(
        m_positions, m_edm.m_grid, m_structureGrid->m_box.m_min, m_workflow.getClusterThreshold(m_positions));
    const auto capacity = static_cast<unsigned long>(m_workflow.m_nclusters.getValue());
    for (const auto& conformation : m_topConformations) {
        clusters.insertToMap(conformation, capacity);
    }
    m_topConformations = clusters.toStdVector();
}
