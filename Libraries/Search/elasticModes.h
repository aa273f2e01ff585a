// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_ELASTICMODES_H
#define SELVANE_SEARCH_ELASTICMODES_H

#include <array>
#include <memory>
#include <vector>

#include "PDB/cPDBAtom.h"

class NormalModeEngine;
class System;
class cAtomGrid;
class cInfo;
struct FitSettings;

/// The elastic network of a model: springs between all atoms within the cut-off.
/// @param cells  that know the atoms, made for the cut-off
/// @param info   is told the sizes; must outlive the network
std::shared_ptr<System> makeNetwork(std::vector<cPDBAtom>& atoms, const std::vector<double>& masses,
                                    const cAtomGrid& cells, double stiffness, cInfo& info);

/// Its softest modes in rigid blocks.
/// @param network   null for no modes
/// @param blockIds  the block of each atom
/// @throws std::exception of the numerical libraries where the modes cannot be computed
std::shared_ptr<NormalModeEngine> makeModes(const std::shared_ptr<System>& network,
                                            const std::vector<std::array<double, 3>>& positions,
                                            const std::vector<double>& masses,
                                            const std::vector<int>& blockIds, unsigned long count,
                                            cInfo& info);

#endif
