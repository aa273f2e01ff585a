// SPDX-License-Identifier: GPL-3.0-or-later
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "IO/openInput.h"

namespace {

namespace fs = std::filesystem;

class OpenInput : public testing::Test {
protected:
    OpenInput() {
        std::string name = (fs::temp_directory_path() / "selvane_input_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        m_directory = name;
    }
    OpenInput(const OpenInput&) = delete;
    OpenInput& operator=(const OpenInput&) = delete;
    ~OpenInput() override { fs::remove_all(m_directory); }

    std::string pathOf(const std::string& name) const { return (m_directory / name).string(); }
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(pathOf(name), std::ios::binary) << bytes;
        return pathOf(name);
    }

    fs::path m_directory;
};

/// Expects both ways to read to refuse a path.
void expectRefusal(const std::string& path, const std::string& reason, bool isThere) {
    const auto check = [&](const InputError& error) {
        EXPECT_EQ(error.what(), path + ": " + reason);
        EXPECT_EQ(error.isThere(), isThere);
    };
    try {
        openInput(path);
        ADD_FAILURE() << path;
    } catch (const InputError& error) {
        check(error);
    }
    try {
        readInput(path);
        ADD_FAILURE() << path;
    } catch (const InputError& error) {
        check(error);
    }
}

TEST_F(OpenInput, GivesEveryByteOfARegularFile) {
    std::string bytes; // with line ends and zeros, over a block and a part
    for (int n = 0; n < 70001; ++n) {
        bytes.push_back(static_cast<char>(n % 251));
    }
    const std::string path = write("bytes", bytes);
    std::ifstream file = openInput(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), bytes);
    const std::vector<char> whole = readInput(path);
    EXPECT_EQ(std::string(whole.begin(), whole.end()), bytes);
}

TEST_F(OpenInput, GivesAFileOfWholeBlocksAndAnEmptyOne) {
    const std::string bytes(2 * 65536, 'x');
    EXPECT_EQ(readInput(write("blocks", bytes)).size(), bytes.size());
    EXPECT_TRUE(readInput(write("empty", "")).empty());
}

TEST_F(OpenInput, FollowsALink) {
    fs::create_symlink(write("file", "abc"), pathOf("link"));
    EXPECT_EQ(readInput(pathOf("link")).size(), 3u);
}

TEST_F(OpenInput, RefusesWhatIsNoRegularFileWithoutWaitingForIt) {
    ASSERT_EQ(mkfifo(pathOf("pipe").c_str(), 0600), 0);
    for (const std::string& path : {pathOf("pipe"), std::string("/dev/zero"), m_directory.string()}) {
        expectRefusal(path, "not a regular file", true);
    }
}

TEST_F(OpenInput, TellsAMissingFile) {
    expectRefusal(pathOf("none"), std::strerror(ENOENT), false);
    expectRefusal(write("file", "") + "/below", std::strerror(ENOTDIR), false);
}

/// Permissions do not stop the superuser, who is another user as long as this lives.
class OrdinaryUser {
public:
    OrdinaryUser() : m_before(geteuid()) {
        constexpr uid_t somebody = 65534;
        if (m_before == 0 && seteuid(somebody) != 0) {
            throw std::runtime_error("the superuser can't become another user");
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() { EXPECT_EQ(seteuid(m_before), 0); }

private:
    uid_t m_before;
};

TEST(OpenInputOfAnOrdinaryUser, TellsAFileThatMustNotBeRead) {
    const OrdinaryUser user;
    std::string folder = "/tmp/selvane_input_XXXXXX"; // that user may enter, wherever TMPDIR points
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string path = folder + "/locked";
    std::ofstream(path) << "abc";
    fs::permissions(path, fs::perms::none);
    expectRefusal(path, std::strerror(EACCES), true);
    fs::remove_all(folder);
}

} // namespace
