// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/example.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "examples/ccp4.h"
#include "examples/files.h"
#include "examples/pdb.h"
#include "examples/polypeptide.h"

namespace example {
namespace {

constexpr std::array<int, 3> extents = {56, 60, 48};
/// Away from zero on every axis, and of both signs, so that a reader that forgets the map's place is found
/// out.
constexpr std::array<int, 3> start = {-19, 14, 33};
constexpr double largestOffset = 12.0;

void check(const Options& options) {
    const bool positive = options.resolution > 0.0 && options.spacing > 0.0;
    if (!positive || !std::isfinite(options.resolution) || !std::isfinite(options.spacing)) {
        throw std::invalid_argument("resolution and voxel size must be above 0");
    }
    if (!(options.noise >= 0.0) || !std::isfinite(options.noise)) {
        throw std::invalid_argument("the noise must not be below 0");
    }
    if (options.resolution < 2.0 * options.spacing) {
        throw std::invalid_argument("the resolution must be at least twice the voxel size");
    }
}

Placement drawPlacement(const Model& model, const Lattice& lattice, Random& random) {
    const Mat3 rotation = random.rotation();
    Vec3 target = lattice.center();
    target.x += random.uniform(-largestOffset, largestOffset);
    target.y += random.uniform(-largestOffset, largestOffset);
    target.z += random.uniform(-largestOffset, largestOffset);
    return {rotation, target - rotation * centroid(model)};
}

std::string formatted(const char* format, double a, double b, double c) {
    std::array<char, 160> line{};
    std::snprintf(line.data(), line.size(), format, a, b, c);
    return line.data();
}

} // namespace

Example makeExample(const Options& options) {
    check(options);
    Random random(options.seed);
    Example example;
    example.model = roundedToFile(buildProtein(random));
    const Lattice lattice{extents, start, options.spacing};
    example.modelToTruth = drawPlacement(example.model, lattice, random);
    example.truth = roundedToFile(placed(example.model, example.modelToTruth));
    std::vector<double> values = simulatedDensity(example.truth, lattice, options.resolution);
    addNoise(values, options.noise, random);
    example.map.lattice = lattice;
    for (const double value : values) {
        example.map.values.push_back(static_cast<float>(value));
    }
    return example;
}

std::string truthText(const Example& example, const Options& options) {
    const Mat3& r = example.modelToTruth.rotation;
    const Vec3& t = example.modelToTruth.translation;
    std::string text = "# place in the map = R * place in model.pdb + t, in angstrom\n";
    for (const std::array<double, 3>& row : r) {
        text += formatted("R %14.10f %14.10f %14.10f\n", row[0], row[1], row[2]);
    }
    text += formatted("t %14.6f %14.6f %14.6f\n", t.x, t.y, t.z);
    text += formatted("# map: resolution %g A, voxel %g A, noise %g of its standard deviation\n",
                      options.resolution, options.spacing, options.noise);
    return text + "# seed " + std::to_string(options.seed) + "\n";
}

void writeExample(const std::string& directory, const Example& example, const Options& options) {
    const std::filesystem::path folder(directory);
    std::filesystem::create_directories(folder);
    writeFile((folder / "model.pdb").string(),
              pdbText(example.model, "EXAMPLE PROTEIN IN A FRAME OF ITS OWN"));
    writeFile((folder / "truth.pdb").string(),
              pdbText(example.truth, "EXAMPLE PROTEIN WHERE THE MAP SHOWS IT"));
    writeFile((folder / "truth.txt").string(), truthText(example, options));
    writeCcp4((folder / "map.ccp4").string(), example.map);
}

} // namespace example
