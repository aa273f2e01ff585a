// SPDX-License-Identifier: GPL-3.0-or-later
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "IO/ResultFile.h"

namespace {

namespace fs = std::filesystem;

constexpr uid_t somebody = 65534;

/// A folder for temporary files that the present user may enter: TMPDIR may lie in the home of another.
fs::path openTemporaryFolder() {
    std::error_code ignored;
    for (const fs::path& folder :
         {fs::temp_directory_path(ignored), fs::path("/tmp"), fs::path("/var/tmp")}) {
        if (eaccess(folder.c_str(), W_OK | X_OK) == 0) {
            return folder;
        }
    }
    throw std::runtime_error("no folder for temporary files that this user may enter");
}

/// A directory of its own for each test. The tests run as an ordinary user: permissions do not stop the
/// superuser. That user need not be able to enter the folder in which the tests were started.
class ResultFiles : public testing::Test {
protected:
    ResultFiles() : m_mask(umask(022)) {
        if (isSuperuser() && (setegid(somebody) != 0 || seteuid(somebody) != 0)) {
            throw std::runtime_error("the superuser can't become another user");
        }
        std::string name = (openTemporaryFolder() / "selvane_result_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        m_directory = name;
    }
    ~ResultFiles() override {
        EXPECT_TRUE(!isSuperuser() || (seteuid(0) == 0 && setegid(0) == 0));
        umask(m_mask);
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(m_directory)) {
            if (entry.symlink_status().type() == fs::file_type::directory) {
                fs::permissions(entry, fs::perms::owner_all, ignored); // removable again
            }
        }
        fs::remove_all(m_directory, ignored);
    }

    static bool isSuperuser() { return getuid() == 0; }

    std::string path(const std::string& name) const { return (m_directory / name).string(); }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
    }

    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    std::set<std::string> entries(const std::string& directory = ".") const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_directory / directory)) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    struct stat statusOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(stat(path(name).c_str(), &status), 0) << name;
        return status;
    }

    mode_t modeOf(const std::string& name) const { return statusOf(name).st_mode & 07777; }

    /// Writes `text` as a result file and commits it.
    static bool save(const std::string& name, const std::string& text) {
        ResultFile file(name);
        if (file.stream() == nullptr) {
            return false;
        }
        std::fputs(text.c_str(), file.stream());
        return file.commit();
    }

    fs::path m_directory;
    mode_t m_mask = 0;
};

using Names = std::set<std::string>;

/// How a process ended that did nothing but this.
int stateAfter(const std::function<void()>& action) {
    const pid_t child = fork();
    if (child == 0) {
        action();
        _exit(0);
    }
    int state = -1;
    waitpid(child, &state, 0);
    return state;
}

/// The error of fopen(path, "w") and that of a ResultFile; 0 for none. Leaves nothing behind.
int errorOfFopen(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    const int error = file == nullptr ? errno : 0;
    if (file != nullptr) {
        std::fclose(file);
        unlink(path.c_str());
    }
    return error;
}

int errorOfResultFile(const std::string& path) {
    const ResultFile file(path);
    return file.stream() == nullptr ? errno : 0;
}

TEST_F(ResultFiles, AppearsUnderItsNameOnlyWhenComplete) {
    ResultFile file(path("result"));
    ASSERT_NE(file.stream(), nullptr);
    std::fputs("whole", file.stream());
    std::fflush(file.stream());
    ASSERT_EQ(entries().size(), 1U);
    EXPECT_EQ(entries().begin()->front(), '.');
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(file.stream(), nullptr);
    EXPECT_EQ(entries(), Names{"result"});
    EXPECT_EQ(read("result"), "whole");
    EXPECT_FALSE(file.commit()) << "it was closed before";
}

