// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FittingWorkflow.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>
#include <thread>

#include "IO/printable.h"
#include "Math/cVector3.h"
#include "Math/pi.h"
#include "Math/structure.h"

namespace {

[[noreturn]] void reject(const TCLAP::Arg& option, const std::string& text) {
    throw TCLAP::CmdLineParseException(text, option.toString());
}

unsigned long defaultThreads() {
    return std::max(std::thread::hardware_concurrency(), 1U);
}

/// Whether two paths name one file: by device and inode if both exist, by their canonical form if not.
bool isSameFile(const std::filesystem::path& a, const std::filesystem::path& b) {
    namespace fs = std::filesystem;
    std::error_code error;
    if (fs::exists(a, error) && fs::exists(b, error)) {
        return fs::equivalent(a, b, error);
    }
    const fs::path canonicalA = fs::weakly_canonical(fs::absolute(a, error), error);
    const fs::path canonicalB = fs::weakly_canonical(fs::absolute(b, error), error);
    return !error && canonicalA == canonicalB;
}

} // namespace

FittingWorkflow::FittingWorkflow()
    : TCLAP::CmdLine("No message set.", ' ', "No version set.")
    , m_ipdb("", "ipdb", "path to the input pdb file", true, "", "string")
    , m_iedm("", "iedm", "path to the input edm file", true, "", "string")
    // Deliberate: the texts of nmodes, clusterThreshold and clustering differ from the defaults in force,
    // which are 0, the radius of gyration itself, and off.
    , m_nmodes("", "nmodes", "number of normal modes used. default value : 20", false, 0, "unsigned integer")
    , m_nthread("", "nthread", "number of thread used. default value : the number of core of the machine",
                false, defaultThreads(), "unsigned integer")
    , m_cutoff("", "cutoff", "cutoff distance used by the spring model (in Angstrom). default value : 10",
               false, 10.0, "double")
    , m_stiffness("", "stiffness", "the spring constant of our anisotropic network model. default value : 1",
                  false, 1.0, "double")
    , m_maxrmsd("", "maxrmsd", "Maximum RMSD produced by the normal modes (in Angstrom). default value : 0",
                false, 0.0, "double")
    , m_sigma("", "sigma", "width of our guassian in Angstrom. default value : max(dh)", false, 0.0, "double")
    , m_filtersigma(
          "", "filtersigma",
          "(no unit). Only the values of the map that deviate more than filtersigma*stdandard "
          "deviation from the average value of the map will be kept. Specify -3 if you want to keep "
          "all the data from map. Default value 0",
          false, 0.0, "double")
    , m_dangle(
          "", "dangle",
          "space between two rotation angles. default value : 360 / (4 pi max(N))^{1/3}.This sampling is "
          "very coarse and the user may provide a better estimate ",
          false, 400.0, "double")
    , m_clusterThreshold("", "clusterThreshold",
                         "the distance between two clusters (in Angstrom). default value : 0.5*radius of "
                         "gyration",
                         false, 0.0, "double")
    , m_odir("", "odir", "the path to the directory in which the solutions will be put. default value : ./",
             false, "./", "string")
    , m_nsolutions("", "nsolutions",
                   "number of solutions computed value : \t * 1000 if clustering is disabled.   * "
                   "1000*nclusters if  clustering is enabled",
                   false, 1000, "integer")
    , m_nclusters("", "nclusters", "number of clustered solutions default value : 10", false, 10, "integer")
    , m_clustering("", "clustering", "turn the clustering on (default)")
    , m_nopadding("", "nopadding", "turn the padding off and the periodicity on")
    , m_multistep("", "multistep", "use multistep algorithm to refine the top conformations")
    , m_resume("", "resume", "continue the scan of an interrupted run from its checkpoint in odir")
    , m_changelogVisitor(*this, "")
    , m_changelog("log", "changelog", "Displays ChangeLog information and exits.", &m_changelogVisitor) {
    addOptions();
}

void FittingWorkflow::addOptions() {
    setOutput(&m_printableOutput);
    TCLAP::Arg* const options[] = {
        &m_ipdb,       &m_iedm,      &m_nmodes,      &m_nthread,   &m_cutoff,           &m_stiffness,
        &m_maxrmsd,    &m_sigma,     &m_filtersigma, &m_dangle,    &m_clusterThreshold, &m_odir,
        &m_nsolutions, &m_nclusters, &m_clustering,  &m_nopadding, &m_multistep,        &m_resume};
    TCLAP::Arg* const hidden[] = {&m_nmodes, &m_cutoff, &m_stiffness, &m_maxrmsd, &m_multistep, &m_resume};

    add(m_changelog);
    for (TCLAP::Arg* option : options) {
        add(option);
        if (std::find(std::begin(hidden), std::end(hidden), option) == std::end(hidden)) {
            option->addToList(m_usageArguments);
        }
    }
}

void FittingWorkflow::parse(int argc, const char* const* argv) {
    TCLAP::CmdLine::parse(argc, argv);
    runCheck([this] {
        checkSettings();
        checkPaths();
    });
}

std::string& FittingWorkflow::getProgramName() {
    m_printableName = printable(_progName);
    return m_printableName;
}

