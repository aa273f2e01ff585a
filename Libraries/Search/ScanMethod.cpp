// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/ScanMethod.h"

#include "CrossCorrelation/ElectronDensity.h"
#include "Search/MultistepScanMethod.h"
#include "Search/PlainScanMethod.h"

std::unique_ptr<ScanMethod> ScanMethod::choose(SearchScene scene, bool multistep) {
    if (multistep) {
        return std::make_unique<MultistepScanMethod>(std::move(scene));
    }
    return std::make_unique<PlainScanMethod>(std::move(scene));
}

void ScanMethod::fillBuffer(std::vector<double>& buffer) const {
    buffer.resize(m_scene.padded->getTotalSize());
    ElectronDensity::zeroPadd(*m_scene.mapValues, *m_scene.map, *m_scene.padded, buffer);
}
