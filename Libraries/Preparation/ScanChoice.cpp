// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/ScanChoice.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "Preparation/numberText.h"

namespace {

// An atom's Gaussian must rise above the density at which it is cut, which it does up to 300 A.
constexpr double coarsestResolution = 300.0; // angstrom
constexpr double finestScan = 10.0;          // angstrom: finer details tell a step of 18 degrees nothing
constexpr double scanPerRadius = 0.4;        // of the scan's resolution to the model's radius of gyration
constexpr double voxelsPerResolution = 3.0;
constexpr double stepTimesRadius = 45.0; // degrees, in units of the scan's resolution
constexpr double coarsestStep = 20.0;    // degrees
constexpr double finestStep = 0.5;       // degrees
constexpr double wholeTurn = 180.0;      // degrees: no orientation is farther from any other

void requireBetween(const char* what, double value, double least, double most, const char* unit) {
    if (!(value >= least && value <= most)) {
        throw std::invalid_argument(std::string("the ") + what + " has to be a number from " +
                                    numberText(least) + " to " + numberText(most) + " " + unit + ", not " +
                                    numberText(value));
    }
}

/// No map shows what is finer than two of its voxels.
double resolutionOf(const ScanNeeds& needs, std::vector<std::string>& remarks) {
    constexpr double finestResolution = 0.1; // angstrom
    requireBetween("resolution", needs.resolution, finestResolution, coarsestResolution, "A");
    const double shown = 2.0 * needs.mapVoxel;
    if (needs.resolution >= shown) {
        return needs.resolution;
    }
    if (!(shown <= coarsestResolution)) {
        throw std::invalid_argument("the map has voxels of " + numberText(needs.mapVoxel) +
                                    " A, which show nothing finer than " + numberText(shown) +
                                    " A: correct the lengths of the cell in its header");
    }
    remarks.push_back("a resolution of " + numberText(needs.resolution) + " A needs voxels of " +
                      numberText(0.5 * needs.resolution) + " A or less and the map has " +
                      numberText(needs.mapVoxel) + " A, so it is taken to have " + numberText(shown) +
                      " A: check the resolution and the voxel size");
    return shown;
}

double scanResolutionOf(const ScanNeeds& needs, double mapResolution, std::vector<std::string>& remarks) {
    if (!needs.scanResolution) {
        return std::min(std::max({mapResolution, finestScan, scanPerRadius * needs.radiusOfGyration}),
                        coarsestResolution);
    }
    requireBetween("scan resolution", *needs.scanResolution, 1.0, coarsestResolution, "A");
    if (*needs.scanResolution < mapResolution) {
        remarks.push_back("a scan at " + numberText(*needs.scanResolution) +
                          " A would look for more than the map shows, so "
                          "it is made at the map's " +
                          numberText(mapResolution) + " A");
    }
    return std::max(*needs.scanResolution, mapResolution);
}

double stepOf(const ScanNeeds& needs, double scanResolution) {
    if (needs.step) {
        requireBetween("step", *needs.step, finestStep, wholeTurn, "degrees");
        return *needs.step;
    }
    return std::min(coarsestStep, stepTimesRadius * scanResolution / needs.radiusOfGyration);
}

} // namespace

ScanChoice chooseScan(const ScanNeeds& needs) {
    ScanChoice choice;
    choice.mapResolution = resolutionOf(needs, choice.remarks);
    choice.resolution = scanResolutionOf(needs, choice.mapResolution, choice.remarks);
    choice.voxel = choice.resolution / voxelsPerResolution;
    choice.sigma = gaussianOf(choice.resolution);
    choice.step = stepOf(needs, choice.resolution);
    if (choice.mapResolution > needs.radiusOfGyration) {
        choice.remarks.push_back("the map's resolution of " + numberText(choice.mapResolution) +
                                 " A is coarser than the model's radius of gyration of " +
                                 numberText(needs.radiusOfGyration) +
                                 " A, so that the map hardly tells orientations apart");
    }
    return choice;
}

double gaussianOf(double resolution) {
    constexpr double widthPerResolution = 0.225;
    return widthPerResolution * resolution;
}
