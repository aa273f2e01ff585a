// SPDX-License-Identifier: GPL-3.0-or-later
// Runs with limited address space, and with options that ask for more than there is.
#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "app/tests/RunFixture.h"

namespace {

/// As queues set it; a buffer of the matrix library and a heap per thread take most of it.
constexpr std::uintmax_t limitOfAQueue = 400000UL * 1024UL;

class Limits : public RunFixture {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "the sanitizer takes more address space than any limit";
#endif
        m_addressSpace = limitOfAQueue;
    }

    /// The files of a run without the limit and with it are the same.
    void expectTheUnlimitedFit(const Arguments& options) {
        writeInputs();
        const RunResult limited = fit(options);
        EXPECT_EQ(limited.status, 0) << limited.err;
        const std::string refined = read("Solution.pdb");
        EXPECT_TRUE(contains(refined, "ENDMDL"));
        m_addressSpace = 0;
        EXPECT_EQ(fit(options).status, 0);
        EXPECT_EQ(read("Solution.pdb"), refined);
    }
};

TEST_F(Limits, RefinementEndsInLimitedAddressSpace) {
    expectTheUnlimitedFit({"--dangle", "90", "--nthread", "2", "--nsolutions", "5"});
}

TEST_F(Limits, RefinementWithModesEndsInLimitedAddressSpace) {
    expectTheUnlimitedFit(
        {"--dangle", "90", "--nthread", "2", "--nsolutions", "5", "--nmodes", "5", "--maxrmsd", "1"});
}

TEST_F(Limits, MultistepScanEndsInLimitedAddressSpace) {
    expectTheUnlimitedFit({"--dangle", "180", "--nthread", "2", "--nsolutions", "5", "--multistep"});
}

TEST_F(Limits, StacksBeyondTheAddressSpaceAreRefusedBeforeTheScan) {
    writeInputs();
    const RunResult result = fit({"--dangle", "180", "--nthread", "100"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, "of address space and the limit of the process (ulimit -v) leaves"))
        << result.err;
    EXPECT_FALSE(contains(result.out, "Scaning"));
}

TEST_F(Limits, ModesBeyondThoseOfTheModelTakeNoMemory) {
    writeInputs();
    for (const char* modes : {"300000000", "2147483647"}) {
        const RunResult result = fit(quick({"--nmodes", modes}));
        EXPECT_EQ(result.signal, SIGABRT);
        EXPECT_TRUE(contains(result.err, "--nmodes asks for more modes")) << result.err;
    }
}

TEST_F(Limits, SpringsOfAHugeCutoffAreRefusedBeforeTheyAreMade) {
    std::vector<TestAtom> atoms;
    constexpr int edge = 12;
    constexpr double spacing = 1.5;
    constexpr int atomsPerResidue = 8;
    TestMap map;
    const Vec corner = map.centre() - Vec{0.5 * edge * spacing, 0.5 * edge * spacing, 0.5 * edge * spacing};
    for (int i = 0; i < edge; ++i) {
        for (int j = 0; j < edge; ++j) {
            for (int k = 0; k < edge; ++k) {
                const int residue = static_cast<int>(atoms.size()) / atomsPerResidue + 1;
                atoms.push_back(
                    {"CA", 'C', "ALA", 'A', residue, corner + Vec{i * spacing, j * spacing, k * spacing}});
            }
        }
    }
    writeInputs(atoms, simulate(map, atoms, map.largestVoxel()));
    const RunResult result = fit(quick({"--nmodes", "3", "--cutoff", "1e300"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, "model.pdb: the springs of atoms within the cut-off")) << result.err;
    EXPECT_TRUE(contains(result.err, "--cutoff")) << result.err;
    const RunResult modest = fit(quick({"--nmodes", "3", "--cutoff", "3"}));
    EXPECT_EQ(modest.status, 0) << modest.err;
}

TEST_F(Limits, TrustRadiusThatIsNotFiniteIsRefused) {
    writeInputs();
    const RunResult result = fit(quick({"--maxrmsd", "1e153", "--multistep"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, "model.pdb: --maxrmsd 1e+153 squared times the mass")) << result.err;
}

} // namespace
