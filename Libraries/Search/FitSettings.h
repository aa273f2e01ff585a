// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_FITSETTINGS_H
#define SELVANE_SEARCH_FITSETTINGS_H

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

class cGrid;
class cVector3;

/// A setting that no search can be made with.
class SettingError : public std::invalid_argument {
public:
    /// @param option  its name on the command line, without dashes
    /// @param reason  a sentence that says what it has to be
    SettingError(std::string option, const std::string& reason)
        : std::invalid_argument(reason), m_option(std::move(option)) {}

    const std::string& option() const { return m_option; }

private:
    std::string m_option;
};

/// How the translations of a rotated map are scored.
enum class ScanScore {
    Overlap, ///< sum of the products of map and model
    Local    ///< correlation of filtered fields under the model's mask, and their overlap beside it
};

/// What a search is asked for, as plain values. Those that depend on the input and were not given are filled
/// in once it is known, by the two calls of resolve(); everybody else reads them.
struct FitSettings {
    std::string modelPath;
    std::string mapPath;
    std::string outputDirectory = "./";
    unsigned long modes = 0;     ///< normal modes along which poses may move
    unsigned long workers = 1;   ///< of each parallel stage
    double cutoff = 10.0;        ///< reach of the springs of the elastic network, angstrom
    double stiffness = 1.0;      ///< of the springs
    double maxRmsd = 0.0;        ///< how far the modes may move the model, angstrom
    std::optional<double> sigma; ///< width of an atom's Gaussian, angstrom; else the largest cell edge
    double filterSigmas = 0.0;   ///< of the SigmaFilter that each rotated map goes through
    std::optional<double> step;  ///< between two rotations, degrees; else defaultStep()
    std::optional<double> clusterThreshold; ///< angstrom; else the radius of gyration
    int solutions = 1000;                   ///< poses kept, times clusters where these are sought
    int clusters = 10;                      ///< poses left by clustering
    bool clustering = false;                ///< keep only poses that are far from each other
    bool padding = true;    ///< of the map to powers of two, without which the search is periodic
    bool multistep = false; ///< move the model to the best nearby state at every rotation
    bool resume = false;    ///< go on from a checkpoint
    ScanScore score = ScanScore::Overlap;
    double varianceFloor = 0.05;  ///< of the local score: what a place's variance counts at least, as a part
                                  ///< of the largest
    bool singlePrecision = false; ///< of the local score, which then takes half the memory and less time

    /// Of all that can be judged before the input is known.
    /// @throws SettingError for the first setting that cannot be used
    void check() const;

    /// Fills in what depends on the map.
    void resolve(const cGrid& map);

    /// Fills in what depends on the model.
    void resolve(const std::vector<std::array<double, 3>>& positions);

    /// Poses that the search keeps: solutions, times clusters when clustering. Needs check().
    int capacity() const;

    /// Rotations of the sampling, before the identity is added. Needs resolve(map).
    double rotationCount() const;
};

/// The largest edge of the map's cell.
double defaultSigma(const cVector3& cellDim);

/// 360 / (4 pi n)^(1/3) degrees for the largest of the map's three node counts n.
double defaultStep(const unsigned int* mapSize);

/// Number of rotations that the sampling makes for a step in degrees: the points of a spiral that each stand
/// for step^2 square degrees, times a full turn. Not an integer type, as small steps exceed all of them.
double countRotations(double step);

/// Whether a Gaussian of this width, in angstrom, rises above the density at which it is cut.
bool risesAboveCut(double sigma);

#endif
