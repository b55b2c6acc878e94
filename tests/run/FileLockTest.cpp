// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/FileLock.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "tests/support/Refused.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using run::Descriptor;
using run::FileLock;

struct FileLockTest : testing::Test {
    FileLockTest() { setContents(file, "values"); }

    std::string refusal() const {
        return refused([&] { const FileLock second(file); });
    }

    TemporaryFolder folder;
    std::filesystem::path file = folder / "field.h5";
};

TEST_F(FileLockTest, KeepsASecondRunOut) {
    const FileLock first(file);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(refusal(), file.string() + ": another run is working on it");
    EXPECT_TRUE(FileLock::isLocked(Descriptor(file, O_RDONLY)));
}

TEST_F(FileLockTest, LetsRunsInAfterEachOtherAndLeavesNothing) {
    for (int i = 0; i < 2; ++i) const FileLock lock(file);
    EXPECT_FALSE(FileLock::isLocked(Descriptor(file, O_RDONLY)));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 1);
    EXPECT_EQ(contents(file), "values");
}

TEST_F(FileLockTest, IsOfOneFileOnly) {
    const FileLock first(file);
    setContents(folder / "other.h5", "values");
    EXPECT_NO_THROW(FileLock(folder / "other.h5"));
}

TEST_F(FileLockTest, StaysWhenTheProcessClosesTheFileElsewhere) {
    const FileLock first(file);
    static_cast<void>(contents(file));
    EXPECT_NE(refusal(), "no failure");
}

/// HDF5 locks files that it reads in this way.
TEST_F(FileLockTest, LetsReadersReadAndIsNotHeldUpByThem) {
    const Descriptor reader(file, O_RDONLY);
    ASSERT_EQ(flock(reader, LOCK_SH | LOCK_NB), 0);
    const FileLock first(file);
    const Descriptor second(file, O_RDONLY);
    EXPECT_EQ(flock(second, LOCK_SH | LOCK_NB), 0);
}

TEST_F(FileLockTest, KnowsWhetherItsFileIsStillThere) {
    const FileLock lock(file);
    EXPECT_TRUE(lock.file().isAt(file));
    std::filesystem::rename(file, folder / "moved.h5");
    EXPECT_FALSE(lock.file().isAt(file));
    setContents(file, "others");
    EXPECT_FALSE(lock.file().isAt(file));
}

TEST_F(FileLockTest, EndsWithItsProcessHoweverThatEnds) {
    std::array<int, 2> ready{};
    ASSERT_EQ(pipe(ready.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        const FileLock lock(file);
        if (write(ready[1], "", 1) == 1) pause();
        _exit(1);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_EQ(refusal(), file.string() + ": another run is working on it");
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(refusal(), "no failure");
}

TEST_F(FileLockTest, SaysWhyAFileCannotBeWritten) {
    const std::filesystem::path nowhere = folder / "none" / "field.h5";
    EXPECT_EQ(refused([&] { const FileLock lock(nowhere); }),
              nowhere.string() + " cannot be written: No such file or directory");
}

}  // namespace
