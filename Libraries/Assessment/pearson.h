// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_PEARSON_H
#define SELVANE_ASSESSMENT_PEARSON_H

#include <vector>

/// The correlation about the means of two samples of the same size. A sample whose scatter is no more than
/// the rounding of its values is constant, and the correlation with it is 0, as is that of nothing.
double pearson(const std::vector<float>& a, const std::vector<float>& b);

#endif
