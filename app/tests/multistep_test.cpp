// SPDX-License-Identifier: GPL-3.0-or-later
// The solve at each rotation without what it needs.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/VantorHexaust.h"

namespace {

std::string messageOfSolve(const std::vector<std::string>& options, unsigned long worker,
                           const std::string& odir) {
    std::vector<std::string> words = {"selvane", "--ipdb", "model.pdb", "--iedm", "map.ccp4",
                                      "--odir",  odir,     "--nthread", "2"};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    VantorHexaust fit(static_cast<int>(words.size()), pointers.data(), 80);
    fit.initThreaded();
    try {
        fit.initTweenDof(worker);
    } catch (const std::domain_error& error) {
        return error.what();
    }
    return "";
}

TEST(InitTweenDof, NamesTheWorkerWithoutAnOracle) {
    std::string odir = (std::filesystem::temp_directory_path() / "selvane_multistep_XXXXXX").string();
    ASSERT_NE(mkdtemp(odir.data()), nullptr);
    EXPECT_EQ(messageOfSolve({"--multistep"}, 1, odir), "m_local_ccf[1] is null");
    EXPECT_EQ(messageOfSolve({}, 0, odir), "m_local_ccf[0] is null");
    std::filesystem::remove_all(odir);
}

} // namespace
