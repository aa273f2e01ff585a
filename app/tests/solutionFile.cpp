// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/tests/solutionFile.h"

#include <cstdlib>
#include <sstream>

namespace {

std::vector<double> valuesBehindColon(const std::string& line) {
    std::vector<double> values;
    std::istringstream stream(line.substr(line.find(':') + 1));
    for (std::string word; stream >> word;) {
        values.push_back(std::strtod(word.c_str(), nullptr));
    }
    return values;
}

void readLine(WrittenPose& pose, const std::string& line) {
    pose.lines.push_back(line);
    if (line.rfind("REMARK", 0) == 0) {
        pose.remarks[std::atoi(line.substr(6, 4).c_str())] = valuesBehindColon(line);
    }
    if (line.rfind("ATOM", 0) != 0) {
        return;
    }
    pose.atomLines.push_back(line);
    Vec p{};
    for (std::size_t a = 0; a < 3; ++a) {
        p[a] = std::strtod(line.substr(30 + 8 * a, 8).c_str(), nullptr);
    }
    pose.positions.push_back(p);
}

} // namespace

Vec WrittenPose::triple(int number) const {
    const std::vector<double>& values = remarks.at(number);
    return {values.at(0), values.at(1), values.at(2)};
}

std::vector<WrittenPose> readPoses(const std::string& text) {
    std::vector<WrittenPose> poses;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (line.rfind("MODEL", 0) == 0) {
            poses.emplace_back();
        }
        readLine(poses.at(poses.size() - 1), line);
    }
    return poses;
}

Vec placed(const WrittenPose& pose, const Vec& atom, const Vec& centre) {
    const Mat rotation = rotationXYZ(pose.angles()[0], pose.angles()[1], pose.angles()[2]);
    const Vec arm = atom - centre;
    return rotation * (arm + pose.tau()) + rotation * (pose.dTau() + cross(pose.dR(), arm)) + centre;
}
