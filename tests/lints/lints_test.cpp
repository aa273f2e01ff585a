// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "lints.h"

namespace lints {
namespace {

namespace fs = std::filesystem;

const fs::path sourceRoot = SELVANE_SOURCE_DIR;

const std::string spdx = "// SPDX-License-Identifier: GPL-3.0-or-later\n";

/// Two layers, one above the other, a private one and a library that only the top may see.
const std::string smallTable = "# a comment\n"
                               "Base = Base/*\n"
                               "Log = Log/*\n"
                               "Top = Top/*\n"
                               "app = app/*\n"
                               "\n"
                               "Base -> (Log)\n"
                               "Log ->\n"
                               "Top -> Base\n"
                               "app -> Top\n"
                               "<wide*> : Top\n";

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

Layers projectLayers() {
    std::ifstream in(sourceRoot / "tests" / "lints" / "layers.txt");
    std::ostringstream table;
    table << in.rdbuf();
    return parseLayers(table.str());
}

TEST(Project, NoIncludeGoesAgainstTheLayers) {
    const std::vector<std::string> faults = layerFaults(sourceRoot, projectLayers());
    EXPECT_TRUE(faults.empty()) << joined(faults);
}

/// First cells of the table of layers, those of a row "· part" behind the target above them.
std::set<std::string> layersInTheDocument() {
    std::ifstream in(sourceRoot / "docs" / "architecture.md");
    std::set<std::string> names;
    std::string line;
    std::string target;
    while (std::getline(in, line) && line.rfind("| target |", 0) != 0) {
    }
    std::getline(in, line); // the rule below the head
    while (std::getline(in, line) && line.rfind("| ", 0) == 0) {
        const std::string name = line.substr(2, line.find(" |") - 2);
        const std::string part = "· ";
        if (name.rfind(part, 0) == 0) {
            names.erase(target);
            names.insert(target + "/" + name.substr(part.size()));
        } else {
            target = name;
            names.insert(name);
        }
    }
    return names;
}

TEST(Project, ArchitectureDocumentHasARowForEveryLayer) {
    std::set<std::string> names;
    for (const auto& line : projectLayers().files) {
        names.insert(line.second);
    }
    EXPECT_EQ(layersInTheDocument(), names);
}

std::string textOf(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(sourceRoot / path).rdbuf();
    return text.str();
}

TEST(Project, EveryStepOfTheChecksStandsInTheirHeadAndInTheReadme) {
    const std::string script = textOf("scripts/check.sh");
    const std::string readme = textOf("README.md");
    const std::string list = "ALL_STEPS=(";
    const std::size_t begin = script.find(list) + list.size();
    std::istringstream steps(script.substr(begin, script.find(')', begin) - begin));
    std::size_t count = 0;
    for (std::string step; steps >> step; ++count) {
        EXPECT_NE(script.find("\n#     " + step + " "), std::string::npos) << step;
        EXPECT_NE(script.find("\ncheck_" + step + "() {"), std::string::npos) << step;
        EXPECT_NE(readme.find("`" + step + "`"), std::string::npos) << step;
    }
    EXPECT_GT(count, 0U);
}

TEST(Project, LibrariesLeaveTheNameOfTheProgramToItsMessageSink) {
    for (const auto& entry : fs::recursive_directory_iterator(sourceRoot / "Libraries")) {
        const fs::path path = entry.path().lexically_relative(sourceRoot);
        if (entry.is_regular_file() && path.string().find("/tests/") == std::string::npos) {
            std::ostringstream text;
            text << std::ifstream(entry.path()).rdbuf();
            EXPECT_EQ(text.str().find("selvane: "), std::string::npos) << path;
        }
    }
}

TEST(Project, EverySourceStartsWithTheLicenceLine) {
    const std::vector<std::string> faults = licenceFaults(sourceRoot);
    EXPECT_TRUE(faults.empty()) << joined(faults);
}

TEST(Project, EveryTestFileIsNamedAndEveryNamedOneExists) {
    const std::vector<std::string> faults = testListFaults(sourceRoot);
    EXPECT_TRUE(faults.empty()) << joined(faults);
}

TEST(Matches, StarStandsForAnyCharacters) {
    EXPECT_TRUE(matches("Math/cGrid.*", "Math/cGrid.h"));
    EXPECT_TRUE(matches("*Order*", "ThirdOrderCrossCorrelation.cpp"));
    EXPECT_TRUE(matches("a*", "a"));
    EXPECT_FALSE(matches("Math/cGrid.*", "Math/cGridPadding.h"));
    EXPECT_FALSE(matches("Math", "Math/cGrid.h"));
}

TEST(ParseLayers, FirstMatchingLineGivesTheLayer) {
    const Layers layers = projectLayers();
    EXPECT_EQ(layers.layerOf("Math/cGrid.cpp"), "MathGrid");
    EXPECT_EQ(layers.layerOf("Math/cVector3.h"), "MathPrimitives");
    EXPECT_EQ(layers.layerOf("CrossCorrelation/ThirdOrderCrossCorrelation.h"),
              "CrossCorrelation/correlations");
    EXPECT_EQ(layers.layerOf("Unknown/x.h"), "");
}

TEST(ParseLayers, WhatIsForSourcesIsNotPassedOn) {
    const Layers layers = projectLayers();
    EXPECT_EQ(layers.headers.at("MathGrid").count("IO"), 0u);
    EXPECT_EQ(layers.sources.at("MathGrid").count("IO"), 1u);
    EXPECT_EQ(layers.sources.at("Interpolation").count("IO"), 0u);
}

TEST(ParseLayers, ProjectHasNoCycle) {
    const Layers layers = projectLayers();
    for (const auto& [layer, uses] : layers.headers) {
        for (const std::string& used : uses) {
            EXPECT_TRUE(used == layer || layers.headers.at(used).count(layer) == 0)
                << layer << " and " << used;
        }
    }
}

TEST(ParseLayers, RefusesUnknownLinesAndLayersWithoutFiles) {
    EXPECT_THROW(parseLayers("Base Base/*\n"), std::runtime_error);
    EXPECT_THROW(parseLayers("Base = Base/*\nBase -> Missing\n"), std::runtime_error);
}

/// A source tree of a few files below a temporary folder.
class FakeTree : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "selvane-lints-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_root = pattern;
        write("Libraries/Base/b.h", spdx);
        write("Libraries/Log/l.h", spdx);
        write("Libraries/Top/t.h", spdx + "#include \"Base/b.h\"\n#include <vector>\n#include <wide.h>\n");
        write("app/main.cpp", spdx + "#include \"Top/t.h\"\n#include \"Base/b.h\"\n");
    }
    void TearDown() override { fs::remove_all(m_root); }

