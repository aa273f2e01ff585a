// SPDX-License-Identifier: GPL-3.0-or-later
// Poses hang on what a map and a model show, not on how their files tell it.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Formats/tests/MapBytes.h"
#include "Formats/tests/gzipBytes.h"
#include "examples/example.h"
#include "examples/pdb.h"
#include "fit/Journal.h"
#include "fit/road.h"
#include "fit/tests/scratchFolder.h"

namespace {

using example::Model;
using example::Placement;
using example::Vec3;

constexpr double spacing = 3.5; // angstrom: a cell of whole voxels has no rounding in its words
constexpr std::size_t poses = 5;

// Root mean square distance of the same pose from two files, angstrom.
constexpr double same = 0.01;
constexpr double rounded = 0.05; // where the voxels are whole numbers up to 2000

const example::Example& scene() {
    static const example::Example made = [] {
        example::Options options;
        options.resolution = 10.0;
        options.noise = 0.3;
        options.spacing = spacing;
        return example::makeExample(options);
    }();
    return made;
}

/// The scene's map, its highest density being 2000, with its place in the start words.
MapBytes sceneMap() {
    const example::Map& map = scene().map;
    const double highest = *std::max_element(map.values.begin(), map.values.end());
    MapBytes bytes;
    bytes.size = bytes.sampling = map.lattice.extents;
    bytes.start = map.lattice.start;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        bytes.cell[axis] = static_cast<float>(spacing * map.lattice.extents[axis]);
    }
    bytes.field = [&map, highest](int i, int j, int k) {
        return 2000.0 / highest * static_cast<double>(map.values[map.lattice.flatIndex(i, j, k)]);
    };
    return bytes;
}

Vec3 placeOf(const MapBytes& map) {
    return {spacing * map.start[0], spacing * map.start[1], spacing * map.start[2]};
}

Model shifted(Model model, const Vec3& by) {
    for (example::Atom& atom : model) {
        atom.position = atom.position + by;
    }
    return model;
}

/// The model as a loop of atoms.
std::string cifText(const Model& model) {
    std::string text = "data_model\nloop_\n";
    for (const char* item : {"group_PDB", "id", "type_symbol", "label_atom_id", "label_alt_id",
                             "label_comp_id", "label_asym_id", "label_entity_id", "label_seq_id", "Cartn_x",
                             "Cartn_y", "Cartn_z", "auth_seq_id", "auth_asym_id"}) {
        text += std::string("_atom_site.") + item + "\n";
    }
    int serial = 0;
    for (const example::Atom& atom : model) {
        std::array<char, 200> line{};
        std::snprintf(line.data(), line.size(), "ATOM %d %c %s . %s %c 1 %d %.3f %.3f %.3f %d %c\n", ++serial,
                      atom.element, atom.name.c_str(), atom.residue.c_str(), atom.chain, atom.residueNumber,
                      atom.position.x, atom.position.y, atom.position.z, atom.residueNumber, atom.chain);
        text += line.data();
    }
    return text;
}

/// The places of the model in a map by a coarse scan, as the files of the poses tell them.
std::vector<Model> fit(const std::string& mapBytes, const std::string& modelText) {
    const ScratchFolder scratch;
    scratch.write("map", mapBytes);
    scratch.write("model", modelText);
    FitOptions options;
    options.map = scratch.of("map");
    options.model = scratch.of("model");
    options.output = scratch.of("out");
    options.resolution = 10.0;
    options.step = 45.0;
    options.scanResolution = 15.0;
    options.poses = poses;
    options.format = ModelFormat::Pdb;
    options.threads = 2;
    Journal journal(stderr, Journal::Manner::Quiet);
    testing::internal::CaptureStderr(); // warnings are none of this test's business
    runFit(options, journal);
    testing::internal::GetCapturedStderr();
    std::vector<Model> found;
    for (std::size_t i = 1; i <= poses; ++i) {
        const std::string name = "out/pose_0" + std::to_string(i) + ".pdb";
        found.push_back(example::posesFromPdb(scratch.read(name)).at(0).atoms);
    }
    return found;
}

std::string modelText() {
    return example::pdbText(scene().model, "model");
}

/// The scan of the files as they come, which all others are held against.
const std::vector<Model>& reference() {
    static const std::vector<Model> found = fit(sceneMap().bytes(), modelText());
    return found;
}

void expectSame(const std::vector<Model>& found, const Vec3& moved, double tolerance) {
    ASSERT_EQ(found.size(), reference().size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_LT(example::rmsd(found[i], shifted(reference()[i], moved)), tolerance) << "pose " << i + 1;
    }
}

