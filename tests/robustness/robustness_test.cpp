// SPDX-License-Identifier: GPL-3.0-or-later
// Odd inputs, one case each: how the run ends, what it says, what becomes of the files. docs/robustness.md is
// the table of these cases.
#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "app/tests/RunFixture.h"
#include "tests/robustness/cases.h"

namespace {

namespace fs = std::filesystem;

const std::vector<std::string> solutions = {"Rigid_solution.pdb", "Solution.pdb"};
const std::vector<std::string> results = {"Rigid_solution.pdb", "Solution.pdb", "original.pdb", "edm.map"};
const std::string earlier = "of an earlier run\n";

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

/// Everything below a directory: regular files with their contents, anything else by its name.
std::map<std::string, std::string> snapshot(const fs::path& directory) {
    std::map<std::string, std::string> content;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
        content[entry.path().string()] = entry.is_regular_file() ? contentOf(entry.path()) : "";
    }
    return content;
}

/// Nothing that a terminal would obey: no control character of either set but those allowed.
void expectNoControls(const std::string& text, const std::string& allowed) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : '\0');
        const bool isControl = byte < 0x20 || byte == 0x7f || (byte == 0xc2 && next >= 0x80 && next < 0xa0);
        EXPECT_TRUE(!isControl || contains(allowed, std::string(1, text[i])))
            << "byte " << int{byte} << " at " << i << " of " << text;
    }
}

class Robustness : public RunFixture, public testing::WithParamInterface<Case> {
protected:
    Robustness() : m_scene(m_directory / "work") {
        fs::create_directory(m_scene.directory / "out");
        for (const std::string& name : results) {
            m_scene.write("out/" + name, earlier);
        }
        m_scene.write("out/log.txt", earlier);
        m_scene.write("density.map", earlier);
    }

    RunResult runScene() const {
        Arguments arguments;
        for (const auto& [name, value] : m_scene.options) {
            arguments.push_back("--" + name);
            arguments.push_back(value);
        }
        return run(arguments);
    }

    /// The results stand complete in place of the earlier ones, and nothing else has changed.
    void expectResults(const RunResult& result, std::map<std::string, std::string> before) const {
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_TRUE(contains(result.out, " Timing : "));
        const fs::path directory = m_scene.directory / m_scene.options.at("odir");
        std::map<std::string, std::string> after = snapshot(m_scene.directory);
        std::vector<fs::path> written = {m_scene.directory / "density.map", directory / "log.txt"};
        for (const std::string& name : results) {
            written.push_back(directory / name);
        }
        for (const fs::path& path : written) {
            EXPECT_NE(after[path.string()], earlier) << path;
            before.erase(path.string());
            after.erase(path.string());
        }
        before.erase(directory.string());
        after.erase(directory.string());
        EXPECT_TRUE(before == after) << "other files are as they were";
        expectNoControls(m_scene.read(m_scene.options.at("odir") + "/log.txt"), "\n");
    }

    void expectUnwritten(const RunResult& result) const {
        EXPECT_EQ(result.status, 0) << result.err;
        for (const std::string& name : solutions) {
            const std::string path = m_scene.options.at("odir") + "/" + name;
            EXPECT_TRUE(contains(result.out, "[ERROR] couldn't create the file ")) << result.out;
            EXPECT_TRUE(contains(result.out, " : " + path + "\n")) << result.out;
        }
    }

    void expectEarlierSolution(const RunResult& result) const {
        EXPECT_EQ(result.status, 0) << result.err;
        for (const std::string& name : solutions) {
            const fs::path path = m_scene.directory / "out" / name;
            EXPECT_TRUE(fs::is_directory(path) || contentOf(path) == earlier) << name;
        }
        for (const char* name : {"out/original.pdb", "out/edm.map", "out/log.txt", "density.map"}) {
            EXPECT_NE(contentOf(m_scene.directory / name), earlier) << name;
        }
    }

    Scene m_scene;
};

TEST_P(Robustness, RunEndsAsDocumented) {
    const Case& odd = GetParam();
    odd.spoil(m_scene);
    const std::map<std::string, std::string> before = snapshot(m_scene.directory);
    const RunResult result = runScene();
    expectNoControls(result.out, "\n\r"); // the bars return to the start of their line
    expectNoControls(result.err, "\n");
    EXPECT_TRUE(contains(result.err, odd.says)) << result.err;
    if (odd.says.empty() && odd.end != End::FitsIfAble) {
        EXPECT_EQ(result.err, "");
    }
    const bool isAble = odd.end == End::FitsIfAble && result.status == 0;
    if (odd.end == End::Fits || isAble) {
        expectResults(result, before);
        return;
    }
    if (odd.end == End::FitsUnwritten) {
        expectUnwritten(result);
        return;
    }
    if (odd.end == End::FitsHalf) {
        expectEarlierSolution(result);
        return;
    }
    if (odd.end == End::FitsIfAble) {
        EXPECT_EQ(result.status, 1) << result.err;
        EXPECT_TRUE(contains(result.err, "selvane: ")) << result.err;
        return;
    }
    EXPECT_EQ(result.signal, odd.end == End::Aborts ? SIGABRT : 0) << result.err;
    if (odd.end != End::Aborts) {
        EXPECT_EQ(result.status, odd.end == End::EndsEarly ? 0 : 1) << result.err;
    }
    const bool isRefused = odd.end == End::Refused;
    EXPECT_EQ(contains(result.err, "PARSE ERROR: "), isRefused) << result.err;
    EXPECT_EQ(result.out.empty(), isRefused) << result.out;
    EXPECT_TRUE(isRefused || contains(result.err, "selvane: ")) << result.err;
    EXPECT_TRUE(before == snapshot(m_scene.directory)) << "all files are as they were";
}

