// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_CIFROWS_H
#define SELVANE_FORMATS_CIFROWS_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "Math/RigidMotion.h"

namespace gemmi {
namespace cif {
struct Loop;
}
} // namespace gemmi

/// A loop with some of the values of a row replaced.
class RowChange {
public:
    /// @param loop  not owned, must not move
    explicit RowChange(const gemmi::cif::Loop& loop);

    void begin(std::size_t row);
    const std::string& old(int column) const;
    /// @param value  as it stands in the file, not empty
    void set(int column, std::string value);
    void write(std::string& out) const;

private:
    const gemmi::cif::Loop& m_loop;
    std::size_t m_row = 0;
    std::vector<std::string> m_changed; ///< empty: as it was
    std::vector<std::size_t> m_used;
};

/// Changes what a motion changes in a row: Cartn_x, _y and _z, and the tensors of displacements.
class RowMover {
public:
    /// @param tensors  what the tags of tensors begin with, before U and B
    RowMover(const gemmi::cif::Loop& loop, const std::string& tensors);

    void move(RowChange& row, const RigidMotion& motion) const;

private:
    std::array<int, 3> m_place;
    std::array<int, 6> m_u, m_b;
};

/// The head of a loop.
void writeTags(const gemmi::cif::Loop& loop, std::string& out);

#endif
