// SPDX-License-Identifier: GPL-3.0-or-later
// The scale of the local moves, and the solution files.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

#include <sys/stat.h>

#include "IO/HiddenFile.h"
#include "IO/ResultFile.h"
#include "Math/pi.h"
#include "Math/structure.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/AtomLines.h"
#include "PDB/writePDB.h"
#include "Search/MapFrame.h"
#include "Search/TrustRegion.h"
#include "app/Vantor.h"
#include "app/fail.h"

namespace {

constexpr mode_t privateMode = 0600;

} // namespace

void Vantor::initThreadedRefineTopConformations() {
    const TrustRegion region = TrustRegion::of(m_atoms, m_totalMass, m_edm.m_grid.m_cellDim, m_settings);
    m_info.printInfo(" sqDAngleNorm Original Norm", std::sqrt(region.uncapped2), nullptr);
    m_trustNorm[0] = region.radius();
    m_trustNorm[1] = std::sqrt(region.translation2);
    m_trustNorm[2] = std::sqrt(region.rotation2);
    m_trustNorm[3] = std::sqrt(region.modes2);
    m_info.printInfo(" Trust Region Norm", m_trustNorm[0], nullptr);
    // Deliberate: squares, whatever their labels say.
    m_info.printInfo(" sqDxNorm Norm", region.translation2, nullptr);
    m_info.printInfo(" sqDAngleNorm Norm", region.rotation2, nullptr);
    m_info.printInfo(" sqEtaNorm Norm", region.modes2, nullptr);
    m_nonConvexCount = 0;
    m_hasMovedPoses = false;
}

double Vantor::nonConvexPercentage(unsigned long tasks) const {
    // Deliberate: of no tasks the share is 0 / 0.
    return static_cast<double>(m_nonConvexCount.load()) / static_cast<double>(tasks) * 100.0;
}

void Vantor::tellUnmovedPoses(unsigned long tasks) const {
    if (tasks == 0 || m_hasMovedPoses.load()) {
        return;
    }
    const std::string reason =
        m_nonConvexCount.load() == tasks
            ? "the score has no maximum near any of them (\"non-convex problem\" is 100 %). Give a smaller "
              "--dangle, so that the poses of the scan lie nearer to a maximum, or a wider --sigma."
            : "each of them stands at the maximum of its local model already.";
    warn("the refinement moved no pose, and Solution.pdb holds those of Rigid_solution.pdb: " + reason);
}

MapFrame Vantor::mapFrame() const {
    const std::array<double, 3> middle = getCenter(m_positions);
    return MapFrame(m_edm.m_grid, m_structureGrid->m_box.m_min, cVector3(middle[0], middle[1], middle[2]));
}

/// What the poses of a solution file have in common, and the memory that each of them uses again.
struct Vantor::SolutionFile {
    std::FILE* file;
    MapFrame frame;
    AtomLines lines;
    arma::Col<double> flex; ///< displacements of the atoms by the modes of a pose; zero without modes
    std::vector<cVector3> placed;
};

void Vantor::tryOutputDirectory() const {
    const std::string& directory = m_settings.outputDirectory;
    HiddenFile trial;
    if (!trial.createIn(directory + "/", privateMode)) {
        warn(directory + ": no file can be made there (" + std::strerror(errno) +
             "), so checkpoints will be missing, and results that do not stand there yet. The run goes on; "
             "make room and "
             "permit writing before it ends, or give another --odir.");
    }
}

void Vantor::saveTopSolution(const std::string& name) {
    const std::string path = m_settings.outputDirectory + "/" + name + ".pdb";
    std::unique_ptr<ResultFile> file = openResult(path);
    if (!file) {
        m_missingSolutions.push_back(path);
        // Deliberate: the run goes on without its solutions and ends with status 0.
        m_info.printInfo("[ERROR] couldn't create the file ", path, nullptr);
    } else if (writePoses(file->stream()) && file->complete()) {
        m_solutions.push_back(std::move(file));
        writeInputCopies();
    } else {
        m_missingSolutions.push_back(path);
        tellIncomplete(path);
        writeInputCopies();
    }
    if (!m_holdsSolutions) {
        placeSolutions();
    }
}

void Vantor::holdSolutions() {
    m_holdsSolutions = true;
}

/// Whether a complete solution file alone would stand beside, or in the place of, a file of an earlier run.
bool Vantor::wouldMixRuns() const {
    const auto isEarlier = [](const std::string& path) {
        struct stat file {};
        return stat(path.c_str(), &file) == 0 && S_ISREG(file.st_mode);
    };
    return std::any_of(m_missingSolutions.begin(), m_missingSolutions.end(), isEarlier) ||
           std::any_of(m_solutions.begin(), m_solutions.end(),
                       [&](const auto& file) { return isEarlier(file->path()); });
}

void Vantor::placeSolutions() {
    std::vector<ResultFile*> files;
    for (const auto& file : m_solutions) {
        if (file->isHidden()) {
            files.push_back(file.get());
        }
    }
    if (!m_missingSolutions.empty() && wouldMixRuns()) {
        for (const ResultFile* file : files) {
            warn(file->path() + " stays as an earlier run left it, since " + m_missingSolutions.front() +
                 " could not be written and both are to be of one run.");
        }
    } else if (!ResultFile::commitTogether(files)) {
        for (const ResultFile* file : files) {
            tellIncomplete(file->path());
        }
    }
    m_solutions.clear();
    m_missingSolutions.clear();
    m_holdsSolutions = false;
}

