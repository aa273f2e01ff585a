// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_SEARCHSCENE_H
#define SELVANE_SEARCH_SEARCHSCENE_H

#include <array>
#include <memory>
#include <vector>

#include "Math/cGrid.h"
#include "Math/cVector3.h"

class ElectronDensity;
class NormalModeEngine;
class cInfo;
struct FitSettings;

/// The grids of a search: the model's lies on the map's lattice, and the padded ones have one size.
struct SearchGrids {
    std::shared_ptr<cGrid> structure;       ///< around the model
    std::shared_ptr<cGrid> paddedStructure; ///< of the correlation
    cGrid padded;                           ///< the map's
};

/// The grid around the model, its low corner on a node of the map.
/// @throws std::length_error if it has more than 2^31 nodes, as around atoms far from the rest
std::shared_ptr<cGrid> laySearchGrid(const cGrid& map, const std::vector<std::array<double, 3>>& positions,
                                     double sigma);

/// Fills in the padded grids.
/// @param padding  to powers of two; without it the correlation is periodic in the map
/// @param info     is told the common size
/// @throws std::length_error if the padded map has more than 2^31 nodes
void padSearchGrids(SearchGrids& grids, const cGrid& map, bool padding, cInfo& info);

/// Whether the model with its margin is larger than the correlation's grid, so that it is cut off.
bool cutsModel(const SearchGrids& grids);

/// What the workers of a scan read and nobody writes. Views: the owner keeps all of it in place.
struct SearchScene {
    const std::vector<double>* mapValues; ///< one per node of the map
    const cGrid* map;
    const cGrid* padded;
    std::shared_ptr<const cGrid> paddedStructure; ///< which candidates share
    const std::vector<std::array<double, 3>>* positions;
    std::shared_ptr<const NormalModeEngine> modes;
    double sigma;
    double filterSigmas;
    const double* trustRadius; ///< of moves that a scan makes by itself; may change between two scans

    /// The middle of the map's box, which small rotations of the model turn about.
    cVector3 rotationCenter() const;

    /// The density of the model where it stands, on the grid of the correlation.
    std::shared_ptr<const ElectronDensity> modelDensity() const;
};

#endif
