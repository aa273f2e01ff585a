// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/complex.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <stdexcept>

#include "examples/polypeptide.h"

namespace example {
namespace {

constexpr int fewestResidues = 20;
constexpr std::size_t mostChains = 26;
constexpr int shortestLoop = 3;
constexpr std::size_t loopLengths = 4; // 3 to 6 residues
constexpr int shortestHelix = 8;
constexpr std::size_t helixLengths = 12; // 8 to 19 residues

/// Loops and helices of drawn lengths, until the residues are used up, and a tail.
std::vector<Unit> drawUnits(int residues, Random& random) {
    std::vector<Unit> units;
    int left = residues;
    while (left > shortestLoop + shortestHelix) {
        const int loop = shortestLoop + static_cast<int>(random.index(loopLengths));
        const int helix = std::min(shortestHelix + static_cast<int>(random.index(helixLengths)), left - loop);
        units.push_back({loop, std::max(helix, 0)});
        left -= loop + std::max(helix, 0);
    }
    if (left > 0) {
        units.push_back({left, 0});
    }
    return units;
}

} // namespace

Model buildComplex(const std::vector<int>& residues, Random& random) {
    if (residues.empty() || residues.size() > mostChains ||
        *std::min_element(residues.begin(), residues.end()) < fewestResidues) {
        throw std::invalid_argument("a complex has 1 to 26 chains of 20 residues or more");
    }
    Model complex;
    for (std::size_t i = 0; i < residues.size(); ++i) {
        const char name = static_cast<char>('A' + static_cast<int>(i));
        const Model chain = buildChain(drawUnits(residues[i], random), name, random);
        complex = complex.empty() ? chain : docked(complex, chain, random);
    }
    return complex;
}

Model chainOf(const Model& model, char chain) {
    Model part;
    std::copy_if(model.begin(), model.end(), std::back_inserter(part),
                 [chain](const Atom& atom) { return atom.chain == chain; });
    return part;
}

} // namespace example
