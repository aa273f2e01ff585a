// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/elasticModes.h"

#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/NeighbourList.h"
#include "PDB/cAtomGrid.h"

std::shared_ptr<System> makeNetwork(std::vector<cPDBAtom>& atoms, const std::vector<double>& masses,
                                    const cAtomGrid& cells, double stiffness, cInfo& info) {
    cPDBAtom::cNeighbourList pairs;
    cells.constructNeighbourList(atoms.data(), static_cast<int>(atoms.size()), &pairs);
    const NeighbourList<std::array<double, 3>> neighbours(pairs);
    cPDBAtom::cNeighbourList().swap(pairs);
    return std::make_shared<System>(neighbours, masses, stiffness, &info);
}

std::shared_ptr<NormalModeEngine> makeModes(const std::shared_ptr<System>& network,
                                            const std::vector<std::array<double, 3>>& positions,
                                            const std::vector<double>& masses,
                                            const std::vector<int>& blockIds, unsigned long count,
                                            cInfo& info) {
    if (!network) {
        return std::make_shared<NormalModeEngine>(0U);
    }
    constexpr double gasConstant = 0.0083144621; // kJ / (mol K)
    return std::make_shared<NormalModeEngine>(network, positions, masses, blockIds,
                                              static_cast<unsigned int>(count),
                                              1.0 / (gasConstant + gasConstant), &info);
}
