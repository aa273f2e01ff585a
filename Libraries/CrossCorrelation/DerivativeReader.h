// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_DERIVATIVEREADER_H
#define SELVANE_CROSSCORRELATION_DERIVATIVEREADER_H

#include <memory>
#include <vector>

#include "FFTWrapper/RealCorssCorelationEngine.h"

/// What a correlation object makes derivatives from after an execution: the target as it stood then, taken
/// back from its spectrum, and, once whole grids are asked for, the engine that correlates the target with
/// one map after another.
struct DerivativeReader {
    std::vector<double> target;
    std::vector<double> map;         ///< scratch: a map on the whole grid, zero where nobody writes
    std::vector<double> correlation; ///< its correlation with the target
    std::unique_ptr<dft::RealCorssCorelationEngine> engine;

    /// Prepares for whole grids; the target must be there.
    void makeEngine(const cGrid& grid) {
        if (!engine) {
            map.assign(target.size(), 0.0);
            correlation.resize(target.size());
            engine = std::make_unique<dft::RealCorssCorelationEngine>(grid, target.data(), map.data(),
                                                                      correlation.data());
        }
    }

    /// Correlates the target with what `map` holds.
    void correlateMap() {
        engine->execute(!m_targetTransformed, true);
        m_targetTransformed = true;
    }

private:
    bool m_targetTransformed = false;
};

#endif
