// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/VoxelLattice.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Formats/readVoxels.h"

#include <gemmi/unitcell.hpp>

namespace {

constexpr double rightAngle = 90.0; // degrees

std::string text(const char* format, double x, double y, double z) {
    char buffer[160];
    std::snprintf(buffer, sizeof buffer, format, x, y, z);
    return buffer;
}

/// Intervals along the cell's edges.
std::array<double, 3> samplingOf(const MapHeader& header, std::vector<std::string>& remarks) {
    const std::array<std::size_t, 3> size = sizeOf(header);
    std::array<double, 3> sampling{};
    bool isGiven = true;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const bool isHere = header.sampling[axis] > 0;
        sampling[axis] = isHere ? header.sampling[axis] : static_cast<double>(size[axis]);
        isGiven = isGiven && isHere;
    }
    if (!isGiven) {
        remarks.emplace_back("The header does not say how finely the cell is sampled; its edges are taken to "
                             "be as long as the map.");
    }
    return sampling;
}

/// Whether an edge of a voxel can be that of a density, angstrom.
bool isEdge(double edge) {
    constexpr double shortest = 1e-3;
    constexpr double longest = 1e5;
    return edge >= shortest && edge <= longest;
}

/// Edges of a voxel, angstrom.
cVector3 edgesOf(const MapHeader& header, std::vector<std::string>& remarks) {
    const std::array<double, 3> sampling = samplingOf(header, remarks);
    cVector3 edges(0.0);
    double sound = 0.0; // an edge to go by
    bool isGiven = true;
    for (int axis = 0; axis < 3; ++axis) {
        const auto at = static_cast<std::size_t>(axis);
        const double edge = static_cast<double>(header.cell[at]) / sampling[at];
        edges[axis] = isEdge(edge) ? edge : 0.0;
        sound = sound > 0.0 ? sound : edges[axis];
        isGiven = isGiven && edges[axis] > 0.0;
    }
    if (isGiven) {
        return edges;
    }
    for (int axis = 0; axis < 3; ++axis) {
        edges[axis] = edges[axis] > 0.0 ? edges[axis] : sound > 0.0 ? sound : 1.0;
    }
    remarks.push_back(text("The header gives no sensible lengths of the cell; a voxel is taken to measure "
                           "%.4g x %.4g x %.4g Å.",
                           edges.x, edges.y, edges.z));
    return edges;
}

/// Whether three angles can stand between the edges of a cell: its volume is no rounding error.
bool areOfACell(const std::array<double, 3>& angles) {
    constexpr double leastSquaredVolume = 1e-4; // of a cell of edges 1
    constexpr double straight = 180.0;
    double product = 1.0;
    double squares = 0.0;
    for (const double angle : angles) {
        if (!(angle > 0.0 && angle < straight)) {
            return false;
        }
        const double cosine = std::cos(gemmi::rad(angle));
        product *= cosine;
        squares += cosine * cosine;
    }
    return 1.0 - squares + 2.0 * product > leastSquaredVolume;
}

std::array<double, 3> anglesOf(const MapHeader& header, std::vector<std::string>& remarks) {
    std::array<double, 3> angles{};
    for (std::size_t i = 0; i < 3; ++i) {
        angles[i] = header.angles[i] == 0.0F ? rightAngle : header.angles[i];
    }
    if (areOfACell(angles)) {
        return angles;
    }
    remarks.push_back(text("The header's angles of %.4g, %.4g and %.4g degrees make no cell; right ones are "
                           "taken.",
                           angles[0], angles[1], angles[2]));
    return {rightAngle, rightAngle, rightAngle};
}

cVector3 combination(const std::array<cVector3, 3>& steps, const cVector3& counts) {
    return steps[0] * counts.x + steps[1] * counts.y + steps[2] * counts.z;
}

/// Whether some voxel of the map stands more than a tenth of a voxel from where right angles would put it,
/// seen from the map's first voxel.
bool leavesRightAngles(const std::array<cVector3, 3>& steps, const std::array<std::size_t, 3>& size) {
    constexpr double visible = 0.1;
    double farthest = 0.0;
    double edge = steps[0].x;
    for (int axis = 1; axis < 3; ++axis) {
        const cVector3& step = steps[static_cast<std::size_t>(axis)];
        cVector3 straight(0.0);
        straight[axis] = step.norm();
        farthest += (step - straight).norm() * static_cast<double>(size[static_cast<std::size_t>(axis)] - 1);
        edge = std::min(edge, step.norm());
    }
    return farthest > visible * edge;
}

/// The start words along x, y and z.
cVector3 startOf(const MapHeader& header) {
    cVector3 start(0.0);
    for (std::size_t i = 0; i < 3; ++i) {
        start[header.axes[i]] = header.start[i];
    }
    return start;
}

/// Whether a map can stand there, angstrom; false for what is no number.
bool isPlace(const cVector3& origin) {
    constexpr double farthest = 1e7;
    return std::fabs(origin.x) <= farthest && std::fabs(origin.y) <= farthest &&
           std::fabs(origin.z) <= farthest;
}

cVector3 placeByStart(const cVector3& start, const VoxelLattice& lattice, std::vector<std::string>& remarks) {
    const cVector3 place = combination(lattice.steps, start);
    if (!isPlace(place)) {
        remarks.emplace_back("The start words of the header are no place; the map is put at 0.");
        return cVector3(0.0);
    }
    return place;
}

cVector3 placeOf(const MapHeader& header, const VoxelLattice& lattice, std::vector<std::string>& remarks) {
    constexpr double nothing = 1e-6;  // angstrom: small integers are next to 0 when they are read as floats
    constexpr double agreeing = 0.01; // of a voxel
    const cVector3 start = startOf(header);
    const cVector3 byOrigin(header.origin[0], header.origin[1], header.origin[2]);
    if (!isPlace(byOrigin)) {
        remarks.emplace_back("The ORIGIN words of the header are no place; the start words are used.");
        return placeByStart(start, lattice, remarks);
    }
    if (byOrigin.norm() <= nothing) {
        return placeByStart(start, lattice, remarks);
    }
    const cVector3 byStart = combination(lattice.steps, start);
    const cVector3 apart = byStart - byOrigin;
    const cVector3 voxel = lattice.voxel();
    bool isSame = true;
    for (int axis = 0; axis < 3; ++axis) {
        isSame = isSame && std::fabs(apart[axis]) <= agreeing * voxel[axis];
    }
    if (!isSame && start.norm2() > 0.0) {
        remarks.push_back(
            text("The start words of the header put the map (%.3f, %.3f, %.3f) Å from where its "
                 "ORIGIN words do; the ORIGIN words are used.",
                 apart.x, apart.y, apart.z));
    }
    return byOrigin;
}

} // namespace

VoxelLattice latticeOf(const MapHeader& header, std::vector<std::string>& remarks) {
    const cVector3 edges = edgesOf(header, remarks);
    const std::array<double, 3> angles = anglesOf(header, remarks);
    // The cell of a single voxel has the angles of the whole one.
    const gemmi::UnitCell cell(edges.x, edges.y, edges.z, angles[0], angles[1], angles[2]);
    VoxelLattice lattice;
    for (int i = 0; i < 3; ++i) {
        const gemmi::Vec3 column = cell.orth.mat.column_copy(i);
        lattice.steps[static_cast<std::size_t>(i)] = cVector3(column.x, column.y, column.z);
    }
    lattice.isSkew = leavesRightAngles(lattice.steps, sizeOf(header));
    lattice.origin = placeOf(header, lattice, remarks);
    return lattice;
}
