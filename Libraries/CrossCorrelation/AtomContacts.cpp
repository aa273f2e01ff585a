// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/AtomContacts.h"

#include <algorithm>
#include <climits>

#include "Math/cGrid.h"

namespace {

/// The box of nodes that holds all contacts, with the model's own small flat index.
class ContactBox {
public:
    explicit ContactBox(const std::vector<AtomContacts::Reach>& reaches) {
        for (const auto& reach : reaches) {
            if (reach.isEmpty()) {
                continue;
            }
            for (std::size_t a = 0; a < 3; ++a) {
                m_low[a] = std::min(m_low[a], reach.low[a]);
                m_high[a] = std::max(m_high[a], reach.high[a]);
            }
        }
    }

    bool isEmpty() const { return m_low[0] > m_high[0]; }
    int low(std::size_t axis) const { return m_low[axis]; }
    std::size_t extent(std::size_t axis) const {
        return static_cast<std::size_t>(m_high[axis] - m_low[axis]) + 1;
    }
    std::size_t size() const { return isEmpty() ? 0 : extent(0) * extent(1) * extent(2); }

    /// Index of node (i, j, low z of the box) in the box.
    std::size_t rowStart(int i, int j) const {
        return (static_cast<std::size_t>(i - m_low[0]) * extent(1) + static_cast<std::size_t>(j - m_low[1])) *
               extent(2);
    }

private:
    std::array<int, 3> m_low{INT_MAX, INT_MAX, INT_MAX};
    std::array<int, 3> m_high{INT_MIN, INT_MIN, INT_MIN};
};

template <class Visit>
void forEachReachedRow(const AtomContacts::Reach& reach, const ContactBox& box, Visit&& visit) {
    for (int i = reach.low[0]; i <= reach.high[0]; ++i) {
        for (int j = reach.low[1]; j <= reach.high[1]; ++j) {
            const std::size_t row = box.rowStart(i, j);
            visit(row + static_cast<std::size_t>(reach.low[2] - box.low(2)),
                  row + static_cast<std::size_t>(reach.high[2] - box.low(2)) + 1);
        }
    }
}

} // namespace

AtomContacts::AtomContacts(const std::vector<Reach>& reaches, const cGrid& grid) {
    const ContactBox box(reaches);
    m_offsets.assign(1, 0);
    if (box.isEmpty()) {
        return;
    }
    std::vector<std::uint32_t> count(box.size(), 0);
    for (const auto& reach : reaches) {
        if (!reach.isEmpty()) {
            forEachReachedRow(reach, box, [&](std::size_t begin, std::size_t end) {
                for (std::size_t n = begin; n < end; ++n) {
                    ++count[n];
                }
            });
        }
    }
    const std::size_t reached =
        count.size() - static_cast<std::size_t>(std::count(count.begin(), count.end(), 0U));
    m_nodes.reserve(reached);
    m_offsets.reserve(reached + 1);
    // From here on an entry of count is the place of its node among the reached ones.
    std::size_t n = 0;
    for (std::size_t i = 0; i < box.extent(0); ++i) {
        for (std::size_t j = 0; j < box.extent(1); ++j) {
            for (std::size_t k = 0; k < box.extent(2); ++k, ++n) {
                if (count[n] == 0) {
                    continue;
                }
                m_nodes.push_back(grid.indexToFlatIndex(box.low(0) + static_cast<int>(i),
                                                        box.low(1) + static_cast<int>(j),
                                                        box.low(2) + static_cast<int>(k)));
                m_offsets.push_back(m_offsets.back() + count[n]);
                count[n] = static_cast<std::uint32_t>(m_nodes.size() - 1);
            }
        }
    }
    m_atoms.resize(m_offsets.back());
    std::vector<std::size_t> cursor(m_offsets.begin(), m_offsets.end() - 1);
    for (std::size_t atom = 0; atom < reaches.size(); ++atom) {
        if (!reaches[atom].isEmpty()) {
            forEachReachedRow(reaches[atom], box, [&](std::size_t begin, std::size_t end) {
                for (std::size_t b = begin; b < end; ++b) {
                    m_atoms[cursor[count[b]]++] = static_cast<std::uint32_t>(atom);
                }
            });
        }
    }
}
