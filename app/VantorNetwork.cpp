// SPDX-License-Identifier: GPL-3.0-or-later
// The stages of the elastic network and its modes.
#include <algorithm>
#include <exception>
#include <iterator>
#include <numeric>
#include <stdexcept>

#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/NeighbourList.h"
#include "PDB/cAtomGrid.h"
#include "app/Vantor.h"
#include "app/fail.h"

void Vantor::buildHessian() {
    m_info.printInfo(" Constructing Hessian ");
    checkLonelyAtoms();
    tellCoincidentAtoms();
    // Nobody reads the network when no modes are asked for.
    if (m_workflow.m_nmodes.getValue() == 0) {
        return;
    }
    const int count = static_cast<int>(m_atoms.size());
    cPDBAtom::cNeighbourList pairs;
    {
        cAtomGrid grid;
        grid.initPointer(m_atoms.data(), count, nullptr, m_workflow.m_cutoff.getValue());
        grid.constructNeighbourList(m_atoms.data(), count, &pairs);
    }
    const NeighbourList<std::array<double, 3>> neighbours(pairs);
    cPDBAtom::cNeighbourList().swap(pairs);
    m_system = std::make_shared<System>(neighbours, m_masses, m_workflow.m_stiffness.getValue(), &m_info);
}

void Vantor::checkLonelyAtoms() {
    const int count = static_cast<int>(m_atoms.size());
    cAtomGrid grid;
    try {
        grid.initPointer(m_atoms.data(), count, nullptr, m_workflow.m_cutoff.getValue());
    } catch (const std::length_error& error) {
        fail(m_workflow.m_ipdb.getValue() + ": " + error.what() +
             ". Check for atoms far from the rest, or raise --cutoff.");
    }
    std::vector<cPDBAtom*> lonely;
    grid.detectDisconnectedAtoms(m_atoms.data(), count, &lonely);
    if (lonely.empty()) {
        return;
    }
    const cPDBAtom& atom = *lonely.front();
    endWithoutNetwork(
        m_workflow.m_ipdb.getValue() + ": atom " + std::to_string(atom.m_serial) + " (" + atom.m_name +
        " of " + atom.m_resName + " " + std::to_string(atom.m_resSeq) + ", chain '" + atom.m_chain +
        "') has no other atom within the cut-off of " + std::to_string(m_workflow.m_cutoff.getValue()) +
        " angstrom; the run ends here. Remove " +
        (lonely.size() > 1 ? "the " + std::to_string(lonely.size()) + " atoms of this kind" : "it") +
        " or raise --cutoff.");
}

void Vantor::tellCoincidentAtoms() const {
    std::vector<std::size_t> order(m_positions.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return m_positions[a] != m_positions[b] ? m_positions[a] < m_positions[b] : a < b;
    });
    const auto pair = std::adjacent_find(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return m_positions[a] == m_positions[b];
    });
    if (pair != order.end()) {
        warn(m_workflow.m_ipdb.getValue() + ": atoms " + std::to_string(m_atoms[*pair].m_serial) + " and " +
             std::to_string(m_atoms[*std::next(pair)].m_serial) +
             " stand at one position; no spring joins them. Check the model.");
    }
}

/// The solver wants fewer pairs than the blocks have degrees of freedom, and six of them are rigid motions.
void Vantor::tellTooManyModes() const {
    const long blocks = *std::max_element(m_blockIds.begin(), m_blockIds.end()) + 1L;
    const long most = 6 * blocks - 8;
    if (static_cast<double>(m_workflow.m_nmodes.getValue()) > static_cast<double>(most)) {
        warn(m_workflow.m_ipdb.getValue() + ": --nmodes asks for more modes than its " +
             std::to_string(blocks) + " blocks have; use at most " + std::to_string(std::max(most, 0L)) +
             ".");
    }
}

void Vantor::performNMA() {
    m_info.printInfo(" Computing normal modes of the structure ");
    const auto nModes = static_cast<unsigned int>(m_workflow.m_nmodes.getValue());
    if (nModes == 0) {
        m_nma = std::make_shared<NormalModeEngine>(0U);
        return;
    }
    tellTooManyModes();
    constexpr double gasConstant = 0.0083144621; // kJ / (mol K)
    try {
        m_nma = std::make_shared<NormalModeEngine>(m_system, m_positions, m_masses, m_blockIds, nModes,
                                                   1.0 / (gasConstant + gasConstant), &m_info);
    } catch (const std::exception&) {
        warn(m_workflow.m_ipdb.getValue() +
             ": its normal modes could not be computed. Use a smaller --nmodes, a larger --cutoff or a "
             "--stiffness near 1.");
        throw;
    }
}
