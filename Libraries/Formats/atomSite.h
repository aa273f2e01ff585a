// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_ATOMSITE_H
#define SELVANE_FORMATS_ATOMSITE_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace gemmi {
struct Model;
namespace cif {
struct Loop;
}
} // namespace gemmi

/// The columns of the loop _atom_site, by the names that authors gave where there are two of them.
struct AtomSiteColumns {
    static constexpr int none = -1;

    explicit AtomSiteColumns(const gemmi::cif::Loop& loop);

    int id, group, element, atom, altLoc, residue, chain, labelChain, entity, labelNumber, number,
        insertionCode, occupancy, bFactor, charge, model;
    std::array<int, 3> place; ///< x, y, z
};

/// Six columns of a symmetric tensor in the order of the ANISOU record; the first is none unless all are
/// there.
std::array<int, 6> tensorColumns(const gemmi::cif::Loop& loop, const std::string& prefix);

/// Adds the atoms of the given rows to a model, each with its place among the rows, from 1, as its serial
/// number. Rows of one chain or residue that others part stay one, as long as the chain goes on.
void addAtoms(const gemmi::cif::Loop& loop, const AtomSiteColumns& columns,
              const std::vector<std::size_t>& rows, const std::vector<bool>& kept, gemmi::Model& model);

#endif
