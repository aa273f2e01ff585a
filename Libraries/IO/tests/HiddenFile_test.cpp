// SPDX-License-Identifier: GPL-3.0-or-later
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "IO/HiddenFile.h"
#include "IO/unfinishedFiles.h"

namespace {

namespace fs = std::filesystem;

class HiddenFiles : public testing::Test {
protected:
    HiddenFiles() {
        std::string name = (fs::temp_directory_path() / "selvane_hidden_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        m_directory = name + "/";
    }
    ~HiddenFiles() override {
        std::error_code ignored;
        fs::remove_all(m_directory, ignored);
    }

    std::string path(const std::string& name) const { return m_directory + name; }

    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string m_directory;
};

TEST_F(HiddenFiles, TakesItsPlaceOrGoesAway) {
    std::ofstream(path("result")) << "old";
    {
        HiddenFile file;
        ASSERT_TRUE(file.create(path("draft"), 0600));
        EXPECT_TRUE(file.write("half"));
        EXPECT_EQ(read("draft"), "half");
    }
    EXPECT_FALSE(fs::exists(path("draft")));
    HiddenFile file;
    ASSERT_TRUE(file.createIn(m_directory, 0600));
    EXPECT_TRUE(file.write("wh"));
    EXPECT_TRUE(file.write("ole"));
    EXPECT_TRUE(file.finish());
    EXPECT_EQ(read("result"), "old");
    EXPECT_TRUE(file.renameTo(path("result")));
    syncDirectoryOf(path("result"));
    EXPECT_EQ(file.path(), "");
    file.remove();
    EXPECT_EQ(read("result"), "whole");
    EXPECT_EQ(std::distance(fs::directory_iterator(m_directory), {}), 1);
}

TEST_F(HiddenFiles, NeverOpensWhatIsThere) {
    std::ofstream(path("theirs")) << "theirs";
    fs::create_symlink("theirs", path("link"));
    fs::create_symlink("nowhere", path("dangling"));
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    for (const char* name : {"theirs", "link", "dangling", "pipe"}) {
        HiddenFile file;
        EXPECT_FALSE(file.create(path(name), 0600)) << name;
        EXPECT_EQ(errno, EEXIST) << name;
        file.remove();
        EXPECT_TRUE(fs::exists(fs::symlink_status(path(name)))) << name;
    }
    EXPECT_EQ(read("theirs"), "theirs");
    EXPECT_FALSE(fs::exists(path("nowhere")));
}

TEST_F(HiddenFiles, FurtherNameKeepsTheContentThatIsReplaced) {
    std::ofstream(path("result")) << "old";
    HiddenFile earlier;
    ASSERT_TRUE(earlier.linkIn(m_directory, path("result")));
    HiddenFile file;
    ASSERT_TRUE(file.createIn(m_directory, 0600) && file.write("new") && file.finish());
    ASSERT_TRUE(file.renameTo(path("result")));
    EXPECT_EQ(read("result"), "new");
    ASSERT_TRUE(earlier.renameTo(path("result")));
    EXPECT_EQ(read("result"), "old");
    EXPECT_FALSE(earlier.linkIn(m_directory, path("nowhere")));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(HiddenFiles, ReasonsOfFailuresAreTold) {
    HiddenFile file;
    EXPECT_FALSE(file.createIn(path("nowhere/"), 0600));
    EXPECT_EQ(errno, ENOENT);
    ASSERT_TRUE(file.create(path("draft"), 0600));
    EXPECT_FALSE(file.renameTo(path("nowhere/result")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(writeAll(-1, "text"));
    EXPECT_TRUE(isOutOfRoom(ENOSPC) && isOutOfRoom(EDQUOT));
    EXPECT_FALSE(isOutOfRoom(EACCES));
}

TEST_F(HiddenFiles, RemovalOfTheUnfinishedSparesWhatIsInPlaceOrOfOthers) {
    std::ofstream(path("theirs")) << "theirs";
    EXPECT_EXIT(
        {
            HiddenFile refused;
            refused.create(path("theirs"), 0600);
            HiddenFile placed;
            placed.create(path("placed.new"), 0600);
            placed.renameTo(path("placed"));
            HiddenFile open;
            open.create(path("open"), 0600);
            unfinished::removeAll();
            _exit(fs::exists(path("open")) ? 1 : 7);
        },
        testing::ExitedWithCode(7), "");
    EXPECT_TRUE(fs::exists(path("theirs")));
    EXPECT_TRUE(fs::exists(path("placed")));
    EXPECT_FALSE(fs::exists(path("open")));
}

TEST_F(HiddenFiles, MoreThanTheListHoldsAreStillFiles) {
    std::vector<std::unique_ptr<HiddenFile>> files;
    for (int i = 0; i < 100; ++i) {
        files.push_back(std::make_unique<HiddenFile>());
        EXPECT_TRUE(files.back()->createIn(m_directory, 0600));
    }
    files.clear();
    EXPECT_TRUE(fs::is_empty(m_directory));
}

TEST_F(HiddenFiles, LockOfADirectoryIsWaitedForWithAnEnd) {
    const std::optional<DirectoryLock> first(std::in_place, m_directory);
    const int file = open(m_directory.c_str(), O_RDONLY | O_DIRECTORY);
    EXPECT_NE(flock(file, LOCK_EX | LOCK_NB), 0);
    close(file);
    const auto begin = std::chrono::steady_clock::now();
    const DirectoryLock second(m_directory);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    const DirectoryLock nowhere(path("nowhere/"));
}

} // namespace
