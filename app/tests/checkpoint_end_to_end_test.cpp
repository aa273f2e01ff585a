// SPDX-License-Identifier: GPL-3.0-or-later
// Runs that are interrupted, and runs that go on from where those were.
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include "app/tests/RunFixture.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr const char* checkpointName = ".selvane-checkpoint";

/// The program as users have it, but for checkpoints every 50 ms.
const char* const shortIntervalProgram = SELVANE_SHORT_INTERVAL_BINARY;

/// What the standard output of a run leads to.
enum class Report { ToFile, ToClosedPipe, Closed };

/// A run in progress. Killed if it is still going when this object goes.
class RunInProgress {
public:
    RunInProgress(std::string program, const fs::path& directory, const Arguments& arguments,
                  Report report = Report::ToFile)
        : m_streams(directory / "streams") {
        Arguments words = {std::move(program)};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> pointers;
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        const std::string out = m_streams / "background-out";
        const std::string err = m_streams / "background-err";
        const std::string work = directory / "work";
        m_process = fork();
        if (m_process == 0) {
            become(work.c_str(), out.c_str(), err.c_str(), report, pointers);
        }
    }
    RunInProgress(const RunInProgress&) = delete;
    RunInProgress& operator=(const RunInProgress&) = delete;
    ~RunInProgress() {
        if (m_process > 0) {
            send(SIGKILL);
            wait();
        }
    }

    void send(int signal) const { kill(m_process, signal); }

