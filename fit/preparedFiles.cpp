// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/preparedFiles.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "Formats/writeMap.h"
#include "IO/shellQuote.h"
#include "fit/scanPoses.h"
#include "fit/textFile.h"

#include <nlohmann/json.hpp>

namespace {

/// The spiral of selvane is uneven: the farthest orientation lies 1.7 to 2.3 times its step away, a twentieth
/// lie beyond 1.1 to 1.3 times, where the even set has none beyond its own. At this share few are.
constexpr double spiralOverEven = 0.6;

DensityMap inPreparedFrame(const PreparedMap& map) {
    DensityMap field;
    field.size = {map.grid.m_size[0], map.grid.m_size[1], map.grid.m_size[2]};
    field.voxel = map.grid.m_cellDim;
    field.values.assign(map.values.begin(), map.values.end());
    return field;
}

nlohmann::ordered_json jsonOf(const cVector3& v) {
    return nlohmann::ordered_json::array({v.x, v.y, v.z});
}

nlohmann::ordered_json jsonOf(const cMatrix33& m) {
    auto rows = nlohmann::ordered_json::array();
    for (int row = 0; row < 3; ++row) {
        rows.push_back(jsonOf(cVector3(m(row, 0), m(row, 1), m(row, 2))));
    }
    return rows;
}

std::string frameJson(const PreparedPair& pair, const FitOptions& options) {
    const FrameBack back(pair.map, pair.model);
    nlohmann::ordered_json frame;
    frame["about"] =
        "An atom at x in the model's file stands at A x + a in model.pdb, A being model_rotation, row by "
        "row, and a model_shift. A point y of map.ccp4, or of a pose that a scan of these files finds, is "
        "y + map_shift in the frame of the map that was given. So a pose y' = Q y + q of the scan places "
        "the model by x' = Q (A x + a) + q + map_shift. Lengths are in angstrom.";
    frame["map"] = options.map;
    frame["model"] = options.model;
    frame["model_rotation"] = jsonOf(back.ofModel().rotation);
    frame["model_shift"] = jsonOf(back.ofModel().translation);
    frame["map_shift"] = jsonOf(back.mapShift());
    frame["middle"] = jsonOf(pair.map.middle());
    frame["voxels"] = {pair.map.grid.m_size[0], pair.map.grid.m_size[1], pair.map.grid.m_size[2]};
    frame["voxel_size"] = jsonOf(pair.map.grid.m_cellDim);
    frame["resolution"] = options.resolution;
    frame["scan_resolution"] = pair.choice.resolution;
    frame["sigma"] = pair.choice.sigma;
    frame["step"] = pair.choice.step;
    frame["level"] = pair.map.level;
    frame["farthest_centre"] = pair.map.farthestCentre;
    constexpr int indent = 2;
    return frame.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

/// Columns 13 to 16: a symbol of one letter stands in the second of them, unless the name needs all four.
std::string nameColumns(const ModelAtom& atom) {
    const bool isIndented = atom.element.size() < 2 && atom.name.size() < 4;
    return ((isIndented ? " " : "") + atom.name + "    ").substr(0, 4);
}

std::string rightJustified(const std::string& text, std::size_t width) {
    const std::string kept = text.substr(0, width);
    return std::string(width - kept.size(), ' ') + kept;
}

void appendAtom(std::string& text, const ModelAtom& atom, std::size_t number, const cVector3& shift) {
    const cVector3 p = atom.position + shift;
    std::array<char, 128> rest{};
    std::snprintf(rest.data(), rest.size(), "   %8.3f%8.3f%8.3f  1.00  0.00          ", p.x, p.y, p.z);
    text += "ATOM  " + hybrid36(static_cast<long>(number), 5) + " " + nameColumns(atom) + " " +
            rightJustified(atom.residue, 3) + " " + (atom.chain.empty() ? ' ' : atom.chain.front()) +
            hybrid36(atom.residueNumber, 4) + atom.insertionCode + rest.data() +
            rightJustified(atom.element, 2) + "\n";
}

} // namespace

std::string hybrid36(long number, std::size_t width) {
    const std::string decimal = std::to_string(number);
    if (decimal.size() <= width) {
        return rightJustified(decimal, width);
    }
    if (number < 0) {
        return std::string(width, '*');
    }
    constexpr long base = 36;
    long block = 26; // numbers that begin with a letter of one case
    long offset = 10;
    long least = 10; // with the digit of the first letter in front
    for (std::size_t i = 1; i < width; ++i) {
        block *= base;
        offset *= 10;
        least *= base;
    }
    const long beyond = number - offset;
    if (beyond >= 2 * block) {
        return std::string(width, '*');
    }
    const bool isLower = beyond >= block;
    long rest = least + beyond - (isLower ? block : 0);
    const std::string digits =
        isLower ? "0123456789abcdefghijklmnopqrstuvwxyz" : "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    std::string text(width, ' ');
    for (std::size_t i = width; i-- > 0; rest /= base) {
        text[i] = digits[static_cast<std::size_t>(rest % base)];
    }
    return text;
}

std::string pdbText(const std::vector<ModelAtom>& atoms, const cVector3& shift) {
    std::string text;
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        appendAtom(text, atoms[i], i + 1, shift);
    }
    return text + "END\n";
}

std::string selvaneCommand(const std::string& folder, const ScanChoice& choice, std::size_t threads) {
    const std::string place = std::filesystem::absolute(folder).lexically_normal().string();
    std::ostringstream command;
    command << "selvane --ipdb " << shellQuote(place + "/model.pdb") << " --iedm "
            << shellQuote(place + "/map.ccp4") << " --odir " << shellQuote(place) << " --nopadding --sigma "
            << choice.sigma << " --dangle " << spiralOverEven * choice.step << " --filtersigma "
            << ScanLimits::everyValue << " --clustering --nclusters " << ScanLimits::places
            << " --clusterThreshold " << ScanLimits::placeDistance(choice) << " --nsolutions "
            << ScanLimits::solutions << " --nthread " << threads << "\n";
    return command.str();
}

void writePreparedFiles(const std::string& folder, const PreparedPair& pair, const FitOptions& options) {
    writeMap(folder + "/map.ccp4", inPreparedFrame(pair.map));
    writeTextFile(folder + "/model.pdb", pdbText(pair.model.atoms, pair.map.middle()));
    writeTextFile(folder + "/frame.json", frameJson(pair, options));
    writeTextFile(folder + "/command.txt", selvaneCommand(folder, pair.choice, options.threads));
}
