// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/launcher.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

#include "tests/support/Refused.h"

namespace {

using Variables = std::map<std::string, std::string>;

run::Environment environment(const Variables& variables) {
    return [&variables](const char* name) {
        const auto found = variables.find(name);
        return found == variables.end() ? nullptr : found->second.c_str();
    };
}

run::Launch launchOf(const Variables& variables) { return run::launchOf(environment(variables)); }

TEST(Launch, WithoutALauncherIsOfOneProcess) {
    EXPECT_TRUE(launchOf({}).alone());
    EXPECT_TRUE(
        launchOf({{"SLURM_JOB_ID", "3"}, {"SLURM_NTASKS", "4"}, {"SLURM_PROCID", "0"}}).alone());
}

TEST(Launch, ByALauncherIsOfAsManyAsItSays) {
    for (const char* name : {"OMPI_COMM_WORLD_SIZE", "PMI_SIZE", "MV2_COMM_WORLD_SIZE"}) {
        EXPECT_FALSE(launchOf({{name, "4"}}).alone());
        EXPECT_EQ(launchOf({{name, "4"}}).processes, 4);
        EXPECT_TRUE(launchOf({{name, "1"}}).alone());
    }
}

TEST(Launch, TakesWholeNumbersAlone) {
    for (const char* odd : {"", "4x", "x", "4.5", " 4", "99999999999"})
        EXPECT_EQ(launchOf({{"PMI_SIZE", odd}}).processes, std::nullopt) << odd;
}

TEST(Launch, ByALauncherThatSaysNoNumberMayBeOfMany) {
    for (const char* name :
         {"PMIX_RANK", "PMIX_NAMESPACE", "PMI_RANK", "PMI_FD", "MPI_LOCALNRANKS"})
        EXPECT_FALSE(launchOf({{name, "0"}}).alone());
}

TEST(Launch, BySlurmIsOfTheTasksOfTheStep) {
    EXPECT_EQ(launchOf({{"PMIX_RANK", "1"}, {"SLURM_STEP_NUM_TASKS", "8"}}).processes, 8);
    EXPECT_FALSE(launchOf({{"PMIX_RANK", "1"}, {"SLURM_STEP_NUM_TASKS", "8"}}).alone());
    EXPECT_TRUE(launchOf({{"PMIX_RANK", "0"}, {"SLURM_STEP_NUM_TASKS", "1"}}).alone());
    // Slurm has started one daemon on each machine, and these four processes each.
    EXPECT_EQ(launchOf({{"OMPI_COMM_WORLD_SIZE", "8"}, {"SLURM_STEP_NUM_TASKS", "2"}}).processes,
              8);
}

TEST(Launch, HasOneProcessForEachCoreWhereALauncherHasStartedIt) {
    EXPECT_FALSE(launchOf({}).oneOfMany());
    EXPECT_FALSE(launchOf({{"SLURM_JOB_ID", "3"}, {"SLURM_NTASKS", "4"}}).oneOfMany());
    EXPECT_TRUE(launchOf({{"OMPI_COMM_WORLD_SIZE", "4"}}).oneOfMany());
    EXPECT_TRUE(launchOf({{"PMI_RANK", "0"}}).oneOfMany());
    // Of srun --mpi=none.
    EXPECT_TRUE(launchOf({{"SLURM_STEP_NUM_TASKS", "4"}}).oneOfMany());
}

TEST(Launch, OfManyWithoutMpiIsRefused) {
    const Variables variables{{"SLURM_STEP_NUM_TASKS", "4"}, {"SLURM_PROCID", "2"}};
    EXPECT_TRUE(launchOf(variables).alone());
    EXPECT_EQ(refused([&] { requireAll(launchOf(variables), 1); }),
              "4 processes were started and MPI knows of 1: take the launcher of the MPI that this "
              "program was built with, or srun --mpi=pmix");
    EXPECT_EQ(refused([&] { requireAll(launchOf(variables), 4); }), "no failure");
    EXPECT_EQ(refused([&] { requireAll(launchOf({}), 1); }), "no failure");
}

TEST(Launch, HasOneProcessThatComplains) {
    for (const char* name : {"OMPI_COMM_WORLD_RANK", "PMI_RANK", "PMIX_RANK", "SLURM_PROCID"}) {
        const Variables first{{name, "0"}};
        EXPECT_TRUE(run::isFirstOfStep(environment(first)));
        const Variables second{{name, "1"}};
        EXPECT_FALSE(run::isFirstOfStep(environment(second)));
    }
    const Variables none;
    EXPECT_TRUE(run::isFirstOfStep(environment(none)));
}

}  // namespace
