// SPDX-License-Identifier: GPL-3.0-or-later
// Reduces the poses to mutually distant ones.
#include "Search/ConformationCluster.h"
#include "app/VantorHexaust.h"

void VantorHexaust::clusterSolutions() {
    m_info.printInfo(" Clustering the Solutions ");
    m_topConformations = clusterPoses(m_topConformations, m_positions, mapFrame(), m_settings);
}