TEST(Frame, APlaceIsThatOfTheMap) {
    EXPECT_LT(example::rmsd(reference()[0], scene().truth), 8.0); // a step of 45 degrees
    EXPECT_GT(example::rmsd(reference()[0], reference()[1]), 1.0);
}

TEST(Frame, PosesFollowTheStartWords) {
    for (const std::array<int, 3>& by : {std::array<int, 3>{1, 0, 0}, {-7, 12, 301}}) {
        MapBytes map = sceneMap();
        for (std::size_t axis = 0; axis < 3; ++axis) {
            map.start[axis] += by[axis];
        }
        expectSame(fit(map.bytes(), modelText()), {spacing * by[0], spacing * by[1], spacing * by[2]}, same);
    }
}

TEST(Frame, PosesFollowTheOriginWordsWhateverTheStartWordsSay) {
    const MapBytes reference = sceneMap();
    const Vec3 place = placeOf(reference);
    for (const std::array<float, 3>& by :
         {std::array<float, 3>{0.1F, -0.7F, 1.75F}, {123.456F, -78.9F, 1000.03F}, {-800.5F, 0.0F, 1e-3F}}) {
        MapBytes map = reference;
        map.origin = {static_cast<float>(place.x) + by[0], static_cast<float>(place.y) + by[1],
                      static_cast<float>(place.z) + by[2]};
        const Vec3 moved = Vec3{map.origin[0], map.origin[1], map.origin[2]} - place;
        expectSame(fit(map.bytes(), modelText()), moved, same);
        map.start = {0, 0, 0};
        expectSame(fit(map.bytes(), modelText()), moved, same);
    }
}

TEST(Frame, BothWordsForOnePlaceAreThatPlace) {
    MapBytes map = sceneMap();
    const Vec3 place = placeOf(map);
    map.origin = {static_cast<float>(place.x), static_cast<float>(place.y), static_cast<float>(place.z)};
    expectSame(fit(map.bytes(), modelText()), {0.0, 0.0, 0.0}, same);
}

TEST(Frame, TheOrderOfTheAxesOfTheFileMovesNothing) {
    std::array<int, 3> order{1, 2, 3};
    while (std::next_permutation(order.begin(), order.end())) {
        MapBytes map = sceneMap();
        map.order = order;
        expectSame(fit(map.bytes(), modelText()), {0.0, 0.0, 0.0}, same);
    }
}

TEST(Frame, NeitherSwappedBytesNorCompressionMoveAPose) {
    MapBytes map = sceneMap();
    map.isBigEndian = true;
    expectSame(fit(map.bytes(), modelText()), {0.0, 0.0, 0.0}, same);
    map.order = {2, 3, 1};
    expectSame(fit(gzipped(map.bytes()), gzipped(modelText())), {0.0, 0.0, 0.0}, same);
}

/// Whole numbers of 16 bits, with the densities at a scale of their own, and floats of 16 bits.
TEST(Frame, VoxelsOfSixteenBitsMovePosesByTheirRoundingAlone) {
    MapBytes map = sceneMap();
    map.mode = 12;
    expectSame(fit(map.bytes(), modelText()), {0.0, 0.0, 0.0}, rounded);
    map.mode = 1;
    const auto density = map.field;
    map.field = [density](int i, int j, int k) { return 7.5 * density(i, j, k); };
    expectSame(fit(map.bytes(), modelText()), {0.0, 0.0, 0.0}, rounded);
}

TEST(Frame, WhereTheModelStandsInItsFileMovesNoPose) {
    const double half = std::sqrt(0.5);
    const Placement turned{
        {{{half, -half, 0.0}, {0.6 * half, 0.6 * half, -0.8}, {0.8 * half, 0.8 * half, 0.6}}},
        {-321.5, 77.25, 19.125}};
    const Placement flipped{{{{-1.0, 0.0, 0.0}, {0.0, -1.0, 0.0}, {0.0, 0.0, 1.0}}}, {2000.0, 0.5, -900.0}};
    for (const Placement& placement : {turned, flipped}) {
        const Model moved = example::placed(scene().model, placement);
        expectSame(fit(sceneMap().bytes(), example::pdbText(moved, "moved")), {0.0, 0.0, 0.0}, same);
    }
}

TEST(Frame, AModelInMmcifIsThatInPdb) {
    expectSame(fit(sceneMap().bytes(), cifText(scene().model)), {0.0, 0.0, 0.0}, same);
}

} // namespace
