// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/FileLock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <memory>

#include "tests/run/Refused.h"
#include "tests/run/TemporaryFolder.h"

namespace {

using run::FileLock;

struct FileLockTest : testing::Test {
    std::string refusal() const {
        return refused([&] { const FileLock second(output); });
    }

    TemporaryFolder folder;
    std::filesystem::path output = folder / "field.h5";
    std::filesystem::path file = folder / "field.h5.lock";
};

TEST_F(FileLockTest, KeepsASecondRunOut) {
    const FileLock first(output);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(refusal(), output.string() + ": another run is working on it");
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(FileLockTest, LetsRunsInAfterEachOtherAndLeavesNothing) {
    for (int i = 0; i < 2; ++i) {
        const FileLock lock(output);
        EXPECT_FALSE(std::filesystem::exists(output));
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

TEST_F(FileLockTest, IsOfOneOutputOnly) {
    const FileLock first(output);
    EXPECT_NO_THROW(FileLock(folder / "other.h5"));
}

TEST_F(FileLockTest, EndsWithItsProcessHoweverThatEnds) {
    std::array<int, 2> ready{};
    ASSERT_EQ(pipe(ready.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        const FileLock lock(output);
        if (write(ready[1], "", 1) == 1) pause();
        _exit(1);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_EQ(refusal(), output.string() + ": another run is working on it");
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_EQ(refusal(), "no failure");
}

TEST_F(FileLockTest, SaysWhyAFolderCannotBeWritten) {
    const std::filesystem::path nowhere = folder / "none" / "field.h5";
    EXPECT_EQ(refused([&] { const FileLock lock(nowhere); }),
              nowhere.string() + " cannot be written: No such file or directory");
}

}  // namespace
