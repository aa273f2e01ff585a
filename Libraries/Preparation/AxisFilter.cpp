// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/AxisFilter.h"

#include <algorithm>
#include <cmath>

#include "Math/pi.h"
#include "Preparation/ScanChoice.h"

namespace {

// Where a Gaussian is called nothing, in standard deviations: below it lies 0.1 % of the amplitude.
constexpr double nothingBeyond = 3.0;
// The finest frequency that has to pass unharmed, as a share of the cut-off.
constexpr double finestPassed = 0.7;

} // namespace

LowPass LowPass::between(double from, double to, double source, double target) {
    LowPass lowPass;
    const double before = gaussianOf(from);
    const double after = gaussianOf(to);
    lowPass.sigma = std::sqrt(std::max(0.0, after * after - before * before));
    lowPass.cutoff = 0.5 / std::max(source, target);
    const double passed = std::min(1.0 / to, finestPassed * lowPass.cutoff);
    lowPass.softness = (lowPass.cutoff - passed) / nothingBeyond;
    return lowPass;
}

double LowPass::transfer(double frequency) const {
    const double blur = 2.0 * pi * pi * sigma * sigma * frequency * frequency;
    return 0.5 * std::exp(-blur) * std::erfc((frequency - cutoff) / (std::sqrt(2.0) * softness));
}

/// A product of transfers is a convolution of kernels, whose variances add.
double LowPass::reach() const {
    const double edge = 1.0 / (2.0 * pi * softness);
    return nothingBeyond * std::sqrt(edge * edge + sigma * sigma);
}

/// The trapezoidal rule is exact to the accuracy of the kernel for a smooth integrand as long as the period
/// that its spacing brings along holds the kernel.
double LowPass::kernel(double x) const {
    const double spacing = 1.0 / (4.0 * reach());
    const double highest = cutoff + (nothingBeyond + 1.0) * softness;
    double sum = 0.5 * transfer(0.0);
    for (double k = spacing; k < highest; k += spacing) {
        sum += transfer(k) * std::cos(2.0 * pi * k * x);
    }
    return 2.0 * spacing * sum;
}

AxisFilter::AxisFilter(std::size_t count, double source, double target, const LowPass& lowPass) {
    const double extent = static_cast<double>(count - 1) * source;
    constexpr double rounding = 1e-9; // of the last node's place, in nodes
    const auto outputs = static_cast<std::size_t>(std::floor(extent / target + rounding)) + 1;
    const double reach = lowPass.reach();
    const auto last = static_cast<double>(count - 1);
    for (std::size_t j = 0; j < outputs; ++j) {
        const double place = static_cast<double>(j) * target;
        const double from = std::ceil((place - reach) / source);
        const double to = std::floor((place + reach) / source);
        const auto low = static_cast<std::size_t>(std::clamp(from, 0.0, last));
        const auto high = static_cast<std::size_t>(std::clamp(to, 0.0, last));
        std::vector<double> row(high - low + 1, 0.0);
        double sum = 0.0;
        for (double t = from; t <= to; t += 1.0) {
            const double weight = lowPass.kernel(t * source - place);
            row[static_cast<std::size_t>(std::clamp(t, 0.0, last)) - low] += weight;
            sum += weight;
        }
        first.push_back(low);
        weights.emplace_back(row.size());
        std::transform(row.begin(), row.end(), weights.back().begin(),
                       [sum](double weight) { return static_cast<float>(weight / sum); });
    }
}
