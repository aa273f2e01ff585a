// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_CORRELATIONPATTERN_H
#define SELVANE_CROSSCORRELATION_CORRELATIONPATTERN_H

#include "CrossCorrelation/DensityTable.h"
#include "FFTWrapper/ComplexArray.h"

/// The simulated density of one state of the model, ready to be correlated with any target on the same grid.
///
/// Immutable once made and shared read-only: a scan that leaves the model alone needs one for all its
/// workers.
struct CorrelationPattern {
    DensityTable table;         ///< density and derivatives at the nodes that the model reaches
    dft::ComplexArray spectrum; ///< unnormalised forward transform of the density on the whole grid
};

#endif