TEST_F(ResultFiles, OldContentStaysUntilTheNewOneIsComplete) {
    write("result", "a long old content");
    ResultFile file(path("result"));
    std::fputs("new", file.stream());
    std::fflush(file.stream());
    EXPECT_EQ(read("result"), "a long old content");
    EXPECT_TRUE(file.commit());
    EXPECT_EQ(read("result"), "new");
    EXPECT_EQ(entries(), Names{"result"});
}

TEST_F(ResultFiles, FileThatIsNotCommittedIsDiscarded) {
    write("old", "old");
    for (const char* name : {"old", "new"}) {
        const ResultFile file(path(name));
        std::fputs("half", file.stream());
    }
    EXPECT_EQ(entries(), Names{"old"});
    EXPECT_EQ(read("old"), "old");
}

TEST_F(ResultFiles, NothingWrittenIsAnEmptyFile) {
    write("old", "old");
    EXPECT_TRUE(save(path("old"), ""));
    EXPECT_TRUE(save(path("new"), ""));
    EXPECT_EQ(read("old"), "");
    EXPECT_EQ(entries(), (Names{"new", "old"}));
}

TEST_F(ResultFiles, RelativeNameIsThatOfTheWorkingDirectory) {
    // In a process of its own: this user may not be let in again where the tests were started.
    const int state = stateAfter([&] {
        fs::current_path(m_directory);
        if (!save("result", "text")) {
            _exit(1);
        }
    });
    EXPECT_EQ(state, 0);
    EXPECT_EQ(read("result"), "text");
    EXPECT_EQ(entries(), Names{"result"});
}

TEST_F(ResultFiles, CannotBeOpenedExactlyWhereFopenFails) {
    write("file", "text");
    write("readonly", "text");
    fs::permissions(path("readonly"), fs::perms::owner_read);
    fs::create_directory(path("directory"));
    fs::create_directory(path("closed"));
    fs::permissions(path("closed"), fs::perms::owner_read | fs::perms::owner_exec);
    fs::create_directory(path("hidden"));
    fs::permissions(path("hidden"), fs::perms::none);
    fs::create_symlink("loop", path("loop"));
    fs::create_symlink("absent/file", path("astray"));
    fs::create_symlink("fresh/", path("slashed"));
    fs::create_symlink("directory", path("link"));
    const Names before = entries();
    for (const std::string& name :
         {std::string("directory"), std::string("directory/"), std::string("absent/file"),
          std::string("absent/"), std::string("fresh/"), std::string("file/"), std::string("file/below"),
          std::string("readonly"), std::string("closed/file"), std::string("hidden/file"),
          std::string("loop"), std::string("astray"), std::string("slashed"), std::string("link"),
          std::string("."), std::string(256, 'n'), std::string(5000, 'n')}) {
        const int error = errorOfFopen(path(name));
        EXPECT_NE(error, 0) << name;
        EXPECT_EQ(errorOfResultFile(path(name)), error) << name;
    }
    EXPECT_EQ(errorOfResultFile(""), errorOfFopen(""));
    for (const std::string& name :
         {std::string("fresh"), std::string("directory/../fresh"), std::string(255, 'n'),
          std::string("link/fresh"), std::string("-x y\n;$'")}) {
        EXPECT_EQ(errorOfResultFile(path(name)), errorOfFopen(path(name))) << name;
    }
    EXPECT_EQ(entries(), before);
    EXPECT_EQ(read("file") + read("readonly"), "texttext");
}

TEST_F(ResultFiles, NameOfTheGreatestLengthIsWritten) {
    const std::string name(255, 'n');
    EXPECT_TRUE(save(path(name), "text"));
    EXPECT_EQ(read(name), "text");
}

TEST_F(ResultFiles, LinksStayAndTheirTargetIsReplaced) {
    fs::create_directory(path("far"));
    write("far/target", "old");
    fs::create_symlink("far/second", path("first"));
    fs::create_symlink("target", path("far/second"));
    fs::create_symlink(path("far/target"), path("absolute"));
    for (const char* name : {"first", "absolute"}) {
        EXPECT_TRUE(save(path(name), name));
        EXPECT_TRUE(fs::is_symlink(path(name)));
        EXPECT_TRUE(fs::is_symlink(path("far/second")));
        EXPECT_FALSE(fs::is_symlink(path("far/target")));
        EXPECT_EQ(read("far/target"), name);
    }
    EXPECT_EQ(entries("far"), (Names{"second", "target"}));
}

