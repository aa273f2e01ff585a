// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_BENCHMARKS_POSECASES_H
#define SELVANE_BENCHMARKS_POSECASES_H

#include <string>
#include <vector>

#include "Formats/AtomicModel.h"
#include "Formats/DensityMap.h"
#include "Math/RigidMotion.h"
#include "Preparation/PreparedModel.h"
#include "Preparation/ScanChoice.h"
#include "examples/Model.h"
#include "examples/Random.h"
#include "fit/scanPoses.h"

/// A map and a model whose places in it are known.
struct PoseCase {
    std::string name;
    DensityMap map;
    double resolution = 0.0; ///< angstrom
    std::vector<ModelAtom> model;
    std::vector<RigidMotion>
        truths; ///< from the model to each of its equivalent places; none: it has no place
};

/// The pairs that FOLDER/pairs.json describes, without models that have to bend.
std::vector<PoseCase> readPairs(const std::string& folder);

/// The density of a model in a box around it, with noise in units of its standard deviation.
DensityMap simulatedMap(const example::Model& model, double resolution, double voxel, double noise,
                        example::Random& random);

std::vector<ModelAtom> modelAtoms(const example::Model& model);

/// The map within `margin` of some atoms along each axis, as cut out by a user who knows about where to look.
DensityMap cutAround(const DensityMap& map, const std::vector<ModelAtom>& atoms, double margin);

/// Each of the six chains, of 100 to 400 residues, of two complexes in a map of all six, and two of them in a
/// map cut out of that.
/// @param noise  of the maps, in standard deviations
std::vector<PoseCase> complexCases(const std::vector<double>& resolutions, double noise);

/// A rotation, every one as likely as another.
cMatrix33 drawRotation(example::Random& random);

/// Of the atoms of a model between two placements, angstrom.
double rmsd(const std::vector<ModelAtom>& model, const RigidMotion& a, const RigidMotion& b);

/// Below this a pose is right before any polish, angstrom.
constexpr double rightPose = 7.0;
/// Beyond this it is wrong.
constexpr double wrongPose = 10.0;

/// Where the right place stands in a list.
struct Standing {
    std::size_t rank = 0;        ///< of the first right pose, from 1; 0: none
    double rightOverWrong = 0.0; ///< score of the first right pose over that of the first wrong one; 0: none
};

/// @param poses     in the user's frame; those of the list alone are looked at
Standing standing(const PoseCase& c, const std::vector<FoundPose>& poses, FitScore list);

/// The prepared model turned, which otherwise always has the same orientation.
PreparedModel turned(const std::vector<ModelAtom>& model, const cMatrix33& turn);

/// Finer choices than the program's own; 0 leaves them to it.
struct ScanSetting {
    FitScore score = FitScore::Local;
    double resolution = 0.0; ///< angstrom
    double voxels = 0.0;     ///< per resolution
    double step = 0.0;       ///< degrees
};

/// What the program chooses for a case.
ScanChoice choiceOf(const PoseCase& c, const PreparedModel& model, const ScanSetting& setting);

/// Prepares and scans. Poses are in the user's frame.
/// @param threads  at least 1
std::vector<FoundPose> scanCase(const PoseCase& c, const PreparedModel& model, const ScanSetting& setting,
                                std::size_t threads);

#endif
