// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_TESTS_POLISHSCENE_H
#define SELVANE_ASSESSMENT_TESTS_POLISHSCENE_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "Assessment/PolishModel.h"
#include "Assessment/SplineField.h"
#include "Assessment/makePolishField.h"
#include "Formats/AtomicModel.h"
#include "Formats/DensityMap.h"
#include "Math/RigidMotion.h"
#include "Math/pi.h"
#include "Preparation/ScanChoice.h"
#include "Preparation/coarsen.h"
#include "examples/density.h"
#include "examples/polypeptide.h"

namespace polishScene {

inline cVector3 vectorOf(const example::Vec3& v) {
    return cVector3(v.x, v.y, v.z);
}

/// A chain of two helices, about 230 atoms.
inline example::Model smallChain() {
    example::Random random(5);
    return example::buildChain({{3, 10}, {4, 12}}, 'A', random);
}

inline std::vector<ModelAtom> atomsOfChain(const example::Model& chain) {
    std::vector<ModelAtom> atoms;
    for (const example::Atom& atom : chain) {
        ModelAtom made;
        made.position = vectorOf(atom.position);
        made.chain = std::string(1, atom.chain);
        made.residueNumber = atom.residueNumber;
        made.mass = 12.0;
        atoms.push_back(made);
    }
    return atoms;
}

/// The chain's own density, with room around.
inline DensityMap mapOfChain(const example::Model& chain, double resolution, double voxel) {
    const double margin = 1.5 * resolution + 5.0;
    std::array<double, 3> lows, highs;
    lows.fill(1e9);
    highs.fill(-1e9);
    for (const example::Atom& atom : chain) {
        const std::array<double, 3> p = {atom.position.x, atom.position.y, atom.position.z};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            lows[axis] = std::min(lows[axis], p[axis]);
            highs[axis] = std::max(highs[axis], p[axis]);
        }
    }
    example::Lattice lattice{{}, {}, voxel};
    DensityMap map;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        lattice.start[axis] = static_cast<int>(std::floor((lows[axis] - margin) / voxel));
        const int end = static_cast<int>(std::ceil((highs[axis] + margin) / voxel));
        lattice.extents[axis] = end - lattice.start[axis] + 1;
        map.size[axis] = static_cast<std::size_t>(lattice.extents[axis]);
    }
    const std::vector<double> values = example::simulatedDensity(chain, lattice, resolution);
    map.voxel = cVector3(voxel);
    map.origin = vectorOf(lattice.position(0, 0, 0));
    for (int i = 0; i < lattice.extents[0]; ++i) {
        for (int j = 0; j < lattice.extents[1]; ++j) {
            for (int k = 0; k < lattice.extents[2]; ++k) {
                map.values.push_back(static_cast<float>(values[lattice.flatIndex(i, j, k)]));
            }
        }
    }
    return map;
}

/// @param from  resolution of the map, angstrom
/// @param to    of the field, on voxels of `voxel`
inline SplineField fieldOf(const DensityMap& map, double from, double to, double voxel) {
    return makePolishField(negativeLaplacian(coarsen(map, {from, to, voxel, {}, nullptr})), gaussianOf(to));
}

inline cVector3 randomDirection(std::mt19937& random) {
    std::normal_distribution<double> normal;
    const double x = normal(random), y = normal(random), z = normal(random);
    return cVector3(x, y, z).normalizedVersion();
}

/// Turned by `degrees` about the middle and shifted, both in random directions.
inline RigidMotion offBy(const cVector3& middle, double shift, double degrees, std::mt19937& random) {
    const cMatrix33 turn = cMatrix33::fromAxisAngle(randomDirection(random), degrees * pi / 180.0);
    return {turn, middle - turn * middle + randomDirection(random) * shift};
}

/// Root mean square distance of a model's points under two motions, angstrom, point by point.
inline double rmsd(const PolishModel& model, const RigidMotion& a, const RigidMotion& b) {
    double sum = 0.0;
    for (const cVector3& point : model.points) {
        sum += (a(model.middle + point) - b(model.middle + point)).norm2();
    }
    return std::sqrt(sum / static_cast<double>(model.points.size()));
}

/// The chain's map at a resolution with what climbs there, made once.
struct Scene {
    Scene(double mapResolution, double scanResolution, double voxel)
        : atoms(atomsOfChain(smallChain()))
        , map(mapOfChain(smallChain(), mapResolution, voxel))
        , coarse(fieldOf(map, mapResolution, scanResolution, scanResolution / 3.0))
        , fine(fieldOf(map, mapResolution, mapResolution, voxel))
        , beads(beadsOf(atoms))
        , all(atomsOf(atoms)) {}

    std::vector<ModelAtom> atoms;
    DensityMap map;
    SplineField coarse, fine;
    PolishModel beads, all;
};

inline const Scene& sceneAt10() {
    static const Scene scene(10.0, 15.0, 2.0);
    return scene;
}

} // namespace polishScene

#endif