std::string testName(const testing::TestParamInfo<Case>& info) {
    std::string name;
    for (const char c : info.param.what) {
        name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return std::to_string(info.index) + "_" + name;
}

INSTANTIATE_TEST_SUITE_P(Paths, Robustness, testing::ValuesIn(pathCases()), testName);
INSTANTIATE_TEST_SUITE_P(Maps, Robustness, testing::ValuesIn(mapCases()), testName);
INSTANTIATE_TEST_SUITE_P(Models, Robustness, testing::ValuesIn(modelCases()), testName);
INSTANTIATE_TEST_SUITE_P(Options, Robustness, testing::ValuesIn(optionCases()), testName);
INSTANTIATE_TEST_SUITE_P(Directories, Robustness, testing::ValuesIn(directoryCases()), testName);

const char* nameOf(End end) {
    switch (end) {
    case End::Fits:
        return "fits";
    case End::FitsIfAble:
        return "fits, if able";
    case End::FitsUnwritten:
        return "fits, unwritten";
    case End::FitsHalf:
        return "fits, solutions as they were";
    case End::Refused:
        return "refused";
    case End::Stops:
        return "stops";
    case End::Aborts:
        return "aborts";
    case End::EndsEarly:
        return "ends early";
    }
    return "";
}

/// A cell of a table: no line ends, no bars, long texts cut.
std::string cell(const std::string& text) {
    constexpr std::size_t longest = 200;
    std::string result;
    for (const char c : text.substr(0, longest)) {
        result += c == '\n' ? "\\n" : c == '\t' ? "\\t" : c == '|' ? "\\|" : std::string(1, c);
    }
    return result;
}

std::string table(const std::string& title, const std::vector<Case>& cases) {
    std::string text = "\n## " + title + "\n\n| Input | The run | The error stream says |\n|---|---|---|\n";
    for (const Case& odd : cases) {
        text += "| " + cell(odd.what) + " | " + nameOf(odd.end) + " | " +
                (odd.says.empty() ? "" : "`" + cell(odd.says) + "` ") + "|\n";
    }
    return text;
}

std::string document() {
    return R"(# What a run does with odd input

Every row is a test, and this text is written by it: after a change of the cases in `tests/robustness`, run

    SELVANE_WRITE_DOCUMENTS=1 build/dev/bin/robustness_tests --gtest_filter='RobustnessDocument.*'

Each test starts from a model, its map and the results of an earlier run, changes one thing and compares how the run
ends, what it says and every file with the row. The run

- **fits**: status 0; all results are written anew, all other files are as they were;
- **fits, if able**: as above, perhaps after a warning, or status 1 and what the machine lacks;
- **fits, unwritten**: status 0; the standard output says "[ERROR] couldn't create the file" for each solution file;
- **fits, solutions as they were**: status 0; the solution file that could be written does not replace an earlier one,
  since both are to be of one run; the other results are written anew;
- **refused**: status 1 and an error of the command line before anything is done; every file is as it was;
- **stops**: status 1 in the stage that finds the fault; every file is as it was;
- **aborts**: ended by SIGABRT (134 in a shell) in that stage; every file is as it was;
- **ends early**: status 0 without results; every file is as it was.

Where the last column is empty, so is the standard error stream. In none of the cases is memory asked for by a number
that the length of the file does not bear out; `scripts/fuzz.sh` looks for inputs that do.
)" + table("Paths", pathCases()) +
           table("Maps", mapCases()) + table("Models", modelCases()) + table("Options", optionCases()) +
           table("Output directories", directoryCases());
}

TEST(RobustnessDocument, HoldsTheCasesThatAreTested) {
    const fs::path path = fs::path(SELVANE_SOURCE_DIR) / "docs" / "robustness.md";
    if (std::getenv("SELVANE_WRITE_DOCUMENTS") != nullptr) {
        std::ofstream(path) << document();
    }
    EXPECT_TRUE(contentOf(path) == document())
        << "docs/robustness.md is not what the cases say; it tells how to write it anew";
}

} // namespace
