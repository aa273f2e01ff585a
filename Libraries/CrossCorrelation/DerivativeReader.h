// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_DERIVATIVEREADER_H
#define SELVANE_CROSSCORRELATION_DERIVATIVEREADER_H

#include <memory>
#include <vector>

#include "FFTWrapper/RealCorssCorelationEngine.h"

/// What a correlation object makes derivatives from after an execution: the target as it stood then, taken
/// back from its spectrum, and, once whole grids are asked for, the engine that correlates it with one map
/// after another.
struct DerivativeReader {
    std::vector<double> target;
    std::vector<double> map;         ///< scratch: one derivative map on the whole grid
    std::vector<double> correlation; ///< scratch: its correlation with the target
    std::unique_ptr<dft::RealCorssCorelationEngine> engine;
};

#endif
