// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "IO/resources.h"

namespace {

/// A made-up machine of 8000 kB, 6000 of them free, in a temporary directory.
class ControlGroups : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "resourcesXXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root = pattern;
        write("/proc/meminfo", "MemTotal: 8000 kB\nMemFree: 5000 kB\nMemAvailable: 6000 kB\n");
    }
    void TearDown() override { std::filesystem::remove_all(root); }

    void write(const std::string& path, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(root + path).parent_path());
        std::ofstream(root + path) << text;
    }

    std::string root;
};

TEST(Resources, MemoryIsPositiveAndNoMoreIsFreeThanThereIs) {
    const resources::Memory memory = resources::memory();
    EXPECT_GT(memory.total, 0.0);
    EXPECT_GE(memory.available, 0.0);
    EXPECT_LE(memory.available, memory.total);
}

TEST(Resources, StackOfAThreadIsAtLeastWhatThreadsNeed) {
    constexpr double smallest = 16384.0;
    EXPECT_GE(resources::threadStack(), smallest);
    EXPECT_LT(resources::threadStack(), 1e12);
}

/// Ends with status 0 if a limit of address space counts for what the process does not have yet.
[[noreturn]] void compareFreeAddressSpace() {
    constexpr double gigabyte = 1073741824.0;
    constexpr double limit = 1024.0 * gigabyte;
    const bool unlimited = std::isinf(resources::freeAddressSpace());
    const rlimit small{static_cast<rlim_t>(limit), static_cast<rlim_t>(limit)};
    if (setrlimit(RLIMIT_AS, &small) != 0) {
        std::_Exit(2);
    }
    const double left = resources::freeAddressSpace();
    void* const taken = mmap(nullptr, static_cast<std::size_t>(gigabyte), PROT_NONE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    const bool follows = taken != MAP_FAILED && left - resources::freeAddressSpace() >= gigabyte;
    std::_Exit(unlimited && left < limit && left > 0.0 && follows ? 0 : 1);
}

TEST(ResourcesDeathTest, AddressSpaceIsTheLimitLessWhatIsTaken) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer takes more address space than any limit";
#endif
    EXPECT_EXIT(compareFreeAddressSpace(), ::testing::ExitedWithCode(0), "");
}

TEST_F(ControlGroups, WithoutALimitTheMachineCounts) {
    write("/proc/self/cgroup", "0::/user.slice\n");
    write("/sys/fs/cgroup/user.slice/memory.max", "max\n");
    write("/sys/fs/cgroup/user.slice/memory.current", "1000\n");
    const resources::Memory memory = resources::memory(root);
    EXPECT_EQ(memory.total, 8000.0 * 1024.0);
    EXPECT_EQ(memory.available, 6000.0 * 1024.0);
}

TEST_F(ControlGroups, LimitOfTheProcessesOwnGroupCounts) {
    write("/proc/self/cgroup", "1:name=systemd:/\n0::/user.slice/job.scope\n");
    write("/sys/fs/cgroup/user.slice/job.scope/memory.max", "100000\n");
    write("/sys/fs/cgroup/user.slice/job.scope/memory.current", "30000\n");
    write("/sys/fs/cgroup/user.slice/job.scope/memory.stat", "anon 1000\ninactive_file 5000\n");
    const resources::Memory memory = resources::memory(root);
    EXPECT_EQ(memory.total, 100000.0);
    EXPECT_EQ(memory.available, 75000.0);
}

TEST_F(ControlGroups, SmallerLimitOfAGroupAboveCounts) {
    write("/proc/self/cgroup", "0::/user.slice/job.scope\n");
    write("/sys/fs/cgroup/user.slice/job.scope/memory.max", "100000\n");
    write("/sys/fs/cgroup/user.slice/memory.max", "50000\n");
    EXPECT_EQ(resources::memory(root).total, 50000.0);
}

TEST_F(ControlGroups, LegacyHierarchyIsRead) {
    write("/proc/self/cgroup", "9:cpu:/\n4:hugetlb,memory:/batch/job\n0::/\n");
    write("/sys/fs/cgroup/memory/batch/job/memory.limit_in_bytes", "70000\n");
    write("/sys/fs/cgroup/memory/batch/job/memory.usage_in_bytes", "20000\n");
    const resources::Memory memory = resources::memory(root);
    EXPECT_EQ(memory.total, 70000.0);
    EXPECT_EQ(memory.available, 50000.0);
}

TEST_F(ControlGroups, PathOfTheHostFallsBackToTheMount) {
    write("/proc/self/cgroup", "4:memory:/host/0123\n");
    write("/sys/fs/cgroup/memory/memory.limit_in_bytes", "60000\n");
    EXPECT_EQ(resources::memory(root).total, 60000.0);
}

TEST_F(ControlGroups, MachineWithoutTheirFilesIsUnlimited) {
    const resources::Memory memory = resources::memory(root + "/nothing");
    EXPECT_TRUE(std::isinf(memory.total));
    EXPECT_TRUE(std::isinf(memory.available));
}

TEST(Resources, FreeDiskOfADirectoryIsKnown) {
    const double free = resources::freeDisk(std::filesystem::temp_directory_path().string());
    EXPECT_TRUE(std::isfinite(free));
    EXPECT_GE(free, 0.0);
}

TEST(Resources, FreeDiskOfNoDirectoryIsUnknown) {
    EXPECT_TRUE(std::isinf(resources::freeDisk("/no/such/directory")));
}

TEST(Resources, ComputingTakesTimeOfTheProcess) {
    const double before = resources::cpuSeconds();
    volatile double sum = 0.0;
    while (resources::cpuSeconds() < before + 0.02) {
        for (int i = 0; i < 1000; ++i) {
            sum = sum + static_cast<double>(i);
        }
    }
    EXPECT_GT(before, 0.0);
    EXPECT_LT(before, 1e6);
}

TEST(Resources, ThePeakHoldsWhatWasUsedAndGivenBack) {
    constexpr std::size_t bytes = 64 << 20;
    const std::size_t before = resources::peakBytes();
    { const std::vector<char> used(bytes + before, 1); }
    EXPECT_GE(resources::peakBytes(), bytes + before);
}

} // namespace
