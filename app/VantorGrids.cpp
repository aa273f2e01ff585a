// SPDX-License-Identifier: GPL-3.0-or-later
// The stages that lay the grids of map and model over each other.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "CrossCorrelation/ElectronDensity.h"
#include "IO/cSequentialTimer.h"
#include "IO/resources.h"
#include "Math/pi.h"
#include "Math/structure.h"
#include "Search/ScanWorker.h"
#include "Search/SearchScene.h"
#include "app/Vantor.h"
#include "app/fail.h"

namespace {

/// The number cut to two significant digits.
double twoDigitsBelow(double value) {
    const double unit = std::pow(10.0, std::floor(std::log10(value)) - 1.0);
    return std::floor(value / unit) * unit;
}

} // namespace

void Vantor::computeStructureEdm(cSequentialTimer& timer) {
    m_info.printInfo(" Constructing the grid of the EDM of the structure ");
    try {
        m_structureGrid = laySearchGrid(m_edm.m_grid, m_positions, m_sigma);
    } catch (const std::length_error& error) {
        fail(m_settings.modelPath + ": " + error.what() + ". Check for atoms far from the rest.");
    }
    // Deliberate: the caller saves once more, which leaves this stage's row next to nothing.
    m_info.saveTimeInterval(timer.getTimeInterval());
}

void Vantor::zeroPadd() {
    m_info.printInfo(" Zero padding the grids and densities ");
    try {
        SearchGrids grids{m_structureGrid, nullptr, cGrid()};
        padSearchGrids(grids, m_edm.m_grid, m_settings.padding, m_info);
        m_paddedStructureGrid = grids.paddedStructure;
        m_paddedGrid = grids.padded;
        tellCutModel(grids);
    } catch (const std::length_error& error) {
        fail(m_settings.mapPath + ": " + error.what() + ". Use --nopadding, or a coarser map.");
    }
    tellCoarseStep();
    checkResources();
}

/// The common size of the grids follows the map alone.
void Vantor::tellCutModel(const SearchGrids& grids) const {
    if (cutsModel(grids)) {
        warn(m_settings.modelPath + ": the model with its margin is larger than the map's grid, and what "
                                    "reaches beyond is cut off. Pad the map with zeros, or orient the "
                                    "model along it.");
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
    constexpr double degreesPerRadian = 1.0 / radiansPerDegree;
    const double step = m_settings.step.value();
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
    warn(m_settings.modelPath + text);
}

double Vantor::rotationCount() const {
    return m_settings.rotationCount();
}

void Vantor::checkResources() {
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
    const int poses = m_settings.clustering ? m_settings.clusters : m_settings.capacity();
    const double found = (rotationCount() + 1.0) * m_paddedGrid.getTotalSize();
    const double lines = 2.0 * static_cast<double>(m_atoms.size()) * std::min<double>(poses, found);
    constexpr double bytesPerLine = 81.0;
    const double files = bytesPerLine * lines + 4.0 * m_edm.m_grid.getTotalSize();
    const double disk = resources::freeDisk(m_settings.outputDirectory);
    if (files > disk) {
        warn("the solution files need up to " + text(files) + " and " + m_settings.outputDirectory + " has " +
             text(disk) + " free. Use a smaller --nsolutions or another --odir.");
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
    return scanRotations(m_settings.step.value());
}

void Vantor::threadedSetEulerAngles(const std::array<double, 3>& angles, unsigned long threadId) {
    m_localEulerAngles[threadId] = angles;
    ElectronDensity::rotateNonZeroPadded(m_edmValues, m_edm.m_grid, angles, m_paddedGrid,
                                         m_localEdmValues[threadId].data(), m_settings.filterSigmas);
}

void Vantor::setEulerAngles(const std::array<double, 3>& angles) {
    char title[160];
    std::snprintf(title, sizeof title, " Scanning rotation (%f, %f, %f) ", angles[0], angles[1], angles[2]);
    m_info.printInfo(title);
    m_eulerAngles = angles;
    m_paddedEdmValues.resize(m_paddedGrid.getTotalSize());
    ElectronDensity::rotateNonZeroPadded(m_edmValues, m_edm.m_grid, angles, m_paddedGrid,
                                         m_paddedEdmValues.data(), m_settings.filterSigmas);
}