/// Runs a check and ends its exceptions as the library ends those of its own parsing.
template <class Check>
void FittingWorkflow::runCheck(Check check) {
    try {
        check();
    } catch (TCLAP::ArgException& error) {
        if (!getExceptionHandling()) {
            throw;
        }
        failParsing(error);
    }
}

void FittingWorkflow::failParsing(TCLAP::ArgException& error) {
    int status = EXIT_FAILURE;
    try {
        getOutput()->failure(*this, error);
    } catch (const TCLAP::ExitException& end) {
        status = end.getExitStatus();
    }
    std::exit(status);
}

FitSettings FittingWorkflow::settings() const {
    const auto given = [](const NumberArg<double>& option) {
        return option.isSet() ? std::optional<double>(option.getValue()) : std::nullopt;
    };
    FitSettings settings;
    settings.modelPath = m_ipdb.getValue();
    settings.mapPath = m_iedm.getValue();
    settings.outputDirectory = m_odir.getValue();
    settings.modes = m_nmodes.getValue();
    settings.workers = m_nthread.getValue();
    settings.cutoff = m_cutoff.getValue();
    settings.stiffness = m_stiffness.getValue();
    settings.maxRmsd = m_maxrmsd.getValue();
    settings.sigma = given(m_sigma);
    settings.filterSigmas = m_filtersigma.getValue();
    settings.step = given(m_dangle);
    settings.clusterThreshold = given(m_clusterThreshold);
    settings.solutions = m_nsolutions.getValue();
    settings.clusters = m_nclusters.getValue();
    settings.clustering = useClustering();
    settings.padding = !m_nopadding.getValue();
    settings.multistep = m_multistep.getValue();
    settings.resume = m_resume.getValue();
    return settings;
}

void FittingWorkflow::checkSettings() const {
    try {
        settings().check();
    } catch (const SettingError& error) {
        const TCLAP::Arg* const options[] = {&m_nthread,     &m_nmodes,    &m_nsolutions,      &m_nclusters,
                                             &m_cutoff,      &m_stiffness, &m_maxrmsd,         &m_sigma,
                                             &m_filtersigma, &m_dangle,    &m_clusterThreshold};
        const auto option = std::find_if(std::begin(options), std::end(options),
                                         [&](const auto* o) { return o->getName() == error.option(); });
        if (option == std::end(options)) {
            throw TCLAP::CmdLineParseException(error.what(), error.option());
        }
        reject(**option, error.what());
    }
}

void FittingWorkflow::checkPaths() const {
    const std::string& directory = m_odir.getValue();
    if (directory.empty()) {
        reject(m_odir, "The output directory is empty: give a path, or leave the option out for ./");
    }
    const std::string outputs[] = {directory + "/edm.map",
                                   directory + "/original.pdb",
                                   directory + "/Rigid_solution.pdb",
                                   directory + "/Solution.pdb",
                                   directory + "/log.txt",
                                   "./density.map",
                                   directory + "/.selvane-checkpoint",
                                   directory + "/.selvane-checkpoint.new",
                                   directory + "/.selvane-checkpoint.lock"};
    for (const auto* input : {&m_ipdb, &m_iedm}) {
        for (const std::string& output : outputs) {
            if (isSameFile(input->getValue(), output)) {
                reject(*input, "The run would overwrite its input '" + input->getValue() +
                                   "' with its output '" + output +
                                   "': move the input, or give another odir or working directory");
            }
        }
    }
}

bool FittingWorkflow::useClustering() const {
    return m_clustering.getValue() || m_clusterThreshold.isSet() || m_nclusters.isSet();
}

int FittingWorkflow::getCapacity() const {
    return settings().capacity();
}

double FittingWorkflow::getSigma(const cVector3& cellDim) const {
    return m_sigma.isSet() ? m_sigma.getValue() : defaultSigma(cellDim);
}

double FittingWorkflow::getDangle(const unsigned int* mapSize) const {
    return m_dangle.isSet() ? m_dangle.getValue() : defaultStep(mapSize);
}

double FittingWorkflow::getClusterThreshold(const std::vector<std::array<double, 3>>& positions) const {
    return m_clusterThreshold.isSet() ? m_clusterThreshold.getValue() : getRadiusOfGyration(positions);
}

bool FittingWorkflow::saveArgumentLog(const std::string& path, const cVector3& cellDim,
                                      const unsigned int* mapSize,
                                      const std::vector<std::array<double, 3>>& positions) const {
    const FitSettings s = settings();
    std::ofstream log(path, std::ios::out | std::ios::app);
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    log << "run of " << std::ctime(&now) << std::endl;
    log << printable(_progName) << " --ipdb " << printable(s.modelPath) << " --iedm " << printable(s.mapPath);
    log << " --nthread " << s.workers << " --sigma " << getSigma(cellDim) << " --filtersigma "
        << s.filterSigmas << " --dangle " << getDangle(mapSize);
    // Deliberate: a blank too many in front of the threshold, and no word of the hidden options and
    // nopadding.
    if (s.clustering) {
        log << " --clustering "
            << " --clusterThreshold " << getClusterThreshold(positions) << " --nclusters " << s.clusters;
    }
    // Deliberate: the solutions kept, not the option as given.
    log << " --nsolutions " << s.capacity();
    log << " --odir " << printable(s.outputDirectory) << std::endl << std::endl;
    return log.good();
}