    RunResult wait() {
        int state = 0;
        waitpid(m_process, &state, 0);
        m_process = -1;
        RunResult result;
        if (WIFEXITED(state)) {
            result.status = WEXITSTATUS(state);
        }
        if (WIFSIGNALED(state)) {
            result.signal = WTERMSIG(state);
        }
        result.out = contentOf("background-out");
        result.err = contentOf("background-err");
        return result;
    }

private:
    [[noreturn]] static void become(const char* work, const char* out, const char* err, Report report,
                                    const std::vector<char*>& words) {
        int pipeEnds[2];
        int file = open(out, O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (report == Report::ToClosedPipe && pipe(pipeEnds) == 0) {
            close(pipeEnds[0]);
            file = pipeEnds[1];
        }
        dup2(file, STDOUT_FILENO);
        dup2(open(err, O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
        if (report == Report::Closed) {
            close(STDOUT_FILENO);
        }
        // Jobs in the background, and tests that are one, have some of them ignored.
        for (const int each : {SIGINT, SIGTERM, SIGPIPE}) {
            std::signal(each, SIG_DFL);
        }
        if (chdir(work) == 0) {
            execv(words.front(), words.data());
        }
        _exit(127);
    }

    std::string contentOf(const char* name) const {
        std::ifstream file(m_streams / name);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    fs::path m_streams;
    pid_t m_process = -1;
};

class Interruptions : public RunFixture {
protected:
    static Arguments inDirectory(const std::string& odir, Arguments options, const Arguments& more = {}) {
        options.insert(options.end(), {"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", odir});
        options.insert(options.end(), more.begin(), more.end());
        return options;
    }

    /// 1,872 rotations: some time, even on a fast machine.
    static Arguments longScan(const Arguments& more = {}) {
        Arguments options = {"--dangle", "20", "--nsolutions", "50"};
        options.insert(options.end(), more.begin(), more.end());
        return options;
    }

    RunInProgress start(const Arguments& arguments, Report report = Report::ToFile) const {
        return RunInProgress(shortIntervalProgram, m_directory, arguments, report);
    }

    std::string checkpointOf(const std::string& odir) const { return odir + "/" + checkpointName; }

    /// Starts a run and ends it by a signal soon after it has written a checkpoint; an older one is no sign.
    RunResult interrupt(const Arguments& arguments, const std::string& odir, int signal) const {
        const fs::path path = m_directory / "work" / checkpointOf(odir);
        const auto before = fs::exists(path) ? fs::last_write_time(path) : fs::file_time_type::min();
        RunInProgress running = start(arguments);
        const auto end = Clock::now() + std::chrono::seconds(60);
        std::error_code missing;
        while (Clock::now() < end) {
            const auto written = fs::last_write_time(path, missing);
            if (!missing && written != before) {
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const auto sent = Clock::now();
        running.send(signal);
        const RunResult result = running.wait();
        EXPECT_LT(Clock::now() - sent, std::chrono::seconds(1));
        EXPECT_EQ(result.signal, signal) << "the scan is too short for this test: " << result.err;
        EXPECT_TRUE(fs::exists(path));
        return result;
    }

    void expectSameResults(const std::string& odir, const std::string& expected) const {
        for (const char* name : {"/Rigid_solution.pdb", "/Solution.pdb", "/original.pdb", "/edm.map"}) {
            EXPECT_FALSE(read(odir + name).empty()) << name;
            EXPECT_TRUE(read(odir + name) == read(expected + name)) << name;
        }
    }

    static unsigned long rotationsDone(const RunResult& resumed) {
        const std::size_t place = resumed.err.find("where ");
        return place == std::string::npos ? 0 : std::stoul(resumed.err.substr(place + 6));
    }

    /// A run that is interrupted twice ends with the results of one that is not.
    void expectSurvival(const Arguments& options, int signal) {
        ASSERT_EQ(run(inDirectory("whole", options)).status, 0);
        interrupt(inDirectory("broken", options), "broken", signal);
        EXPECT_FALSE(exists("broken/Solution.pdb"));
        interrupt(inDirectory("broken", options, {"--resume"}), "broken", signal);
        const RunResult resumed = run(inDirectory("broken", options, {"--resume"}));
        EXPECT_EQ(resumed.status, 0) << resumed.err;
        EXPECT_GT(rotationsDone(resumed), 0U) << resumed.err;
        expectSameResults("broken", "whole");
        EXPECT_EQ(entries("broken"), entries("whole")) << "the checkpoint goes with the end of the run";
    }

    void expectRefusal(const Arguments& arguments, const std::string& text) const {
        const RunResult result = run(arguments);
        EXPECT_EQ(result.status, 1) << result.err;
        EXPECT_TRUE(contains(result.err, "selvane: fit/.selvane-checkpoint: ")) << result.err;
        EXPECT_TRUE(contains(result.err, text)) << result.err;
        EXPECT_TRUE(contains(result.err, "without --resume")) << result.err;
    }
};

TEST_F(Interruptions, KilledRunGoesOnToTheSameBytes) {
    writeInputs();
    expectSurvival(longScan({"--nthread", "1"}), SIGKILL);
}

TEST_F(Interruptions, InterruptedRunOfSeveralWorkersGoesOnToTheSameBytes) {
    writeInputs();
    expectSurvival(longScan({"--nthread", "3"}), SIGINT);
}

TEST_F(Interruptions, ClusteredRunGoesOnToTheSameBytes) {
    writeInputs();
    expectSurvival(longScan({"--nthread", "2", "--nclusters", "4", "--clusterThreshold", "3"}), SIGTERM);
}

TEST_F(Interruptions, RunWithModesGoesOnToTheSameBytes) {
    writeInputs();
    expectSurvival(longScan({"--nthread", "2", "--nmodes", "4", "--maxrmsd", "1"}), SIGTERM);
}

TEST_F(Interruptions, MultistepRunGoesOnToTheSameBytes) {
    writeInputs();
    expectSurvival({"--dangle", "60", "--nsolutions", "20", "--nthread", "2", "--multistep", "--nmodes", "3",
                    "--maxrmsd", "0.5"},
                   SIGINT);
}

TEST_F(Interruptions, TheLastLineTellsWhereTheCheckpointIs) {
    writeInputs();
    for (const auto& [signal, name] : {std::pair{SIGINT, "SIGINT"}, std::pair{SIGTERM, "SIGTERM"}}) {
        const RunResult result = interrupt(inDirectory("fit", longScan()), "fit", signal);
        const std::vector<std::string> lines = linesOf(result.err);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), std::string("selvane: interrupted by ") + name +
                                    ", the last checkpoint is fit/.selvane-checkpoint; the same command with "
                                    "--resume goes on from it");
        EXPECT_FALSE(exists("fit/.selvane-checkpoint.new"));
        fs::remove(m_directory / "work" / checkpointOf("fit"));
    }
}

TEST_F(Interruptions, WithoutACheckpointTheLineSaysSo) {
    writeInputs();
    RunInProgress running(binaryPath(), m_directory, inDirectory("fit", longScan()));
    while (!exists("density.map")) { // made right before the scan
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    running.send(SIGTERM);
    const RunResult result = running.wait();
    EXPECT_EQ(result.signal, SIGTERM);
    EXPECT_EQ(result.err, "selvane: interrupted by SIGTERM, there is no checkpoint to resume from\n");
}

TEST_F(Interruptions, ARunShorterThanAMinuteWritesNoCheckpoint) {
    writeInputs();
    RunInProgress running(binaryPath(), m_directory, inDirectory("fit", longScan()));
    bool seen = false;
    while (!exists("fit/Solution.pdb")) {
        seen = seen || exists(checkpointOf("fit"));
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(running.wait().status, 0);
    EXPECT_FALSE(seen);
}

TEST_F(Interruptions, CheckpointsChangeNoResultsAndLeaveNothingBehind) {
    writeInputs();
    ASSERT_EQ(run(inDirectory("whole", longScan({"--nthread", "2"}))).status, 0);
    const RunResult result = start(inDirectory("fit", longScan({"--nthread", "2"}))).wait();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    expectSameResults("fit", "whole");
    EXPECT_EQ(entries("fit"), entries("whole"));
}

TEST_F(Interruptions, ResumeStandsNeitherInUsageNorInTheLog) {
    writeInputs();
    for (const char* flag : {"--help", "--nonsense"}) {
        const RunResult usage = run({flag});
        EXPECT_FALSE(contains(usage.out + usage.err, "resume"));
    }
    interrupt(inDirectory("fit", longScan()), "fit", SIGKILL);
    EXPECT_FALSE(exists("fit/log.txt"));
    EXPECT_EQ(run(inDirectory("fit", longScan(), {"--resume"})).status, 0);
    EXPECT_TRUE(contains(read("fit/log.txt"), "--dangle 20"));
    EXPECT_FALSE(contains(read("fit/log.txt"), "resume"));
}

TEST_F(Interruptions, NothingToResumeIsAnError) {
    writeInputs();
    expectRefusal(inDirectory("fit", quick({"--resume"})), "there is no checkpoint to resume from");
    EXPECT_TRUE(entries("fit").empty());
    EXPECT_FALSE(exists("density.map"));
}

TEST_F(Interruptions, ACheckpointOfAnotherRunIsRefusedAndNothingOverwritten) {
    writeInputs();
    const Arguments options = longScan({"--nthread", "2"});
    interrupt(inDirectory("fit", options), "fit", SIGKILL);
    const std::string checkpoint = read(checkpointOf("fit"));
    write("fit/Solution.pdb", "of an earlier run");
    fs::remove(m_directory / "work" / "density.map");
    const Arguments resume = inDirectory("fit", options, {"--resume"});

    expectRefusal(inDirectory("fit", longScan({"--nthread", "3", "--resume"})),
                  "a run with --nthread 2 and not 3");
    expectRefusal(inDirectory("fit", {"--dangle", "30", "--nsolutions", "50", "--nthread", "2", "--resume"}),
                  "a run with --dangle 20 and not 30");
    expectRefusal(inDirectory("fit", longScan({"--nthread", "2", "--nopadding", "--resume"})), "--nopadding");
    expectRefusal(inDirectory("fit", longScan({"--nthread", "2", "--sigma", "3", "--resume"})), "--sigma");
    expectRefusal(inDirectory("fit", longScan({"--nthread", "2", "--clustering", "--resume"})),
                  "--clustering");
    expectRefusal(inDirectory("fit", longScan({"--nthread", "2", "--multistep", "--resume"})), "--multistep");
    expectRefusal(inDirectory("fit", longScan({"--nthread", "2", "--maxrmsd", "1", "--resume"})),
                  "--maxrmsd");

    const std::string map = read("map.ccp4");
    std::string otherMap = map;
    setFloatAt(otherMap, 1024, 0.5F);
    write("map.ccp4", otherMap);
    expectRefusal(resume, "a map of other contents than map.ccp4");
    write("map.ccp4", map);

    const std::string model = read("model.pdb");
    std::string otherModel = model;
    otherModel[21] = 'Z'; // a chain: it moves no atom but stands in the results
    write("model.pdb", otherModel);
    expectRefusal(resume, "a model of other contents than model.pdb");
    write("model.pdb", model);

    write(checkpointOf("fit"), checkpoint.substr(0, checkpoint.size() - 1));
    expectRefusal(resume, "damaged or cut short");
    std::string otherVersion = checkpoint;
    otherVersion[8] = 99;
    write(checkpointOf("fit"), otherVersion);
    expectRefusal(resume, "of version 99");

    EXPECT_EQ(read("fit/Solution.pdb"), "of an earlier run");
    EXPECT_FALSE(exists("density.map"));
    EXPECT_EQ(entries("fit"), (std::set<std::string>{checkpointName, "Solution.pdb"}));
    write(checkpointOf("fit"), checkpoint);
    EXPECT_EQ(run(resume).status, 0);
}

TEST_F(Interruptions, OptionsCountByTheirValueAndPathsDoNotCount) {
    writeInputs();
    interrupt(inDirectory("fit", longScan({"--nthread", "1"})), "fit", SIGKILL);
    fs::copy(m_directory / "work" / "model.pdb", m_directory / "work" / "same.pdb");
    fs::rename(m_directory / "work" / "fit", m_directory / "work" / "moved");
    const RunResult result =
        run({"--ipdb", "same.pdb", "--iedm", "./map.ccp4", "--odir", "moved", "--dangle", "20.0",
             "--nsolutions", "50", "--nthread", "1", "--sigma", "2.5", "--cutoff", "10", "--resume"});
    EXPECT_EQ(result.status, 0) << result.err;
}

TEST_F(Interruptions, ANewRunTellsOfTheScanItWouldReplace) {
    writeInputs();
    interrupt(inDirectory("fit", longScan()), "fit", SIGKILL);
    const std::string checkpoint = read(checkpointOf("fit"));
    const RunResult result = run(inDirectory("fit", quick()));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.err, "selvane: fit/.selvane-checkpoint is left of an interrupted run"));
    EXPECT_EQ(read(checkpointOf("fit")), checkpoint) << "a short run leaves it alone";
}

TEST_F(Interruptions, ARunWithoutAllItsResultsKeepsItsCheckpoint) {
    writeInputs();
    ASSERT_EQ(run(inDirectory("whole", longScan({"--nthread", "2"}))).status, 0);
    fs::create_directory(m_directory / "work" / "fit");
    fs::create_symlink("/dev/full", m_directory / "work" / "fit" / "Solution.pdb");
    const RunResult full = start(inDirectory("fit", longScan({"--nthread", "2"}))).wait();
    EXPECT_EQ(full.status, 1);
    EXPECT_TRUE(contains(full.err, "this run is not complete; the same command with --resume goes on from "
                                   "fit/.selvane-checkpoint"))
        << full.err;
    fs::remove(m_directory / "work" / "fit" / "Solution.pdb");
    EXPECT_EQ(run(inDirectory("fit", longScan({"--nthread", "2"}), {"--resume"})).status, 0);
    expectSameResults("fit", "whole");
    EXPECT_FALSE(exists(checkpointOf("fit")));
}

/// A night's work must outlast a name that was taken.
TEST_F(Interruptions, AResultThatCannotBeOpenedKeepsTheCheckpoint) {
    writeInputs();
    const Arguments options = longScan({"--nthread", "2"});
    ASSERT_EQ(run(inDirectory("whole", options)).status, 0);
    for (const char* name : {"Solution.pdb", "Rigid_solution.pdb", "original.pdb", "edm.map"}) {
        SCOPED_TRACE(name);
        const fs::path odir = m_directory / "work" / "fit";
        fs::create_directories(odir / name);
        const RunResult blocked = start(inDirectory("fit", options)).wait();
        EXPECT_EQ(blocked.status, 0);
        EXPECT_TRUE(contains(blocked.err,
                             "this run is not complete; the same command with --resume goes on from "
                             "fit/.selvane-checkpoint"))
            << blocked.err;
        fs::remove(odir / name);
        const RunResult resumed = run(inDirectory("fit", options, {"--resume"}));
        EXPECT_EQ(resumed.status, 0);
        EXPECT_GT(rotationsDone(resumed), 0U) << resumed.err;
        expectSameResults("fit", "whole");
        EXPECT_EQ(entries("fit"), entries("whole"));
        fs::remove_all(odir);
    }
}

/// Holds the lock of a directory's checkpoint, as another run does.
class OtherRun {
public:
    explicit OtherRun(const fs::path& odir)
        : m_path(odir / ".selvane-checkpoint.lock")
        , m_file(open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        EXPECT_EQ(flock(m_file, LOCK_EX | LOCK_NB), 0);
    }
    OtherRun(const OtherRun&) = delete;
    OtherRun& operator=(const OtherRun&) = delete;
    ~OtherRun() {
        EXPECT_EQ(unlink(m_path.c_str()), 0) << "it was not its own any more";
        close(m_file);
    }

private:
    fs::path m_path;
    int m_file;
};

TEST_F(Interruptions, ASecondRunInTheSameDirectoryLeavesTheCheckpointOfTheFirstAlone) {
    writeInputs();
    const Arguments options = longScan({"--nthread", "2"});
    ASSERT_EQ(run(inDirectory("whole", options)).status, 0);
    fs::create_directory(m_directory / "work" / "fit");
    write(checkpointOf("fit"), "of the first run");
    const OtherRun other(m_directory / "work" / "fit");
    const RunResult second = start(inDirectory("fit", options)).wait();
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.err,
              "selvane: fit/.selvane-checkpoint is in use by another run with the same --odir. This run "
              "takes no checkpoints, and whichever ends last leaves its results.\n");
    EXPECT_EQ(read(checkpointOf("fit")), "of the first run");
    expectSameResults("fit", "whole");

    write("fit/Solution.pdb", "earlier");
    const RunResult resumed = run(inDirectory("fit", options, {"--resume"}));
    EXPECT_EQ(resumed.status, 1);
    EXPECT_TRUE(contains(resumed.err, "is in use by another run")) << resumed.err;
    EXPECT_EQ(read("fit/Solution.pdb"), "earlier");
    EXPECT_EQ(read(checkpointOf("fit")), "of the first run");
}

TEST_F(Interruptions, ALockThatAKilledRunLeftHoldsNobodyUp) {
    writeInputs();
    interrupt(inDirectory("fit", longScan()), "fit", SIGKILL);
    EXPECT_TRUE(exists("fit/.selvane-checkpoint.lock"));
    const RunResult resumed = run(inDirectory("fit", longScan(), {"--resume"}));
    EXPECT_EQ(resumed.status, 0) << resumed.err;
    EXPECT_FALSE(exists("fit/.selvane-checkpoint.lock"));
}

TEST_F(Interruptions, AnEndingStageLeavesNoLock) {
    writeInputs();
    write("none.pdb", "");
    EXPECT_EQ(run(inDirectory("fit", {"--dangle", "60"}, {})).status, 0);
    const std::set<std::string> before = entries("fit");
    EXPECT_EQ(run({"--ipdb", "none.pdb", "--iedm", "map.ccp4", "--odir", "fit"}).status, 1);
    EXPECT_EQ(run({"--ipdb", "model.pdb", "--iedm", "nowhere", "--odir", "fit"}).signal, SIGABRT);
    EXPECT_EQ(entries("fit"), before);
}

/// While the solutions wait for each other they are hidden files.
TEST_F(Interruptions, ASignalLeavesNoHiddenFile) {
    writeInputs();
    const Arguments options = {"--dangle", "40", "--nsolutions", "3000", "--nthread", "1"};
    const auto isHidden = [](const std::string& name) { return name.rfind(".selvane-", 0) == 0; };
    for (const int signal : {SIGINT, SIGTERM}) {
        RunInProgress running(binaryPath(), m_directory, inDirectory("fit", options));
        bool seen = false;
        while (!seen && !exists("fit/Solution.pdb")) {
            for (const std::string& name : exists("fit") ? entries("fit") : std::set<std::string>()) {
                seen = seen || (isHidden(name) && contains(name, ".partial"));
            }
        }
        running.send(signal);
        EXPECT_EQ(running.wait().signal, signal);
        EXPECT_TRUE(seen);
        for (const std::string& name : entries("fit")) {
            EXPECT_FALSE(isHidden(name)) << name;
        }
        EXPECT_EQ(exists("fit/Solution.pdb"), exists("fit/Rigid_solution.pdb"));
    }
}

TEST_F(Interruptions, CheckpointsThatCannotBeWrittenCostOneLineAndNoResults) {
    writeInputs();
    fs::create_directories(m_directory / "work" / "fit" / ".selvane-checkpoint.new");
    const RunResult result = start(inDirectory("fit", longScan())).wait();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(linesOf(result.err).size(), 1U) << result.err;
    EXPECT_TRUE(contains(result.err, "selvane: no checkpoint could be written (")) << result.err;
    EXPECT_TRUE(exists("fit/Solution.pdb"));
}

TEST_F(Interruptions, AnInputIsNeverTakenForTheCheckpoint) {
    writeInputs();
    write(checkpointName, read("model.pdb"));
    const RunResult result = run({"--ipdb", checkpointName, "--iedm", "map.ccp4"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, "would overwrite its input")) << result.err;
}

TEST_F(Interruptions, AReportThatNobodyReadsCostsNoResults) {
    writeInputs();
    const Arguments options = longScan({"--nthread", "2"});
    ASSERT_EQ(run(inDirectory("whole", options)).status, 0);
    for (const Report report : {Report::ToClosedPipe, Report::Closed}) {
        const RunResult result = start(inDirectory("fit", options), report).wait();
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.signal, 0);
        EXPECT_EQ(result.err, "");
        expectSameResults("fit", "whole");
    }
}

} // namespace
