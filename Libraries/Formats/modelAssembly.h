// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_MODELASSEMBLY_H
#define SELVANE_FORMATS_MODELASSEMBLY_H

#include <string>
#include <vector>

namespace gemmi {
struct Assembly;
struct Structure;
namespace cif {
struct Block;
}
} // namespace gemmi

/// The assemblies that a data block defines, products of operators such as (X0)(1-60) included. One that
/// asks for more operators than any assembly has comes without any.
std::vector<gemmi::Assembly> readAssemblies(gemmi::cif::Block& block);

/// Replaces the one model of a structure by its assembly of this name, operator by operator. The first copy
/// of a chain keeps its name, where no other has it, and further copies get the first of A to Z, a to z, 0 to
/// 9, AA to 99 that is free. Bonds and secondary structure come with each copy.
/// @throws std::invalid_argument, with the names that there are, for another name; for an assembly of no
///         atoms, or of more than can be handled
void makeAssembly(gemmi::Structure& structure, const std::string& name);

#endif