TEST_F(ResultFiles, LinkToNothingMakesItsTarget) {
    fs::create_directory(path("far"));
    fs::create_symlink("far/target", path("link"));
    {
        const ResultFile file(path("link"));
        EXPECT_EQ(entries("far").begin()->front(), '.') << "beside the target";
    }
    EXPECT_TRUE(save(path("link"), "text"));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(read("far/target"), "text");
}

TEST_F(ResultFiles, ModeOfAnExistingFileStays) {
    write("result", "old");
    for (const mode_t mode : {0600U, 0640U, 0666U, 0755U, 0200U}) {
        ASSERT_EQ(chmod(path("result").c_str(), mode), 0);
        EXPECT_TRUE(save(path("result"), "new"));
        EXPECT_EQ(modeOf("result"), mode);
    }
}

TEST_F(ResultFiles, CopyOfAPrivateFileIsPrivateFromTheStart) {
    write("result", "old");
    ASSERT_EQ(chmod(path("result").c_str(), 0600), 0);
    const ResultFile file(path("result"));
    for (const std::string& name : entries()) {
        EXPECT_EQ(modeOf(name), 0600U) << name;
    }
}

TEST_F(ResultFiles, NewFileHonoursTheMask) {
    for (const mode_t mask : {0U, 022U, 027U, 077U}) {
        umask(mask);
        const std::string name = "with" + std::to_string(mask);
        EXPECT_TRUE(save(path(name), "text"));
        EXPECT_EQ(modeOf(name), 0666U & ~mask);
    }
}

/// Only the superuser can make a file of somebody else.
TEST_F(ResultFiles, OwnerStaysWhoeverWrites) {
    write("result", "old");
    ASSERT_EQ(chmod(path("result").c_str(), 0666), 0);
    const struct stat mine = statusOf("result");
    if (isSuperuser()) {
        ASSERT_TRUE(seteuid(0) == 0 && setegid(0) == 0);
        EXPECT_TRUE(save(path("result"), "by the superuser"));
        EXPECT_EQ(statusOf("result").st_uid, mine.st_uid);
        EXPECT_EQ(statusOf("result").st_gid, mine.st_gid);
        ASSERT_EQ(chown(path("result").c_str(), 0, 0), 0);
        ASSERT_TRUE(setegid(somebody) == 0 && seteuid(somebody) == 0);
    }
    const struct stat before = statusOf("result");
    EXPECT_TRUE(save(path("result"), "by its reader"));
    EXPECT_EQ(read("result"), "by its reader");
    EXPECT_EQ(statusOf("result").st_uid, before.st_uid);
    EXPECT_EQ(statusOf("result").st_gid, before.st_gid);
    EXPECT_EQ(modeOf("result"), 0666U);
    EXPECT_EQ(entries(), Names{"result"});
}

TEST_F(ResultFiles, HardLinksStayTogether) {
    for (const std::string& old : {std::string("short"), std::string(300000, 'o'), std::string()}) {
        write("first", old);
        if (!fs::exists(path("second"))) {
            fs::create_hard_link(path("first"), path("second"));
        }
        {
            const ResultFile file(path("second"));
            std::fputs("half", file.stream());
            std::fflush(file.stream());
            EXPECT_EQ(read("first"), old);
        }
        EXPECT_EQ(read("first"), old);
        const std::string text(200001, 'n'); // more than a block, and no multiple of one
        EXPECT_TRUE(save(path("second"), text));
        EXPECT_EQ(read("first"), text);
        EXPECT_TRUE(fs::equivalent(path("first"), path("second")));
        EXPECT_EQ(entries(), (Names{"first", "second"}));
    }
}

