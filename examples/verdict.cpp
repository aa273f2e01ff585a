// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/verdict.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <stdexcept>

namespace example {
namespace {

bool sameAtom(const Atom& a, const Atom& b) {
    return a.name == b.name && a.residue == b.residue && a.chain == b.chain &&
           a.residueNumber == b.residueNumber;
}

void requireAtoms(const Pose& pose, const Model& truth) {
    if (!std::equal(pose.atoms.begin(), pose.atoms.end(), truth.begin(), truth.end(), sameAtom)) {
        throw std::runtime_error("MODEL " + std::to_string(pose.number) +
                                 " does not hold the atoms of the true pose");
    }
}

std::string scoreText(const std::optional<double>& score) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.4f", score.value_or(0.0));
    return score ? text.data() : "-";
}

std::string row(const char* label, std::size_t rank, const Pose& pose, double distance) {
    std::array<char, 160> line{};
    std::snprintf(line.data(), line.size(), "%-18s %5zu %6d %12s %12s %9.2f\n", label, rank, pose.number,
                  scoreText(pose.score).c_str(), scoreText(pose.refinedScore).c_str(), distance);
    return line.data();
}

std::string conclusion(bool pass, double distance, double maxRmsd) {
    std::array<char, 160> line{};
    std::snprintf(line.data(), line.size(), "%s: the best pose is %.2f A from the truth, %.2f A allowed\n",
                  pass ? "PASS" : "FAIL", distance, maxRmsd);
    return line.data();
}

} // namespace

Verdict judge(const std::vector<Pose>& poses, const Model& truth, double maxRmsd) {
    if (poses.empty()) {
        throw std::runtime_error("the solution file holds no pose");
    }
    std::vector<double> distances;
    for (const Pose& pose : poses) {
        requireAtoms(pose, truth);
        distances.push_back(rmsd(pose.atoms, truth));
    }
    const auto nearest =
        static_cast<std::size_t>(std::min_element(distances.begin(), distances.end()) - distances.begin());
    const bool pass = distances.front() <= maxRmsd;
    std::string report = "                    rank  MODEL        score      refined   RMSD/A\n";
    report += row("best refined pose", 1, poses.front(), distances.front());
    report += row("nearest pose", nearest + 1, poses[nearest], distances[nearest]);
    return {pass, report + conclusion(pass, distances.front(), maxRmsd)};
}

} // namespace example
