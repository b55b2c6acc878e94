// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/TemporaryFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <set>

#include "tests/support/Refused.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using run::TemporaryFile;

struct TemporaryFiles : testing::Test {
    std::set<std::string> files() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder.path))
            names.insert(entry.path().filename());
        return names;
    }

    /// The path of one that a process has left which was killed, with these bytes in it.
    fs::path left(const std::optional<std::string>& bytes = std::nullopt) const {
        const std::set<std::string> before = files();
        const pid_t child = fork();
        if (child == 0) {
            const TemporaryFile temporary(output);
            raise(SIGKILL);
        }
        waitpid(child, nullptr, 0);
        for (const std::string& name : files())
            if (!before.contains(name)) {
                if (bytes) setContents(folder / name, *bytes);
                return folder / name;
            }
        ADD_FAILURE() << "nothing was left";
        return {};
    }

    TemporaryFolder folder;
    fs::path output = folder / "field.h5";
};

TEST_F(TemporaryFiles, BecomeTheOutputAllAtOnce) {
    TemporaryFile temporary(output);
    EXPECT_FALSE(fs::exists(output));
    temporary.fill([](const fs::path& path) {
        EXPECT_THAT(contents(path), testing::HasSubstr("field.h5"));
        fs::resize_file(path, 1000);
    });
    static_cast<void>(temporary.takePlace(/*replacing=*/false, "values"));
    EXPECT_THAT(contents(output), testing::StartsWith("values"));
    EXPECT_EQ(contents(output).size(), 1000U);
    EXPECT_EQ(files(), std::set<std::string>{"field.h5"});
}

TEST_F(TemporaryFiles, HaveTheSizeThatIsAskedFor) {
    TemporaryFile temporary(output);
    static_cast<void>(temporary.takePlace(/*replacing=*/false, "values", 6));
    EXPECT_EQ(contents(output), "values");
}

TEST_F(TemporaryFiles, LeaveNothingWhereTheyDoNotBecomeIt) {
    { const TemporaryFile temporary(output); }
    EXPECT_TRUE(fs::is_empty(folder.path));
}

TEST_F(TemporaryFiles, TakeNoPlaceThatIsTaken) {
    TemporaryFile temporary(output);
    setContents(output, "precious");
    EXPECT_EQ(
        refused([&] { static_cast<void>(temporary.takePlace(/*replacing=*/false, "values")); }),
        output.string() + " exists now: another run has made it meanwhile");
    EXPECT_EQ(contents(output), "precious");
}

TEST_F(TemporaryFiles, TakeThePlaceOfWhatIsToBeReplaced) {
    setContents(output, "old");
    TemporaryFile temporary(output);
    static_cast<void>(temporary.takePlace(/*replacing=*/true, "values", 6));
    EXPECT_EQ(contents(output), "values");
}

TEST_F(TemporaryFiles, StayLockedAsTheOutput) {
    TemporaryFile temporary(output);
    const run::FileLock lock = temporary.takePlace(/*replacing=*/false, "values");
    EXPECT_EQ(refused([&] { run::FileLock{output}; }),
              output.string() + ": another run is working on it");
}

TEST_F(TemporaryFiles, HaveTheRightsOfAnyFile) {
    const mode_t mask = umask(027);
    TemporaryFile temporary(output);
    umask(mask);
    static_cast<void>(temporary.takePlace(/*replacing=*/false, "values"));
    struct stat status {};
    ASSERT_EQ(stat(output.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(TemporaryFiles, NameTheOutputWhereTheyFail) {
    const TemporaryFile temporary(output);
    EXPECT_EQ(refused([&] {
                  temporary.fill([](const fs::path& path) {
                      throw std::runtime_error(path.string() + " is full");
                  });
              }),
              output.string() + " is full");
    EXPECT_EQ(
        refused([&] { const TemporaryFile other(folder / "none" / "field.h5"); }),
        (folder / "none" / "field.h5").string() + " cannot be written: No such file or directory");
}

TEST_F(TemporaryFiles, OfKilledRunsAreRemoved) {
    left();
    const fs::path empty = left("");
    fs::last_write_time(empty, fs::file_time_type::clock::now() - std::chrono::hours(2));
    ASSERT_EQ(files().size(), 2U);
    TemporaryFile::removeLeftovers(output);
    EXPECT_TRUE(fs::is_empty(folder.path));
}

TEST_F(TemporaryFiles, AtWorkStay) {
    const TemporaryFile temporary(output);
    TemporaryFile::removeLeftovers(output);
    EXPECT_EQ(files().size(), 1U);
}

/// Another run may be about to write into it.
TEST_F(TemporaryFiles, WithoutAnyByteStayForAWhile) {
    left("");
    TemporaryFile::removeLeftovers(output);
    EXPECT_EQ(files().size(), 1U);
}

/// Whatever the name of a file: what is removed says itself that it is of no worth.
TEST_F(TemporaryFiles, OfOthersStay) {
    const fs::path temporary = left("precious");
    left(std::string(1000, 'x'));
    fs::create_directory(folder / ".pistonfield-run-0123456789abcdef");
    fs::create_symlink(temporary, folder / ".pistonfield-run-0123456789abcdee");
    for (const char* name : {"field.h5.new", "field.h5.lock", "field.h5.compressing"})
        setContents(folder / name, "");
    const std::set<std::string> before = files();
    TemporaryFile::removeLeftovers(output);
    EXPECT_EQ(files(), before);
}

TEST_F(TemporaryFiles, OfOtherOutputsStay) {
    left();
    TemporaryFile::removeLeftovers(folder / "other.h5");
    EXPECT_EQ(files().size(), 1U);
}

}  // namespace
