// SPDX-License-Identifier: GPL-3.0-or-later
// The stages that lay the grids of map and model over each other.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "CrossCorrelation/ElectronDensity.h"
#include "IO/cSequentialTimer.h"
#include "Math/structure.h"
#include "Sampler/cAngularSampler.h"
#include "app/Vantor.h"
#include "app/fail.h"
#include "app/resources.h"

namespace {

constexpr double largestNodeCount = 2147483647.0;

/// Moves the corners of the model's box: the low one onto a node of the map. fmod has the sign of its
/// dividend, so below the map's corner the low corner moves inwards.
// Deliberate: the high corner moves away by its remainder and does not land on a node; the node count comes
// from the map.
void alignWithMap(cBBox& box, const cGrid& map) {
    const cVector3 origin = map.m_box.m_min;
    const cVector3 cell = map.m_cellDim;
    const cVector3 lowShift(std::fmod(box.m_min.x - origin.x, cell.x),
                            std::fmod(box.m_min.y - origin.y, cell.y),
                            std::fmod(box.m_min.z - origin.z, cell.z));
    const cVector3 highShift(std::fmod(box.m_max.x - origin.x, cell.x),
                             std::fmod(box.m_max.y - origin.y, cell.y),
                             std::fmod(box.m_max.z - origin.z, cell.z));
    box.m_min -= lowShift;
    box.m_max += highShift;
}

double nodeCount(const cBBox& box, const cVector3& cell) {
    const auto nodes = [](double edge, double step) { return std::ceil(edge / step) + 1.0; };
    return nodes(box.m_max.x - box.m_min.x, cell.x) * nodes(box.m_max.y - box.m_min.y, cell.y) *
           nodes(box.m_max.z - box.m_min.z, cell.z);
}

/// The number cut to two significant digits.
double twoDigitsBelow(double value) {
    const double unit = std::pow(10.0, std::floor(std::log10(value)) - 1.0);
    return std::floor(value / unit) * unit;
}

double paddedNodeCount(const cGrid& map, bool nopadding) {
    double count = 1.0;
    for (unsigned int size : map.m_size) {
        count *= nopadding ? size : getPowerTwo(size);
    }
    return count;
}

} // namespace

void Vantor::computeStructureEdm(cSequentialTimer& timer) {
    m_info.printInfo(" Constructing the grid of the EDM of the structure ");
    const cGrid& map = m_edm.m_grid;
    cBBox box = ElectronDensity::getBoundingBox(m_positions, m_sigma, ElectronDensity::EPSILON, 1.0);
    alignWithMap(box, map);
    if (!(nodeCount(box, map.m_cellDim) <= largestNodeCount)) {
        fail(m_workflow.m_ipdb.getValue() +
             ": the model's box has more than 2^31 nodes at the map's voxel size. "
             "Check for atoms far from the rest.");
    }
    unsigned int size[3] = {map.m_size[0], map.m_size[1], map.m_size[2]};
    m_structureGrid = std::make_shared<cGrid>(box, size);
    m_structureGrid->setCellDim(map.m_cellDim);
    // Deliberate: the caller saves once more, which leaves this stage's row next to nothing.
    m_info.saveTimeInterval(timer.getTimeInterval());
}

void Vantor::zeroPadd() {
    m_info.printInfo(" Zero padding the grids and densities ");
    const bool nopadding = m_workflow.m_nopadding.getValue();
    if (!(paddedNodeCount(m_edm.m_grid, nopadding) <= largestNodeCount)) {
        fail(m_workflow.m_iedm.getValue() +
             ": the padded map has more than 2^31 voxels. Use --nopadding, or a "
             "coarser map.");
    }
    m_paddedStructureGrid = std::make_shared<cGrid>();
    cGrid::paddTwoGridsToPowerTwo(m_edm.m_grid, *m_structureGrid, m_paddedGrid, *m_paddedStructureGrid,
                                  m_info, nopadding);
    m_paddedStructureGrid->m_center = m_structureGrid->m_center;
    tellCutModel();
    tellCoarseStep();
    checkResources();
}

/// The common size of the grids follows the map alone.
void Vantor::tellCutModel() const {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (m_structureGrid->m_size[axis] > m_paddedGrid.m_size[axis]) {
            warn(m_workflow.m_ipdb.getValue() +
                 ": the model with its margin is larger than the map's grid, and what "
                 "reaches beyond is cut off. Pad the map with zeros, or orient the "
                 "model along it.");
            return;
        }
    }
}

/// Says so if rotations are so far apart that the right place can lie between them, and what step to give.
///
/// Nearly every orientation lies within 1.07 steps of one that the scan tries. Turned by this about any axis,
/// an atom at the radius of gyration R is off by d = 0.87 R step in the mean square, and two Gaussians of
/// width sigma overlap to exp(-d^2 / 4 sigma^2): to 47 % where R step is 2 sigma, to 5 % where it is 4 sigma.
void Vantor::tellCoarseStep() const {
    constexpr double good = 2.0;     // widths
    constexpr double hopeless = 4.0; // widths
    constexpr double degreesPerRadian = 180.0 / 3.141592653589793;
    const unsigned int size[3] = {m_edm.m_grid.m_size[0], m_edm.m_grid.m_size[1], m_edm.m_grid.m_size[2]};
    const double step = m_workflow.getDangle(size);
    const double radius = getRadiusOfGyration(m_positions);
    if (!(radius * step / degreesPerRadian > hopeless * m_sigma)) {
        return;
    }
    const double goodStep = twoDigitsBelow(good * m_sigma / radius * degreesPerRadian);
    char text[400];
    std::snprintf(
        text, sizeof text,
        ": a step of %.3g degrees is too coarse for a model with a radius of gyration of %.3g "
        "angstrom and atoms %.3g angstrom wide (--sigma), and the scan can miss the right place. Give "
        "--dangle %g or less, which makes %.0f rotations.",
        step, radius, m_sigma, goodStep, countRotations(goodStep));
    warn(m_workflow.m_ipdb.getValue() + text);
}

