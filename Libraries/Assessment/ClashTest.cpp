// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/ClashTest.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// A model of few atoms far apart gets larger cells than its atoms need.
constexpr double mostCells = 4e6;

} // namespace

ClashTest::ClashTest(const std::vector<ModelAtom>& atoms) {
    for (const ModelAtom& atom : atoms) {
        m_positions.push_back(atom.position);
    }
    if (!m_positions.empty()) {
        layCells();
    }
}

/// A counting sort by cell.
void ClashTest::layCells() {
    m_low = m_high = m_positions.front();
    for (const cVector3& p : m_positions) {
        m_low = cVector3(std::min(m_low.x, p.x), std::min(m_low.y, p.y), std::min(m_low.z, p.z));
        m_high = cVector3(std::max(m_high.x, p.x), std::max(m_high.y, p.y), std::max(m_high.z, p.z));
    }
    const cVector3 size = m_high - m_low + cVector3(closest);
    m_edge = std::max(closest, std::cbrt(size.x * size.y * size.z / mostCells));
    for (int axis = 0; axis < 3; ++axis) {
        m_cells[static_cast<std::size_t>(axis)] = static_cast<std::size_t>(size[axis] / m_edge) + 1;
    }
    const auto cell = [&](const cVector3& p) {
        return (cellOf(p, 0) * m_cells[1] + cellOf(p, 1)) * m_cells[2] + cellOf(p, 2);
    };
    m_begin.assign(m_cells[0] * m_cells[1] * m_cells[2] + 1, 0);
    for (const cVector3& p : m_positions) {
        ++m_begin[cell(p) + 1];
    }
    for (std::size_t c = 1; c < m_begin.size(); ++c) {
        m_begin[c] += m_begin[c - 1];
    }
    std::vector<std::size_t> next(m_begin.begin(), m_begin.end() - 1);
    std::vector<cVector3> sorted(m_positions.size());
    for (const cVector3& p : m_positions) {
        sorted[next[cell(p)]++] = p;
    }
    m_positions = std::move(sorted);
}

std::size_t ClashTest::cellOf(const cVector3& position, int axis) const {
    const double cells = static_cast<double>(m_cells[static_cast<std::size_t>(axis)] - 1);
    return static_cast<std::size_t>(std::clamp((position[axis] - m_low[axis]) / m_edge, 0.0, cells));
}

bool ClashTest::isNearAtom(const cVector3& position) const {
    const cVector3 reach(closest);
    const cVector3 low = position - reach, high = position + reach;
    if (!(high.x > m_low.x && high.y > m_low.y && high.z > m_low.z && low.x < m_high.x && low.y < m_high.y &&
          low.z < m_high.z)) {
        return false;
    }
    const std::size_t lowZ = cellOf(low, 2), highZ = cellOf(high, 2);
    for (std::size_t i = cellOf(low, 0); i <= cellOf(high, 0); ++i) {
        for (std::size_t j = cellOf(low, 1); j <= cellOf(high, 1); ++j) {
            const std::size_t row = (i * m_cells[1] + j) * m_cells[2];
            const auto begin = m_positions.begin() + static_cast<std::ptrdiff_t>(m_begin[row + lowZ]);
            const auto end = m_positions.begin() + static_cast<std::ptrdiff_t>(m_begin[row + highZ + 1]);
            const bool isNear = std::any_of(
                begin, end, [&](const cVector3& p) { return (p - position).norm2() < closest * closest; });
            if (isNear) {
                return true;
            }
        }
    }
    return false;
}

/// @param motion  in the frame of the model's file, where the cells are
std::size_t ClashTest::countNear(const RigidMotion& motion) const {
    return static_cast<std::size_t>(
        std::count_if(m_positions.begin(), m_positions.end(),
                      [&](const cVector3& position) { return isNearAtom(motion(position)); }));
}

double ClashTest::share(const RigidMotion& a, const RigidMotion& b) const {
    if (m_positions.empty()) {
        return 0.0;
    }
    const std::size_t count = std::max(countNear(chain(a, b.inverse())), countNear(chain(b, a.inverse())));
    return static_cast<double>(count) / static_cast<double>(m_positions.size());
}