bool Vantor::writePoses(std::FILE* file) {
    SolutionFile output{file, mapFrame(), AtomLines(m_atoms.data(), m_atoms.size()),
                        arma::Col<double>(3 * m_positions.size(), arma::fill::zeros),
                        std::vector<cVector3>(m_positions.size())};
    const unsigned long count = getNSolutions();
    bool complete = true;
    for (unsigned long solution = 0; solution < count && complete; ++solution) {
        complete = writePose(output, solution);
    }
    return complete;
}

std::unique_ptr<ResultFile> Vantor::openResult(const std::string& path) {
    auto file = std::make_unique<ResultFile>(path);
    if (file->stream() != nullptr) {
        return file;
    }
    const int reason = errno;
    m_missingFiles = true;
    m_incompleteFiles = m_incompleteFiles || isOutOfRoom(reason);
    warn(path + " could not be opened for writing: " + std::strerror(reason) +
         ". Check its directory and the permissions.");
    return nullptr;
}

void Vantor::tellIncomplete(const std::string& path) {
    m_missingFiles = true;
    m_incompleteFiles = true;
    warn(path + " could not be written completely. Check the free space of its disk and the limits of "
                "file sizes.");
}

bool Vantor::writeResult(const std::string& path, const std::function<bool(std::FILE*)>& write) {
    const std::unique_ptr<ResultFile> file = openResult(path);
    if (!file) {
        return false;
    }
    if (!write(file->stream()) || !file->commit()) {
        tellIncomplete(path);
    }
    return true;
}

void Vantor::writeInputCopies() {
    const std::string directory = m_settings.outputDirectory;
    writeResult(directory + "/original.pdb", [this](std::FILE* file) {
        return writePDB(nullptr, m_atoms.data(), static_cast<int>(m_atoms.size()), file);
    });
    writeResult(directory + "/edm.map", [this](std::FILE* file) { return m_edm.write(file); });
}

/// The pose as the accessors of the search give it, put in order.
PoseRecord Vantor::poseRecord(unsigned long solution) const {
    const std::array<double, 3> tau = getConformationTau(solution);
    const std::array<double, 3> angles = getConformationAngle(solution);
    const std::array<double, 3> shift = getConformationDTau(solution);
    const arma::Col<double> turn = getConformationIRotation(solution);
    const arma::Col<double> eta = getConformationEta(solution);
    PoseRecord pose;
    pose.score = getConformationScore(solution);
    pose.refinedScore = getConformationFlexScore(solution);
    pose.angles = {angles[2], angles[1], angles[0]};
    pose.tau = cVector3(tau[2], tau[1], tau[0]);
    pose.period = getConformationGrid(solution)->getPeriod();
    pose.dTau = cVector3(shift[0], shift[1], shift[2]);
    pose.dRotation = cVector3(turn(0), turn(1), turn(2));
    pose.amplitudes.assign(eta.begin(), eta.end());
    return pose;
}

void Vantor::writeRemarks(std::FILE* file, unsigned long solution, const PoseRecord& pose,
                          const cVector3& shift) const {
    const auto triple = [file](const char* name, double x, double y, double z) {
        std::fprintf(file, "REMARK  %s: %f %f %f\n", name, x, y, z);
    };
    // Deliberate: models count from 0.
    std::fprintf(file, "MODEL        %zu     \n", static_cast<std::size_t>(solution));
    std::fprintf(file, "REMARK   6 CCF score      : %f\n", pose.score);
    triple(" 7 CCF tau        ", shift.x, shift.y, shift.z);
    triple(" 8 CCF R          ", pose.angles[0], pose.angles[1], pose.angles[2]);
    std::fprintf(file, "REMARK   9 CCF flex score : %f\n", pose.refinedScore);
    triple("10 CCF dTau       ", pose.dTau.x, pose.dTau.y, pose.dTau.z);
    triple("11 CCF dR         ", pose.dRotation.x, pose.dRotation.y, pose.dRotation.z);
    std::fprintf(file, "REMARK  12 CCF eta        : ");
    for (unsigned int mode = 0; mode < m_nma->m_nModes; ++mode) {
        std::fprintf(file, "%f ", pose.amplitudes[mode]);
    }
    std::fprintf(file, "\n");
}

bool Vantor::writePose(SolutionFile& output, unsigned long solution) const {
    const PoseRecord pose = poseRecord(solution);
    const PoseMove move = output.frame.place(pose);
    writeRemarks(output.file, solution, pose, move.shift);
    if (m_nma->m_nModes > 0) {
        output.flex = m_nma->m_modes * arma::Col<double>(pose.amplitudes);
    }
    for (std::size_t a = 0; a < output.placed.size(); ++a) {
        output.placed[a] = move(cVector3(m_positions[a].data()), cVector3(output.flex.memptr() + 3 * a));
    }
    output.lines.write(output.file, output.placed.data());
    std::fprintf(output.file, "ENDMDL\n");
    return std::ferror(output.file) == 0;
}
