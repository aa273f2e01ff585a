// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/ScanMethod.h"

#include <algorithm>

#include "CrossCorrelation/ElectronDensity.h"
#include "NMAEngine/NormalModeEngine.h"
#include "Search/FitSettings.h"
#include "Search/LocalScanMethod.h"
#include "Search/MultistepScanMethod.h"
#include "Search/PlainScanMethod.h"

std::unique_ptr<ScanMethod> ScanMethod::choose(SearchScene scene, bool multistep) {
    if (multistep) {
        return std::make_unique<MultistepScanMethod>(std::move(scene));
    }
    return std::make_unique<PlainScanMethod>(std::move(scene));
}

std::unique_ptr<ScanMethod> ScanMethod::choose(SearchScene scene, const FitSettings& settings) {
    if (settings.score == ScanScore::Local && settings.singlePrecision) {
        return std::make_unique<SingleLocalScanMethod>(std::move(scene), settings.varianceFloor);
    }
    if (settings.score == ScanScore::Local) {
        return std::make_unique<LocalScanMethod>(std::move(scene), settings.varianceFloor);
    }
    return choose(std::move(scene), settings.multistep);
}

void ScanMethod::fillBuffer(std::vector<double>& buffer) const {
    buffer.resize(m_scene.padded->getTotalSize());
    ElectronDensity::zeroPadd(*m_scene.mapValues, *m_scene.map, *m_scene.padded, buffer);
}

bool ScanMethod::refine(HexaustFlexibleFitConformation& pose) {
    complete(pose);
    return pose.solveConvexSubProblem(*m_scene.trustRadius);
}

double scanBytes(const ScanMethod& method, const FitSettings& settings, std::size_t workers) {
    const double nDof = static_cast<double>(method.scene().modes->m_nModes) + 6.0;
    const double conformation = 600.0 + 8.0 * (nDof + nDof * nDof);
    const double rotations = settings.rotationCount() + 1.0;
    const double angles = 2.0 * 24.0 * rotations;
    const double kept =
        std::min<double>(settings.capacity(), rotations * method.scene().padded->getTotalSize());
    const auto sets = static_cast<double>(method.setsPerWorker());
    const double candidates = conformation * kept * sets * (static_cast<double>(workers) + 1.0);
    return method.bytesNeeded(workers, kept, rotations) + angles + candidates;
}
