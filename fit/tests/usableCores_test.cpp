// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <thread>

#include <sched.h>

#include <gtest/gtest.h>

#include "fit/tests/scratchFolder.h"
#include "fit/usableCores.h"

namespace {

TEST(UsableCores, WithoutGroupsAreThoseThatTheProcessIsBoundTo) {
    const ScratchFolder root;
    cpu_set_t before;
    ASSERT_EQ(sched_getaffinity(0, sizeof(before), &before), 0);
    EXPECT_EQ(usableCores(root.of("")), static_cast<std::size_t>(CPU_COUNT(&before)));
    // A thread of its own, so that the other tests keep their cores.
    std::thread([&] {
        int first = 0;
        while (!CPU_ISSET(first, &before)) {
            ++first;
        }
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(first, &one);
        ASSERT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
        EXPECT_EQ(usableCores(root.of("")), 1U);
    }).join();
}

TEST(UsableCores, HoldToTheQuotaOfAGroupAndOfThoseAboveIt) {
    const ScratchFolder root;
    root.write("proc/self/cgroup", "0::/outer/inner\n");
    root.write("sys/fs/cgroup/outer/inner/cpu.max", "max 100000\n");
    const std::size_t unlimited = usableCores(root.of(""));
    root.write("sys/fs/cgroup/outer/cpu.max", "60000 100000\n");
    EXPECT_EQ(usableCores(root.of("")), 1U);
    EXPECT_GE(unlimited, 1U);
}

TEST(UsableCores, RoundTheGrantedTimeUpAndReadTheOldFiles) {
    const ScratchFolder root;
    root.write("proc/self/cgroup", "4:cpu,cpuacct:/job\n3:memory:/job\n");
    root.write("sys/fs/cgroup/cpu,cpuacct/job/cpu.cfs_quota_us", "-1\n");
    root.write("sys/fs/cgroup/cpu,cpuacct/job/cpu.cfs_period_us", "100000\n");
    const std::size_t all = usableCores(root.of(""));
    root.write("sys/fs/cgroup/cpu,cpuacct/job/cpu.cfs_quota_us", "100001\n");
    EXPECT_EQ(usableCores(root.of("")), std::min<std::size_t>(all, 2));
    root.write("sys/fs/cgroup/cpu,cpuacct/job/cpu.cfs_quota_us", "20000\n");
    EXPECT_EQ(usableCores(root.of("")), 1U);
}

} // namespace
