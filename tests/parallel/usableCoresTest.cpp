// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "parallel/usableCores.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <cmath>
#include <fstream>
#include <future>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using pistonfield::coresOfQuotas;

/// A system whose files of control groups have these texts.
struct System {
    void has(const std::string& file, const std::string& text) const {
        const fs::path path = folder.path / file;
        fs::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }

    double cores() const { return coresOfQuotas(folder.path); }

    TemporaryFolder folder;
};

TEST(UsableCoresTest, AreUnlimitedWithoutControlGroups) {
    EXPECT_TRUE(std::isinf(System().cores()));
}

TEST(UsableCoresTest, AreThoseOfTheQuotaRoundedUp) {
    const System system;
    system.has("proc/self/cgroup", "0::/job\n");
    for (const auto& [quota, cores] : {std::pair{"50000 100000\n", 1.0},
                                       {"100000 100000\n", 1.0},
                                       {"250000 100000\n", 3.0},
                                       {"max 100000\n", INFINITY},
                                       {"", INFINITY}}) {
        system.has("sys/fs/cgroup/job/cpu.max", quota);
        EXPECT_EQ(system.cores(), cores) << quota;
    }
}

TEST(UsableCoresTest, AreNoMoreThanThoseOfTheGroupsAround) {
    const System system;
    system.has("proc/self/cgroup", "0::/batch/job/step\n");
    system.has("sys/fs/cgroup/batch/cpu.max", "200000 100000\n");
    system.has("sys/fs/cgroup/batch/job/step/cpu.max", "400000 100000\n");
    EXPECT_EQ(system.cores(), 2);
}

/// A container shows its own group as the root, and the process may know it by another path.
TEST(UsableCoresTest, AreThoseOfTheRootInAContainer) {
    const System system;
    system.has("proc/self/cgroup", "0::/../../elsewhere\n");
    system.has("sys/fs/cgroup/cpu.max", "300000 100000\n");
    EXPECT_EQ(system.cores(), 3);
}

TEST(UsableCoresTest, AreThoseOfGroupsOfTheFirstVersion) {
    const System system;
    system.has("proc/self/cgroup", "5:memory:/job\n4:cpu,cpuacct:/job\n0::/\n");
    system.has("sys/fs/cgroup/cpu/job/cpu.cfs_period_us", "100000\n");
    system.has("sys/fs/cgroup/cpu/job/cpu.cfs_quota_us", "150000\n");
    EXPECT_EQ(system.cores(), 2);
    system.has("sys/fs/cgroup/cpu/job/cpu.cfs_quota_us", "-1\n");
    EXPECT_TRUE(std::isinf(system.cores()));
}

TEST(UsableCoresTest, AreThoseThatTheThreadIsBoundTo) {
    const auto coresOfOneBound = [] {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(sched_getcpu(), &set);
        EXPECT_EQ(sched_setaffinity(0, sizeof set, &set), 0);
        return pistonfield::usableCores();
    };
    // In a thread of its own, which ends with its binding.
    EXPECT_EQ(std::async(std::launch::async, coresOfOneBound).get(), 1U);
}

}  // namespace
