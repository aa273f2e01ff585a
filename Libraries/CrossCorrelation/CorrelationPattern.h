// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_CORRELATIONPATTERN_H
#define SELVANE_CROSSCORRELATION_CORRELATIONPATTERN_H

#include <memory>

#include "CrossCorrelation/ElectronDensity.h"
#include "FFTWrapper/ComplexArray.h"

/// The simulated density of one state of the model, to be correlated with any target on the same grid.
///
/// Immutable once made and shared read-only. The pattern of a model that moves on at once holds the density
/// alone; who needs its spectrum makes it.
struct CorrelationPattern {
    std::shared_ptr<const ElectronDensity> density;
    dft::ComplexArray spectrum; ///< unnormalised forward transform of the density on the whole grid, or empty
};

#endif
