// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/leftovers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;

/// What Open MPI leaves in a lock of its own.
const std::string lock(8, '\0');

struct Leftovers : testing::Test {
    /// Whether a file of this name and contents is removed with what is left of the output.
    bool removes(const std::string& name, const std::string& text = lock) const {
        setContents(folder / name, text);
        run::removeLeftovers(output);
        const bool removed = !fs::exists(folder / name);
        fs::remove(folder / name);
        return removed;
    }

    TemporaryFolder folder;
    fs::path output = folder / "f.h5";
};

TEST_F(Leftovers, AreLocksOfTheOutput) {
    for (const char* name : {"f.h5-1-2.lock", "f.h5-1234567-0.lock", "f.h5-0-7654321.lock"})
        EXPECT_TRUE(removes(name)) << name;
}

TEST_F(Leftovers, AreNoFilesOfOtherNames) {
    for (const char* name :
         {"f.h5", "f.h5-.lock", "f.h5--.lock", "f.h5-1.lock", "f.h5-12-.lock", "f.h5--12.lock",
          "f.h5-1-2-3.lock", "f.h5-1-2", "f.h5-1-2.locks", "f.h5-1-b.lock", "f.h5-a-2.lock",
          "f.h5.lock", "g.h5-1-2.lock", "xf.h5-1-2.lock", ".lock", "-1-2.lock", "1-2.lock"})
        EXPECT_FALSE(removes(name)) << name;
}

TEST_F(Leftovers, AreNoFilesOfOtherContents) {
    for (const std::string& text :
         {std::string(), std::string("precious"), lock.substr(1), lock + '\0',
          std::string("\1\0\0\0\0\0\0\0", 8), std::string("\0\0\0\0\0\0\0\1", 8)})
        EXPECT_FALSE(removes("f.h5-1-2.lock", text)) << text.size();
}

TEST_F(Leftovers, AreNoFoldersAndLinks) {
    fs::create_directory(folder / "f.h5-1-2.lock");
    setContents(folder / "elsewhere", lock);
    fs::create_symlink(folder / "elsewhere", folder / "f.h5-3-4.lock");
    run::removeLeftovers(output);
    EXPECT_TRUE(fs::exists(folder / "f.h5-1-2.lock"));
    EXPECT_TRUE(fs::is_symlink(folder / "f.h5-3-4.lock"));
    EXPECT_TRUE(fs::exists(folder / "elsewhere"));
}

/// One in which nothing was written for hours.
TEST_F(Leftovers, AreTemporaryFiles) {
    const fs::path temporary = folder / ".pistonfield-run-0123456789abcdef";
    setContents(temporary, "");
    fs::last_write_time(temporary, fs::file_time_type::clock::now() - std::chrono::hours(2));
    run::removeLeftovers(output);
    EXPECT_FALSE(fs::exists(temporary));
}

TEST_F(Leftovers, LieBesideTheOutputAlone) {
    const TemporaryFolder other;
    setContents(other / "f.h5-1-2.lock", lock);
    run::removeLeftovers(output);
    EXPECT_TRUE(fs::exists(other / "f.h5-1-2.lock"));
}

}  // namespace
