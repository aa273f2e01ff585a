// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_ATOMCONTACTS_H
#define SELVANE_CROSSCORRELATION_ATOMCONTACTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

class cGrid;

/// Which atoms reach which grid nodes: for every node that some atom reaches, the atoms in ascending order.
///
/// An atom reaches the nodes of a box of whole nodes around its nearest node, cut at the grid's faces. Only
/// reached nodes take memory: 4 bytes a contact and 12 bytes a node, so that a model costs the same on any
/// grid.
class AtomContacts {
public:
    /// The nodes that one atom reaches, as inclusive index ranges along x, y, z; empty when low > high on an
    /// axis.
    struct Reach {
        std::array<int, 3> low;
        std::array<int, 3> high;

        bool isEmpty() const { return low[0] > high[0] || low[1] > high[1] || low[2] > high[2]; }
    };

    AtomContacts() = default;

    /// @param reaches one entry per atom, inside the grid.
    AtomContacts(const std::vector<Reach>& reaches, const cGrid& grid);

    /// Number of nodes with at least one contact.
    std::size_t nodeCount() const { return m_nodes.size(); }

    /// Flat grid index of the n-th node that has contacts; ascending in n.
    std::uint32_t node(std::size_t n) const { return m_nodes[n]; }

    /// The atoms that reach the n-th node, ascending, as [atomsBegin(n), atomsEnd(n)).
    const std::uint32_t* atomsBegin(std::size_t n) const { return m_atoms.data() + m_offsets[n]; }
    const std::uint32_t* atomsEnd(std::size_t n) const { return m_atoms.data() + m_offsets[n + 1]; }

private:
    std::vector<std::uint32_t> m_nodes;
    std::vector<std::size_t> m_offsets;
    std::vector<std::uint32_t> m_atoms;
};

#endif