TEST_F(ResultFiles, FileInADirectoryThatAdmitsNoneIsWrittenInPlace) {
    fs::create_directory(path("closed"));
    write("closed/result", "a long old content");
    fs::permissions(path("closed"), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_TRUE(save(path("closed/result"), "new"));
    EXPECT_EQ(read("closed/result"), "new");
    EXPECT_EQ(entries("closed"), Names{"result"});
    EXPECT_EQ(errorOfResultFile(path("closed/fresh")), EACCES);
}

TEST_F(ResultFiles, FifoIsWrittenInPlace) {
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    std::string text;
    std::thread reader([&] { text = read("fifo"); });
    EXPECT_TRUE(save(path("fifo"), "through"));
    reader.join();
    EXPECT_EQ(text, "through");
    EXPECT_TRUE(fs::is_fifo(path("fifo")));
    EXPECT_EQ(entries(), Names{"fifo"});
}

TEST_F(ResultFiles, DeviceIsWrittenInPlace) {
    EXPECT_TRUE(save("/dev/null", "text"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    fs::create_symlink("/dev/full", path("full"));
    EXPECT_FALSE(save(path("full"), "text"));
    EXPECT_FALSE(save(path("full"), std::string(100000, 't')));
    EXPECT_TRUE(fs::is_symlink(path("full")));
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

/// The stream that is redirected to a file must go on reaching that file.
TEST_F(ResultFiles, StandardOutputIsWrittenInPlace) {
    fs::create_symlink("/dev/stdout", path("link"));
    for (const std::string& name :
         {std::string("/dev/stdout"), std::string("/proc/self/fd/1"), path("link")}) {
        fs::remove(path("report"));
        const int state = stateAfter([&] {
            const int file = open(path("report").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
            if (dup2(file, STDOUT_FILENO) < 0 || !save(name, "result\n") ||
                ::write(STDOUT_FILENO, "report\n", 7) != 7) {
                _exit(1);
            }
        });
        EXPECT_EQ(state, 0) << name;
        EXPECT_EQ(read("report"), "result\nreport\n") << name;
    }
    EXPECT_EQ(entries(), (Names{"link", "report"}));
}

TEST_F(ResultFiles, FullDiskLeavesTheOldContent) {
    write("result", "old");
    write("linked", "linked");
    fs::create_hard_link(path("linked"), path("twin"));
    const int state = stateAfter([&] {
        const rlimit small{1000, 1000};
        std::signal(SIGXFSZ, SIG_IGN);
        if (setrlimit(RLIMIT_FSIZE, &small) != 0) {
            _exit(2);
        }
        for (const char* name : {"result", "linked", "fresh"}) {
            for (const std::size_t size : {1001U, 100000U}) { // in the last flush, and before
                if (save(path(name), std::string(size, 'n'))) {
                    _exit(1);
                }
            }
        }
    });
    EXPECT_EQ(state, 0);
    EXPECT_EQ(read("result"), "old");
    EXPECT_EQ(read("twin"), "linked");
    EXPECT_EQ(entries(), (Names{"linked", "result", "twin"}));
}

/// Mounts a disk of 1 MiB and six entries on a directory, for this process alone. Not every system lets one.
bool mountSmallDisk(const std::string& directory) {
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", directory.c_str(), "tmpfs", 0, "size=1m,nr_inodes=7") == 0;
}

/// Its root takes one of the seven. The process ends with the number of the first expectation that fails;
/// where nothing can be mounted, the test with a size limit stands for this one.
TEST_F(ResultFiles, FullDiskOrOneWithoutEntriesLeavesTheOldContent) {
    const int state = stateAfter([&] {
        if (!isSuperuser() || seteuid(0) != 0 || !mountSmallDisk(m_directory.string())) {
            return;
        }
        write("old", "old");
        write("twin", "twin");
        fs::create_hard_link(path("twin"), path("linked"));
        for (const char* name : {"old", "linked", "fresh"}) {
            if (save(path(name), std::string(1U << 20U, 'n'))) {
                _exit(1);
            }
        }
        if (read("old") != "old" || read("twin") != "twin" || fs::exists(path("fresh"))) {
            _exit(2);
        }
        // Room for one copy, but not for a second one behind the name with two links.
        if (save(path("linked"), std::string(600000, 'n')) || read("twin") != "twin") {
            _exit(3);
        }
        if (!save(path("old"), std::string(600000, 'n')) || save(path("old"), std::string(600000, 'm')) ||
            read("old") != std::string(600000, 'n')) {
            _exit(4);
        }
        for (const char* name : {"1", "2", "3", "4", "5", "6"}) {
            write(name, "");
        }
        if (save(path("old"), "no room for a hidden file") || read("old") != std::string(600000, 'n')) {
            _exit(5);
        }
        fs::remove(path("1"));
        if (!save(path("old"), "room") || read("old") != "room") {
            _exit(6);
        }
        // A mount point cannot be renamed over.
        if (mount(path("twin").c_str(), path("old").c_str(), nullptr, MS_BIND, nullptr) != 0 ||
            !save(path("old"), "through") || read("linked") != "through") {
            _exit(7);
        }
    });
    EXPECT_EQ(state, 0) << WEXITSTATUS(state);
}

TEST_F(ResultFiles, TwoTakeTheirPlacesTogetherOrNeitherDoes) {
    for (const bool isEarlier : {true, false}) {
        fs::remove_all(path("second"));
        fs::remove(path("first"));
        if (isEarlier) {
            write("first", "old");
        }
        ResultFile first(path("first"));
        ResultFile second(path("second"));
        std::fputs("new", first.stream());
        std::fputs("new", second.stream());
        EXPECT_TRUE(first.complete() && second.complete());
        EXPECT_EQ(first.stream(), nullptr);
        EXPECT_EQ(read("first"), isEarlier ? "old" : "");
        fs::create_directories(path("second/in the way"));
        EXPECT_FALSE(ResultFile::commitTogether({&first, &second}));
        EXPECT_EQ(read("first"), isEarlier ? "old" : "");
        EXPECT_EQ(entries(), isEarlier ? (Names{"first", "second"}) : Names{"second"});
        EXPECT_FALSE(first.commit());
    }
    fs::remove_all(path("second"));
    ResultFile first(path("first"));
    ResultFile second(path("second"));
    std::fputs("1", first.stream());
    std::fputs("2", second.stream());
    EXPECT_TRUE(ResultFile::commitTogether({&first, &second}));
    EXPECT_EQ(read("first") + read("second"), "12");
    EXPECT_EQ(entries(), (Names{"first", "second"}));
    EXPECT_TRUE(ResultFile::commitTogether({}));
}

TEST_F(ResultFiles, OneThatIsIncompleteKeepsTheOtherOutOfPlace) {
    write("first", "old");
    fs::create_symlink("/dev/full", path("second"));
    ResultFile first(path("first"));
    ResultFile second(path("second"));
    std::fputs("new", first.stream());
    std::fputs("new", second.stream());
    EXPECT_FALSE(ResultFile::commitTogether({&first, &second}));
    EXPECT_EQ(read("first"), "old");
    EXPECT_EQ(entries(), (Names{"first", "second"}));
}

/// What can't be put back has to come last, whatever its place in the list.
TEST_F(ResultFiles, OneThatIsCopiedIntoItsPlaceWaitsForTheRenames) {
    write("linked", "old");
    fs::create_hard_link(path("linked"), path("twin"));
    ResultFile linked(path("linked"));
    ResultFile renamed(path("renamed"));
    std::fputs("new", linked.stream());
    std::fputs("new", renamed.stream());
    fs::create_directories(path("renamed/in the way"));
    EXPECT_FALSE(ResultFile::commitTogether({&linked, &renamed}));
    EXPECT_EQ(read("twin"), "old");
}

TEST_F(ResultFiles, PairsOfTwoProcessesAreNeverMixed) {
    constexpr int rounds = 150;
    for (int round = 0; round < rounds; ++round) {
        int gate[2];
        ASSERT_EQ(pipe(gate), 0);
        pid_t children[2];
        for (int i = 0; i < 2; ++i) {
            children[i] = fork();
            if (children[i] != 0) {
                continue;
            }
            close(gate[1]);
            ResultFile first(path("first"));
            ResultFile second(path("second"));
            std::fputc('a' + i, first.stream());
            std::fputc('a' + i, second.stream());
            first.complete();
            second.complete();
            char byte = 0;
            [[maybe_unused]] const ssize_t opened =
                ::read(gate[0], &byte, 1); // until the other is ready, too
            _exit(ResultFile::commitTogether({&first, &second}) ? 0 : 1);
        }
        close(gate[0]);
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
        close(gate[1]);
        for (const pid_t child : children) {
            int state = -1;
            waitpid(child, &state, 0);
            ASSERT_EQ(state, 0);
        }
        ASSERT_EQ(read("first"), read("second")) << "round " << round;
        ASSERT_EQ(entries(), (Names{"first", "second"}));
    }
}

/// Too many open files are no reason to pay with an earlier result.
TEST_F(ResultFiles, WithoutAHiddenFileTheOldContentStays) {
    write("result", "old");
    const int state = stateAfter([&] {
        const int next = dup(STDIN_FILENO);
        close(next);
        const rlimit oneMore{static_cast<rlim_t>(next) + 1, static_cast<rlim_t>(next) + 1};
        if (setrlimit(RLIMIT_NOFILE, &oneMore) != 0) {
            _exit(2);
        }
        _exit(errorOfResultFile(path("result")) == EMFILE ? 0 : 1);
    });
    EXPECT_EQ(state, 0);
    EXPECT_EQ(read("result"), "old");
}

TEST_F(ResultFiles, KilledProcessLeavesTheOldContentAndAHiddenFile) {
    write("result", "old");
    const int state = stateAfter([&] {
        const ResultFile file(path("result"));
        std::fputs("half", file.stream());
        std::fflush(file.stream());
        std::raise(SIGKILL);
    });
    EXPECT_TRUE(WIFSIGNALED(state));
    EXPECT_EQ(read("result"), "old");
    Names left = entries();
    left.erase("result");
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left.begin()->rfind(".selvane-", 0), 0U) << *left.begin();
    EXPECT_TRUE(save(path("result"), "new"));
    EXPECT_EQ(read("result"), "new");
}

TEST_F(ResultFiles, SeveralAtOnceKeepApart) {
    ResultFile first(path("first"));
    ResultFile again(path("first"));
    ResultFile second(path("second"));
    std::fputs("1", first.stream());
    std::fputs("2", second.stream());
    std::fputs("3", again.stream());
    EXPECT_TRUE(first.commit());
    EXPECT_TRUE(second.commit());
    EXPECT_TRUE(again.commit());
    EXPECT_EQ(read("first"), "3");
    EXPECT_EQ(read("second"), "2");
    EXPECT_EQ(entries(), (Names{"first", "second"}));
}

TEST_F(ResultFiles, HiddenFileOfAnotherProcessIsNotTouched) {
    // A process of the same number on another machine may write to the same directory.
    const std::string start = ".selvane-" + std::to_string(getpid()) + "-";
    Names expected = {"result"};
    for (int n = 0; n < 1000; ++n) {
        write(start + std::to_string(n) + ".partial", "theirs");
        expected.insert(start + std::to_string(n) + ".partial");
    }
    EXPECT_TRUE(save(path("result"), "mine"));
    EXPECT_EQ(entries(), expected);
    EXPECT_EQ(read(start + "0.partial"), "theirs");
}

} // namespace
