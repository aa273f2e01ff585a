// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/RotationScan.h"

#include <stdexcept>
#include <utility>

#include "CrossCorrelation/localModel.h"
#include "CrossCorrelation/offerScores.h"
#include "CrossCorrelation/shiftedSums.h"

RotationScan::RotationScan(const ScanMap& map, std::shared_ptr<const cGrid> grid, double filterSigmas)
    : m_grid(std::move(grid))
    , m_rowSize(map.grid().m_size[2])
    , m_rotator(map, filterSigmas)
    , m_correlator(*m_grid, map.grid().getSizes()) {}

std::shared_ptr<const ScanPattern> RotationScan::makePattern(std::shared_ptr<const ElectronDensity> density) {
    m_state = State::Empty;
    std::vector<double> field(m_grid->getTotalSize(), 0.0);
    density->addDensity(field.data());
    auto pattern = std::make_shared<ScanPattern>();
    pattern->density = std::move(density);
    pattern->spectrum = m_correlator.spectrumOf(field.data());
    return pattern;
}

void RotationScan::rotate(const std::array<double, 3>& eulerAngles) {
    m_filter = m_rotator.rotate(
        eulerAngles, [this](std::size_t i, std::size_t j) { return m_correlator.targetRow(i, j); });
    m_eulerAngles = eulerAngles;
    m_state = State::Rotated;
}

void RotationScan::correlate(const ScanPattern& pattern) {
    if (m_state != State::Rotated) {
        throw std::logic_error("RotationScan: no rotation to correlate");
    }
    m_correlator.transformTarget([this](std::size_t i, std::size_t j, double* row) {
        return m_filter.apply(m_correlator.targetRow(i, j), m_rowSize, row);
    });
    m_correlator.correlate(pattern.spectrum);
    m_eta.zeros(pattern.density->nDof() - 6);
    m_state = State::Correlated;
}

void RotationScan::offer(LimitedSizeSet<HexaustFlexibleFitConformation>& set) {
    if (m_state != State::Correlated) {
        throw std::logic_error("RotationScan: the present rotation is not correlated");
    }
    const double alpha = m_eulerAngles[0], beta = m_eulerAngles[1], gamma = m_eulerAngles[2];
    bool offered = false;
    m_correlator.readResult([&](std::size_t i, std::size_t j, const double* scores) {
        offerScores(set, scores, m_grid->m_size[2], [&](std::size_t k) {
            offered = true;
            return HexaustFlexibleFitConformation(scores[k], static_cast<int>(i), static_cast<int>(j),
                                                  static_cast<int>(k), m_eta, m_grid, alpha, beta, gamma);
        });
    });
    if (offered) {
        keepFilter(set);
    }
}

/// Most rotations of a long scan lose their candidates to later ones: their filters go with them, many at a
/// time.
void RotationScan::keepFilter(const LimitedSizeSet<HexaustFlexibleFitConformation>& set) {
    m_filters.insert_or_assign(m_eulerAngles, m_filter);
    if (m_filters.size() / 2 <= set.getMaxSize()) {
        return;
    }
    Filters alive;
    for (const auto& candidate : set) {
        const auto known = m_filters.find({candidate.m_alpha, candidate.m_beta, candidate.m_gamma});
        if (known != m_filters.end()) {
            alive.insert(*known);
        }
    }
    m_filters.swap(alive);
}

void completeCandidate(const DensityTable& table, const RotatedNodes& map,
                       HexaustFlexibleFitConformation& candidate) {
    const cGrid& grid = *candidate.m_grid;
    const std::vector<double> row =
        shiftedSums(table, grid, map, {grid.indexToFlatIndex(candidate.m_i, candidate.m_j, candidate.m_k)});
    setLocalModel(row.data(), table.nDof, candidate);
}
