// SPDX-License-Identifier: GPL-3.0-or-later
// selvane-example: writes a model and a simulated map whose relative pose is known.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "examples/example.h"

namespace {

constexpr const char* usageText =
    "usage: selvane-example DIR [--resolution R] [--voxel D] [--noise X] [--seed N]\n"
    "\n"
    "Writes into DIR\n"
    "  model.pdb   a protein-like model of two chains, in a frame of its own\n"
    "  map.ccp4    the density simulated from it at another place and orientation, with noise\n"
    "  truth.pdb   the model where the map shows it\n"
    "  truth.txt   the rotation and translation from model.pdb to truth.pdb\n"
    "\n"
    "  --resolution R  of the map, in angstrom (10)\n"
    "  --voxel D       distance of the map's nodes, in angstrom (2.7)\n"
    "  --noise X       standard deviation of the noise, in units of the map's own (0.5)\n"
    "  --seed N        same seed, same example (1)\n";

double toDouble(const std::string& name, const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0') {
        throw std::invalid_argument(name + " needs a number, not '" + text + "'");
    }
    return value;
}

std::uint64_t toSeed(const std::string& text) {
    constexpr std::size_t maxDigits = 18;
    if (text.empty() || text.size() > maxDigits ||
        text.find_first_not_of("0123456789") != std::string::npos) {
        throw std::invalid_argument("--seed needs a whole number, not '" + text + "'");
    }
    return std::stoull(text);
}

void setOption(example::Options& options, const std::string& name, const std::string& value) {
    if (name == "--resolution") {
        options.resolution = toDouble(name, value);
    } else if (name == "--voxel") {
        options.spacing = toDouble(name, value);
    } else if (name == "--noise") {
        options.noise = toDouble(name, value);
    } else if (name == "--seed") {
        options.seed = toSeed(value);
    } else {
        throw std::invalid_argument("unknown option " + name);
    }
}

void run(const std::vector<std::string>& arguments) {
    example::Options options;
    const std::string& directory = arguments.at(0);
    if (directory.empty() || directory[0] == '-') {
        throw std::invalid_argument("the first argument must be the directory to write into");
    }
    for (std::size_t i = 1; i < arguments.size(); i += 2) {
        if (i + 1 == arguments.size()) {
            throw std::invalid_argument(arguments[i] + " needs a value");
        }
        setOption(options, arguments[i], arguments[i + 1]);
    }
    const example::Example made = example::makeExample(options);
    example::writeExample(directory, made, options);
    std::printf(
        "%zu atoms, radius of gyration %.1f A; map of %d x %d x %d voxels of %g A at %g A resolution\n",
        made.model.size(), example::radiusOfGyration(made.model), made.map.lattice.extents[0],
        made.map.lattice.extents[1], made.map.lattice.extents[2], options.spacing, options.resolution);
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const bool help = !arguments.empty() && (arguments[0] == "--help" || arguments[0] == "-h");
    if (arguments.empty() || help) {
        std::fputs(usageText, help ? stdout : stderr);
        return help ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    try {
        run(arguments);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "selvane-example: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
