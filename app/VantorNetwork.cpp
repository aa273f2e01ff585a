// SPDX-License-Identifier: GPL-3.0-or-later
// The stages of the elastic network and its modes.
#include <algorithm>
#include <exception>
#include <iterator>
#include <numeric>
#include <stdexcept>

#include "IO/resources.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/cAtomGrid.h"
#include "Search/elasticModes.h"
#include "app/Vantor.h"
#include "app/fail.h"

void Vantor::buildHessian() {
    m_info.printInfo(" Constructing Hessian ");
    checkLonelyAtoms();
    tellCoincidentAtoms();
    // Nobody reads the network when no modes are asked for.
    if (m_settings.modes == 0) {
        return;
    }
    const int count = static_cast<int>(m_atoms.size());
    cAtomGrid grid;
    grid.initPointer(m_atoms.data(), count, nullptr, m_settings.cutoff);
    checkSprings(grid);
    m_system = makeNetwork(m_atoms, m_masses, grid, m_settings.stiffness, m_info);
}

/// Ends the run if the network can't be held; docs/cost.md derives the bytes.
void Vantor::checkSprings(const cAtomGrid& grid) {
    constexpr double bytesPerRecord = 216.0; // its entries, the record itself and its place in the order
    constexpr double bytesPerAtom = 144.0;   // the entries on the diagonal
    const resources::Memory memory = resources::memory();
    const double addresses = resources::freeAddressSpace() - resources::blasBuffer;
    if (addresses <= 0.0) {
        fail("normal modes (--nmodes) need more address space than the limit of the process (ulimit -v) "
             "leaves. Raise it, or use no modes.");
    }
    const double most = std::min(memory.total, addresses);
    const double places = std::max(most - bytesPerAtom * static_cast<double>(m_atoms.size()), 0.0);
    constexpr double largestCount = 9.0e18; // of the counter's type
    const auto fitting = static_cast<std::size_t>(std::min(places / bytesPerRecord, largestCount));
    // An atom is among its own neighbours.
    const std::size_t records =
        grid.countNeighbours(m_atoms.data(), static_cast<int>(m_atoms.size()), fitting + m_atoms.size());
    const std::string need =
        "the springs of atoms within the cut-off of " + std::to_string(m_settings.cutoff) + " angstrom need ";
    constexpr double gigabyte = 1024.0 * 1024.0 * 1024.0;
    const auto text = [&](double bytes) { return std::to_string(bytes / gigabyte) + " GiB"; };
    if (records > fitting + m_atoms.size()) {
        fail(m_settings.modelPath + ": " + need + "more than the " + text(most) +
             " of memory that this run can have. Use a smaller --cutoff, or no modes.");
    }
    const double needed = bytesPerRecord * static_cast<double>(records - m_atoms.size()) +
                          bytesPerAtom * static_cast<double>(m_atoms.size());
    if (needed > memory.available) {
        warn(m_settings.modelPath + ": " + need + "about " + text(needed) + " of memory and only " +
             text(memory.available) + " are free. Use a smaller --cutoff, or no modes.");
    }
}

void Vantor::checkLonelyAtoms() {
    const int count = static_cast<int>(m_atoms.size());
    cAtomGrid grid;
    try {
        grid.initPointer(m_atoms.data(), count, nullptr, m_settings.cutoff);
    } catch (const std::length_error& error) {
        fail(m_settings.modelPath + ": " + error.what() +
             ". Check for atoms far from the rest, or raise --cutoff.");
    }
    std::vector<cPDBAtom*> lonely;
    grid.detectDisconnectedAtoms(m_atoms.data(), count, &lonely);
    if (lonely.empty()) {
        return;
    }
    const cPDBAtom& atom = *lonely.front();
    endWithoutNetwork(
        m_settings.modelPath + ": atom " + std::to_string(atom.m_serial) + " (" + atom.m_name + " of " +
        atom.m_resName + " " + std::to_string(atom.m_resSeq) + ", chain '" + atom.m_chain +
        "') has no other atom within the cut-off of " + std::to_string(m_settings.cutoff) +
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
        warn(m_settings.modelPath + ": atoms " + std::to_string(m_atoms[*pair].m_serial) + " and " +
             std::to_string(m_atoms[*std::next(pair)].m_serial) +
             " stand at one position; no spring joins them. Check the model.");
    }
}

/// The solver wants fewer pairs than the blocks have degrees of freedom, and six of them are rigid motions.
void Vantor::tellTooManyModes() const {
    const long blocks = *std::max_element(m_blockIds.begin(), m_blockIds.end()) + 1L;
    const long most = 6 * blocks - 8;
    if (static_cast<double>(m_settings.modes) > static_cast<double>(most)) {
        warn(m_settings.modelPath + ": --nmodes asks for more modes than its " + std::to_string(blocks) +
             " blocks have; use at most " + std::to_string(std::max(most, 0L)) + ".");
    }
}

void Vantor::performNMA() {
    m_info.printInfo(" Computing normal modes of the structure ");
    if (m_settings.modes > 0) {
        tellTooManyModes();
    }
    try {
        m_nma = makeModes(m_system, m_positions, m_masses, m_blockIds, m_settings.modes, m_info);
        m_eta.zeros(m_nma->m_nModes);
    } catch (const std::exception&) {
        warn(m_settings.modelPath +
             ": its normal modes could not be computed. Use a smaller --nmodes, a larger --cutoff or a "
             "--stiffness near 1.");
        throw;
    }
}
