// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/readText.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/support/Refused.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using run::readText;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

struct ReadText : testing::Test {
    std::string refusal() const {
        return refused([&] { static_cast<void>(readText(path)); });
    }

    TemporaryFolder folder;
    std::filesystem::path path = folder / "text";
};

TEST_F(ReadText, IsAllOfAFile) {
    for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 200000U}) {
        std::string text(size, 'a');
        for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + i % 23);
        setContents(path, text);
        EXPECT_TRUE(readText(path) == text) << size;
    }
}

TEST_F(ReadText, IsAllOfAPipeThatIsFilledSlowlyAmongSignals) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    // Not restarted: a call that waits ends with EINTR.
    struct sigaction interrupting {};
    interrupting.sa_handler = [](int) {};
    struct sigaction before {};
    sigaction(SIGUSR1, &interrupting, &before);
    const std::jthread writer([this, reader = pthread_self()] {
        const int pipe = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        for (int i = 0; i < 5; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            pthread_kill(reader, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            EXPECT_EQ(write(pipe, "a", 1), 1);
        }
        close(pipe);
    });
    EXPECT_EQ(readText(path), "aaaaa");
    sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(ReadText, ThatIsNotThereOrCannotBeReadIsRefused) {
    EXPECT_THAT(refusal(), AllOf(StartsWith(path.string()), HasSubstr("No such file")));
    path = folder.path;
    EXPECT_THAT(refusal(), AllOf(StartsWith(path.string()), HasSubstr("Is a directory")));
}

TEST_F(ReadText, OfMoreThan64MegabytesIsRefused) {
    setContents(path, "");
    std::filesystem::resize_file(path, 64'000'000);
    EXPECT_EQ(readText(path).size(), 64'000'000U);
    std::filesystem::resize_file(path, 64'000'001);
    EXPECT_EQ(refusal(), path.string() + ": more than 64 MB are no text of this program");
}

TEST_F(ReadText, LeavesNoFileOpen) {
    setContents(path, "text");
    const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(next);
    EXPECT_EQ(readText(path), "text");
    EXPECT_EQ(fcntl(next, F_GETFD), -1);
}

}  // namespace
