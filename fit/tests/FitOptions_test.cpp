// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/FitOptions.h"
#include "fit/usableCores.h"

namespace {

using Words = std::vector<std::string>;

FitOptions parsed(const Words& words) {
    std::vector<const char*> argv = {"selvane-fit"};
    for (const std::string& word : words) {
        argv.push_back(word.c_str());
    }
    return parseFitOptions(static_cast<int>(argv.size()), argv.data());
}

/// How a command line ends that asks for no run.
CommandLineEnd endOf(const Words& words) {
    try {
        parsed(words);
    } catch (const CommandLineEnd& end) {
        return end;
    }
    ADD_FAILURE() << "the command line was accepted";
    return {};
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(FitOptions, HaveDefaultsForAllButInputsAndResolution) {
    const FitOptions options = parsed({"maps/emd.map.gz", "m/1abc.cif", "--resolution", "11.5"});
    EXPECT_EQ(options.map, "maps/emd.map.gz");
    EXPECT_EQ(options.model, "m/1abc.cif");
    EXPECT_EQ(options.output, "fit-1abc-in-emd");
    EXPECT_EQ(options.resolution, 11.5);
    EXPECT_EQ(options.poses, 10U);
    EXPECT_EQ(options.threads, usableCores());
    EXPECT_EQ(options.score, FitScore::Local);
    EXPECT_EQ(fieldOf(options.score), MapField::Laplacian);
    EXPECT_FALSE(options.level || options.step || options.scanResolution || options.format || options.near ||
                 options.choice.plddt || options.choice.model);
    EXPECT_TRUE(options.mask.empty() && options.choice.selection.empty() && options.choice.assembly.empty());
    EXPECT_FALSE(options.prepareOnly || options.quiet || options.restart);
    EXPECT_EQ(options.command.size(), 5U);
}

TEST(FitOptions, TakeWhatIsGiven) {
    const FitOptions options = parsed({"map.mrc",
                                       "model.pdb",
                                       "-r",
                                       "8",
                                       "-o",
                                       "out",
                                       "--select",
                                       "A,B",
                                       "--model",
                                       "3",
                                       "--assembly",
                                       "1",
                                       "--plddt",
                                       "70",
                                       "--level",
                                       "-0.5",
                                       "--mask",
                                       "mask.mrc",
                                       "--score",
                                       "overlap",
                                       "--step",
                                       "12",
                                       "--scan-resolution",
                                       "15",
                                       "--poses",
                                       "3",
                                       "--format",
                                       "cif",
                                       "--threads",
                                       "2",
                                       "--prepare-only",
                                       "--quiet",
                                       "--restart",
                                       "--near",
                                       "30,12.5"});
    EXPECT_EQ(options.output, "out");
    ASSERT_TRUE(options.near && options.near->distance);
    EXPECT_EQ(options.near->degrees, 30.0);
    EXPECT_EQ(*options.near->distance, 12.5);
    EXPECT_FALSE(options.near->isPolishOnly());
    EXPECT_EQ(options.choice.selection, "A,B");
    EXPECT_EQ(options.choice.model, "3");
    EXPECT_EQ(options.choice.assembly, "1");
    EXPECT_EQ(options.choice.plddt, 70.0);
    EXPECT_EQ(options.level, -0.5);
    EXPECT_EQ(options.mask, "mask.mrc");
    EXPECT_EQ(options.score, FitScore::Overlap);
    EXPECT_EQ(fieldOf(options.score), MapField::Density);
    EXPECT_EQ(options.step, 12.0);
    EXPECT_EQ(options.scanResolution, 15.0);
    EXPECT_EQ(options.poses, 3U);
    EXPECT_EQ(options.format, ModelFormat::Cif);
    EXPECT_EQ(options.threads, 2U);
    EXPECT_TRUE(options.prepareOnly && options.quiet && options.restart);
}

TEST(FitOptions, RefuseValuesByTheNameOfTheirOption) {
    const std::vector<Words> refused = {
        {"--resolution", "0"},      {"--resolution", "-3"}, {"--resolution", "nan"}, {"--resolution", "inf"},
        {"--resolution", "8A"},     {"--step", "0"},        {"--step", "0.49"},      {"--step", "181"},
        {"--scan-resolution", "x"}, {"--level", "high"},    {"--level", "nan"},      {"--plddt", "101"},
        {"--plddt", "-1"},          {"--near", "-1"},       {"--near", "181"},       {"--near", "10,"},
        {"--near", "10,-2"},        {"--near", "10,x"},     {"--near", ",5"},        {"--score", "best"},
        {"--format", "xyz"},        {"--poses", "0"},       {"--poses", "2.5"},      {"--poses", "-1"},
        {"--poses", "1000000"},     {"--threads", "0"},     {"--threads", "many"},   {"--output", ""},
        {"--select", ""},           {"--mask", ""}};
    for (const Words& each : refused) {
        Words words = {"map.mrc", "model.pdb"};
        if (each[0] != "--resolution") {
            words.insert(words.end(), {"-r", "8"});
        }
        words.insert(words.end(), each.begin(), each.end());
        const CommandLineEnd end = endOf(words);
        EXPECT_EQ(end.status, 1) << each[0] << " " << each[1];
        EXPECT_TRUE(contains(end.err, each[0])) << end.err;
        EXPECT_FALSE(contains(end.err, "\n")) << end.err;
        EXPECT_EQ(end.out, "");
    }
}

TEST(FitOptions, SayWhatIsMissingOrUnknown) {
    EXPECT_TRUE(contains(endOf({"map.mrc", "model.pdb"}).err, "--resolution"));
    EXPECT_TRUE(contains(endOf({"map.mrc", "-r", "8"}).err, "MODEL"));
    EXPECT_TRUE(contains(endOf({"map.mrc", "model.pdb", "-r", "8", "--colour"}).err, "--colour"));
    EXPECT_TRUE(contains(endOf({"map.mrc", "model.pdb", "-r"}).err, "--resolution"));
    EXPECT_EQ(endOf({}).status, 1);
}

TEST(FitOptions, ShowNamesFromOutsideAsOneLine) {
    const CommandLineEnd end = endOf({"map.mrc", "model.pdb", "-r", "8\n\x1b[31m"});
    EXPECT_FALSE(contains(end.err, "\n") || contains(end.err, "\x1b"));
}

TEST(FitOptions, HelpNamesEveryOptionWithItsDefault) {
    const CommandLineEnd end = endOf({"--help"});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.err, "");
    for (const char* name :
         {"--resolution", "--output", "--select",  "--model",        "--assembly", "--plddt",
          "--level",      "--mask",   "--score",   "--near",         "--step",     "--scan-resolution",
          "--poses",      "--format", "--threads", "--prepare-only", "--quiet",    "--restart",
          "--version",    "--help",   "--copies",  "--hand"}) {
        EXPECT_TRUE(contains(end.out, name)) << name;
    }
    std::size_t defaults = 0;
    for (std::size_t at = end.out.find("default:"); at != std::string::npos;
         at = end.out.find("default:", at + 1)) {
        ++defaults;
    }
    EXPECT_EQ(defaults, 19U); // all but resolution, help and version
}

TEST(FitOptions, VersionIsTheProjects) {
    const CommandLineEnd end = endOf({"--version"});
    EXPECT_EQ(end.status, 0);
    EXPECT_TRUE(contains(end.out, "selvane-fit " SELVANE_VERSION));
}

TEST(FitOptions, OutputIsNamedAfterTheFilesWithoutTheirExtensions) {
    EXPECT_EQ(defaultOutput("a/b/model.pdb", "maps/emd_1.map"), "fit-model-in-emd_1");
    EXPECT_EQ(defaultOutput("model.cif.gz", "emd.mrc.gz"), "fit-model-in-emd");
    EXPECT_EQ(defaultOutput("1abc", "map.v2.ccp4"), "fit-1abc-in-map.v2");
}

TEST(FitOptions, NearTakesDegreesAloneOrWithALength) {
    const auto nearOf = [](const std::string& text) {
        return parsed({"map.mrc", "model.pdb", "-r", "8", "--near", text}).near.value();
    };
    EXPECT_EQ(nearOf("25").degrees, 25.0);
    EXPECT_FALSE(nearOf("25").distance);
    EXPECT_TRUE(nearOf("0,0").isPolishOnly());
    EXPECT_FALSE(nearOf("0").isPolishOnly());
    EXPECT_FALSE(nearOf("0,5").isPolishOnly());
}

TEST(FitOptions, CopiesCountFromNoneWhichMeansAll) {
    const auto copiesOf = [](const std::string& text) {
        return parsed({"map.mrc", "model.pdb", "-r", "8", "--copies", text}).copies;
    };
    EXPECT_EQ(parsed({"map.mrc", "model.pdb", "-r", "8"}).copies, 1U);
    EXPECT_EQ(copiesOf("0"), 0U);
    EXPECT_EQ(copiesOf("14"), 14U);
    for (const char* text : {"-1", "1.5", "many", "1001"}) {
        EXPECT_TRUE(contains(endOf({"map.mrc", "model.pdb", "-r", "8", "--copies", text}).err, "--copies"));
    }
}

TEST(FitOptions, BothHandsAreLookedAtEverywhere) {
    EXPECT_FALSE(parsed({"map.mrc", "model.pdb", "-r", "8"}).bothHands);
    EXPECT_FALSE(parsed({"map.mrc", "model.pdb", "-r", "8", "--hand", "given"}).bothHands);
    EXPECT_TRUE(parsed({"map.mrc", "model.pdb", "-r", "8", "--hand", "both"}).bothHands);
    EXPECT_TRUE(contains(endOf({"map.mrc", "model.pdb", "-r", "8", "--hand", "left"}).err, "--hand"));
    const CommandLineEnd end = endOf({"map.mrc", "model.pdb", "-r", "8", "--hand", "both", "--near", "10"});
    EXPECT_EQ(end.status, 1);
    EXPECT_TRUE(contains(end.err, "--near")) << end.err;
}

} // namespace