    void write(const std::string& name, const std::string& text) {
        fs::create_directories((m_root / name).parent_path());
        std::ofstream(m_root / name) << text;
    }
    std::string faults() const { return joined(layerFaults(m_root, parseLayers(smallTable))); }

    fs::path m_root;
};

TEST_F(FakeTree, IsCleanAtFirst) {
    EXPECT_EQ(faults(), "");
    EXPECT_EQ(joined(licenceFaults(m_root)), "");
    EXPECT_EQ(joined(testListFaults(m_root)), "");
}

TEST_F(FakeTree, IncludeOfALayerAboveIsAFault) {
    write("Libraries/Base/b.cpp", spdx + "\n  #  include \"Top/t.h\" // up\n");
    EXPECT_EQ(faults(), "Libraries/Base/b.cpp:3: Base must not include \"Top/t.h\" of Top\n");
}

TEST_F(FakeTree, PrivateLayerIsForSourcesAlone) {
    write("Libraries/Base/b.cpp", spdx + "#include \"Log/l.h\"\n");
    EXPECT_EQ(faults(), "");
    write("Libraries/Base/b.h", spdx + "#include \"Log/l.h\"\n");
    EXPECT_EQ(faults(), "Libraries/Base/b.h:2: Base must not include \"Log/l.h\" of Log\n");
}

TEST_F(FakeTree, NoLibraryIncludesTheProgram) {
    write("app/run.h", spdx);
    write("Libraries/Top/t.cpp", spdx + "#include \"app/run.h\"\n");
    EXPECT_EQ(faults(), "Libraries/Top/t.cpp:2: Top must not include \"app/run.h\" of app\n");
}

TEST_F(FakeTree, OtherLibrariesHeadersStayInTheirLayer) {
    write("app/main.cpp", spdx + "#include <wide.h>\n#include <widest.h>\n");
    EXPECT_EQ(faults(), "app/main.cpp:2: app must not include <wide.h>\n"
                        "app/main.cpp:3: app must not include <widest.h>\n");
}

TEST_F(FakeTree, HeaderThatDoesNotExistIsAFault) {
    write("app/main.cpp", spdx + "#include \"t.h\"\n");
    EXPECT_EQ(faults(), "app/main.cpp:2: there is no header \"t.h\"\n");
}

TEST_F(FakeTree, FileOutsideEveryLayerIsAFault) {
    write("Libraries/Stray/s.h", spdx);
    EXPECT_EQ(faults(), "Libraries/Stray/s.h: no layer of the table holds this file\n");
}

TEST_F(FakeTree, TestsMayIncludeEverything) {
    write("Libraries/Base/tests/b_test.cpp", spdx + "#include \"Top/t.h\"\n#include <wide.h>\n");
    EXPECT_EQ(faults(), "");
}

TEST_F(FakeTree, MissingLicenceLineIsAFault) {
    write("Libraries/Top/t.cpp", "\n" + spdx);
    write("examples/e.h", "");
    EXPECT_EQ(licenceFaults(m_root).size(), 2u);
}

TEST_F(FakeTree, TestThatNobodyRunsIsAFault) {
    write("Libraries/Base/tests/b_test.cpp", spdx);
    EXPECT_EQ(joined(testListFaults(m_root)),
              "Libraries/Base/tests/b_test.cpp: no CMakeLists.txt names this test\n");
    write("Libraries/Base/CMakeLists.txt", "# tests/b_test.cpp\n");
    EXPECT_EQ(testListFaults(m_root).size(), 1u) << "a comment names nothing";
    write("Libraries/Base/CMakeLists.txt", "selvane_test(b SOURCES tests/b_test.cpp)\n");
    EXPECT_EQ(joined(testListFaults(m_root)), "");
}

TEST_F(FakeTree, NamedTestThatIsMissingIsAFault) {
    write("app/CMakeLists.txt", "selvane_test(a SOURCES tests/a_test.cpp)\n");
    EXPECT_EQ(joined(testListFaults(m_root)),
              "app/tests/a_test.cpp: named in a CMakeLists.txt but missing\n");
}

} // namespace
} // namespace lints
