// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/ScanCase.h"

#include <algorithm>
#include <cmath>

#include "examples/Random.h"
#include "examples/ccp4.h"
#include "examples/density.h"
#include "examples/files.h"
#include "examples/pdb.h"
#include "examples/polypeptide.h"

namespace {

/// Edge of the cube that a protein takes, in angstrom: its extent and room to the next.
double cellEdge(const example::Model& protein) {
    constexpr double room = 3.5;
    const example::Vec3 middle = example::centroid(protein);
    double reach = 0.0;
    for (const example::Atom& atom : protein) {
        const example::Vec3 d = atom.position - middle;
        reach = std::max({reach, std::abs(d.x), std::abs(d.y), std::abs(d.z)});
    }
    return 2.0 * reach + room;
}

/// Copies in a cube of cells, in chains of their own; the last is cut off.
example::Model copies(const example::Model& protein, std::size_t atoms) {
    const std::string chains = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    const auto count = static_cast<int>((atoms + protein.size() - 1) / protein.size());
    const auto side = static_cast<int>(std::ceil(std::cbrt(count)));
    const double cell = cellEdge(protein);
    example::Model model;
    for (int c = 0; c < count; ++c) {
        const example::Vec3 place{cell * (c / (side * side)), cell * (c / side % side), cell * (c % side)};
        for (example::Atom atom : protein) {
            atom.position = atom.position + place;
            const auto chain = 2 * static_cast<std::size_t>(c) + (atom.chain == protein[0].chain ? 0 : 1);
            atom.chain = chains[chain % chains.size()];
            model.push_back(atom);
        }
    }
    model.resize(atoms);
    return model;
}

} // namespace

void ScanCase::write(const std::string& directory) const {
    example::Random random(1);
    const example::Model protein = example::buildProtein(random);
    example::Map map;
    map.lattice = {{edge, edge, edge}, {0, 0, 0}, spacing};
    example::Model model = copies(protein, atoms);
    const example::Vec3 shift = map.lattice.center() - example::centroid(model);
    for (example::Atom& atom : model) {
        atom.position = atom.position + shift;
    }
    std::vector<double> values = example::simulatedDensity(model, map.lattice, resolution);
    example::addNoise(values, noise, random);
    for (const double value : values) {
        map.values.push_back(static_cast<float>(value));
    }
    example::writeFile(directory + "/model.pdb", example::pdbText(model, "MODEL OF A BENCHMARK"));
    example::writeCcp4(directory + "/map.ccp4", map);
}
