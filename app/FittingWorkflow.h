// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_FITTINGWORKFLOW_H
#define SELVANE_APP_FITTINGWORKFLOW_H

#include <array>
#include <list>
#include <string>
#include <vector>

#include <tclap/CmdLine.h>

#include "Search/FitSettings.h"
#include "app/ChangelogVisitor.h"
#include "app/LongFlagSwitchArg.h"
#include "app/NumberArg.h"
#include "app/PrintableOutput.h"

class cVector3;

/// The command line of a run and all its options, and the record of a run in log.txt. Options are read with
/// getValue() and isSet() of the members; defaults that depend on the input come from the functions below.
class FittingWorkflow : public TCLAP::CmdLine {
public:
    FittingWorkflow();

    /// Parses and checks the command line. Help, version, change log and errors print their texts and end the
    /// process with the library's status; with setExceptionHandling(false) the library's exceptions leave
    /// instead.
    void parse(int argc, const char* const* argv) override;

    /// The arguments that the usage lists, last added first; help, version, change log, "--" and the hidden
    /// options are parsed but not listed.
    std::list<TCLAP::Arg*>& getArgList() override { return m_usageArguments; }

    /// As the texts of the command line show it.
    std::string& getProgramName() override;

    /// All options as plain values; those that depend on the input are unset where not given.
    FitSettings settings() const;

    /// Whether solutions are clustered: by the switch, or by giving one of the two options of clustering.
    bool useClustering() const;

    /// Number of solutions kept: nsolutions, times nclusters when clustering.
    int getCapacity() const;

    /// Width of a Gaussian in angstrom: the option, or the largest edge of the map's cell.
    double getSigma(const cVector3& cellDim) const;

    /// Step between two rotations in degrees: the option, or 360 / (4 pi nMax)^(1/3) with nMax the largest of
    /// the map's three node counts.
    double getDangle(const unsigned int* mapSize) const;

    /// Distance between two clusters in angstrom: the option, or the radius of gyration of the positions.
    double getClusterThreshold(const std::vector<std::array<double, 3>>& positions) const;

    /// Appends the run as a command line that repeats it, with derived values in place of absent options and
    /// without hidden options and nopadding. Control characters of names are shown as printable() does, so
    /// that only a command line with such names does not repeat the run. Silent if the file can't be written.
    /// @param cellDim    edges of the map's cell in angstrom
    /// @param mapSize    the map's node counts along x, y, z
    /// @param positions  the model's atoms
    /// @return whether the record could be written
    bool saveArgumentLog(const std::string& path, const cVector3& cellDim, const unsigned int* mapSize,
                         const std::vector<std::array<double, 3>>& positions) const;

    TCLAP::ValueArg<std::string> m_ipdb;
    TCLAP::ValueArg<std::string> m_iedm;
    NumberArg<unsigned long> m_nmodes;
    NumberArg<unsigned long> m_nthread;
    NumberArg<double> m_cutoff;
    NumberArg<double> m_stiffness;
    NumberArg<double> m_maxrmsd;
    NumberArg<double> m_sigma;
    NumberArg<double> m_filtersigma;
    NumberArg<double> m_dangle;
    NumberArg<double> m_clusterThreshold;
    TCLAP::ValueArg<std::string> m_odir;
    NumberArg<int> m_nsolutions;
    NumberArg<int> m_nclusters;
    TCLAP::SwitchArg m_clustering;
    TCLAP::SwitchArg m_nopadding;
    TCLAP::SwitchArg m_multistep;
    TCLAP::SwitchArg m_resume;

private:
    void addOptions();
    template <class Check>
    void runCheck(Check check);
    void checkSettings() const;
    void checkPaths() const;
    [[noreturn]] void failParsing(TCLAP::ArgException& error);

    PrintableOutput m_printableOutput;
    std::string m_printableName;
    ChangelogVisitor m_changelogVisitor;
    LongFlagSwitchArg m_changelog;
    std::list<TCLAP::Arg*> m_usageArguments;
};

#endif
