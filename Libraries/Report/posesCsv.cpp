// SPDX-License-Identifier: GPL-3.0-or-later
#include "Report/posesCsv.h"

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <limits>
#include <sstream>

namespace {

std::size_t mostAmplitudes(const std::vector<AssessedPose>& poses) {
    std::size_t most = 0;
    for (const AssessedPose& pose : poses) {
        most = std::max(most, pose.amplitudes.size());
    }
    return most;
}

void writeMotion(std::ostream& out, const RigidMotion& motion) {
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            out << ',' << motion.rotation(row, column);
        }
    }
    out << ',' << motion.translation.x << ',' << motion.translation.y << ',' << motion.translation.z;
}

void writePose(std::ostream& out, const AssessedPose& pose, std::size_t index) {
    const PoseScores& scores = pose.scores;
    out << index + 1 << ',' << textOf(pose.confidence) << ',' << scores.localCorrelation << ','
        << scores.correlation << ',' << pose.z << ',' << pose.gap << ',' << pose.scanScore << ','
        << scores.meanDensity << ',' << scores.inside << ',';
    if (pose.equivalentTo != index) {
        out << pose.equivalentTo + 1;
    }
    out << ',' << pose.hits;
    writeMotion(out, pose.motion);
}

} // namespace

std::string posesCsv(const std::vector<AssessedPose>& poses, const std::vector<std::string>& files) {
    const std::size_t amplitudes = mostAmplitudes(poses);
    std::ostringstream table;
    table
        << "rank,confidence,local_correlation,correlation,z,gap,score,mean_density,inside,equivalent_to,hits,"
           "r11,r12,r13,r21,r22,r23,r31,r32,r33,tx,ty,tz";
    for (std::size_t a = 1; a <= amplitudes; ++a) {
        table << ",a" << a;
    }
    table << ",file\n" << std::setprecision(std::numeric_limits<double>::max_digits10);
    for (std::size_t n = 0; n < poses.size(); ++n) {
        writePose(table, poses[n], n);
        for (std::size_t a = 0; a < amplitudes; ++a) {
            table << ',';
            if (a < poses[n].amplitudes.size()) {
                table << poses[n].amplitudes[a];
            }
        }
        table << ',' << (n < files.size() ? files[n] : "") << "\n";
    }
    return table.str();
}