double Vantor::rotationCount() const {
    const unsigned int size[3] = {m_edm.m_grid.m_size[0], m_edm.m_grid.m_size[1], m_edm.m_grid.m_size[2]};
    return countRotations(m_workflow.getDangle(size));
}

void Vantor::checkResources() const {
    const double needed = estimateScanBytes();
    const resources::Memory memory = resources::memory();
    constexpr double gigabyte = 1024.0 * 1024.0 * 1024.0;
    const auto text = [&](double bytes) { return std::to_string(bytes / gigabyte) + " GiB"; };
    const std::string remedy =
        "Use fewer workers (--nthread), no padding (--nopadding), fewer poses (--nsolutions) or "
        "a larger step (--dangle).";
    const double addresses = estimateAddressSpace();
    const double room = resources::freeAddressSpace();
    if (addresses > room) {
        fail("this run needs about " + text(addresses) +
             " of address space and the limit of the process (ulimit -v) leaves " + text(room) +
             ". Raise it. " + remedy);
    }
    if (needed > memory.total) {
        fail("this run needs about " + text(needed) +
             " of memory and this machine or its control group has " + text(memory.total) + ". " + remedy);
    }
    if (needed > memory.available) {
        warn("this run needs about " + text(needed) + " of memory and only " + text(memory.available) +
             " are free. " + remedy);
    }
    const int poses =
        m_workflow.useClustering() ? m_workflow.m_nclusters.getValue() : m_workflow.getCapacity();
    const double found = (rotationCount() + 1.0) * m_paddedGrid.getTotalSize();
    const double lines = 2.0 * static_cast<double>(m_atoms.size()) * std::min<double>(poses, found);
    constexpr double bytesPerLine = 81.0;
    const double files = bytesPerLine * lines + 4.0 * m_edm.m_grid.getTotalSize();
    const double disk = resources::freeDisk(m_workflow.m_odir.getValue());
    if (files > disk) {
        warn("the solution files need up to " + text(files) + " and " + m_workflow.m_odir.getValue() +
             " has " + text(disk) + " free. Use a smaller --nsolutions or another --odir.");
    }
}

void Vantor::fillPaddedMap(std::vector<double>& target) const {
    target.resize(m_paddedGrid.getTotalSize());
    ElectronDensity::zeroPadd(m_edmValues, m_edm.m_grid, m_paddedGrid, target);
}

void Vantor::threadedZeroPadd(unsigned long threadId) {
    fillPaddedMap(m_localEdmValues[threadId]);
}

/// The list of many rotations takes its time, and so does one rotation of a large grid: nothing would be seen
/// meanwhile that tells how much is to come.
void Vantor::tellLongScan() const {
    constexpr double manyRotations = 1.0e6;
    constexpr double nodesOfAMinute = 2.5e9; // that one worker correlates
    const double rotations = rotationCount();
    const double nodes = static_cast<double>(m_paddedGrid.getTotalSize());
    if (rotations <= manyRotations && nodes * rotations / static_cast<double>(m_nThread) <= nodesOfAMinute) {
        return;
    }
    char text[200];
    std::snprintf(text, sizeof text,
                  "%.0f rotations are coming, on a grid of %u x %u x %u nodes and %lu workers. A larger step "
                  "(--dangle) makes them fewer.",
                  rotations, m_paddedGrid.m_size[0], m_paddedGrid.m_size[1], m_paddedGrid.m_size[2],
                  m_nThread);
    warn(text);
}

std::vector<std::array<double, 3>> Vantor::getEulerAngles() {
    m_info.printInfo(" Loading the rotation angles ");
    tellLongScan();
    unsigned int size[3] = {m_edm.m_grid.m_size[0], m_edm.m_grid.m_size[1], m_edm.m_grid.m_size[2]};
    auto rotations = cAngularSampler::constructRotations(m_workflow.getDangle(size));
    constexpr double identityTolerance = 1e-11;
    bool hasIdentity = false;
    for (const auto& rotation : rotations) {
        hasIdentity = hasIdentity || norm(rotation) < identityTolerance;
    }
    if (!hasIdentity) {
        rotations.push_back({0.0, 0.0, 0.0});
    }
    return rotations;
}

void Vantor::threadedSetEulerAngles(const std::array<double, 3>& angles, unsigned long threadId) {
    m_localEulerAngles[threadId] = angles;
    ElectronDensity::rotateNonZeroPadded(m_edmValues, m_edm.m_grid, angles, m_paddedGrid,
                                         m_localEdmValues[threadId].data(),
                                         m_workflow.m_filtersigma.getValue());
}

void Vantor::setEulerAngles(const std::array<double, 3>& angles) {
    char title[160];
    std::snprintf(title, sizeof title, " Scanning rotation (%f, %f, %f) ", angles[0], angles[1], angles[2]);
    m_info.printInfo(title);
    m_eulerAngles = angles;
    m_paddedEdmValues.resize(m_paddedGrid.getTotalSize());
    ElectronDensity::rotateNonZeroPadded(m_edmValues, m_edm.m_grid, angles, m_paddedGrid,
                                         m_paddedEdmValues.data(), m_workflow.m_filtersigma.getValue());
}
