// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/openFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/InChild.h"

namespace {

void allowFiles(rlim_t count) {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = count;
    setrlimit(RLIMIT_NOFILE, &files);
}

TEST(OpenFiles, AreAsManyAsAProcessMayEverHave) {
    EXPECT_EQ(inChild([] {
                  allowFiles(16);
                  run::prepareForFiles();
                  rlimit files{};
                  getrlimit(RLIMIT_NOFILE, &files);
                  return files.rlim_cur == files.rlim_max && files.rlim_cur > 16 ? 1 : 2;
              }),
              1);
}

TEST(OpenFiles, ThatGrowBeyondALimitEndNoProcess) {
    EXPECT_EQ(inChild([] {
                  run::prepareForFiles();
                  return std::raise(SIGXFSZ) == 0 ? 1 : 2;
              }),
              1);
}

TEST(OpenFiles, AreTriedBeforeTheyAreNeeded) {
    EXPECT_EQ(inChild([] {
                  // As many numbers as there are below the limit, this one among them.
                  const int next = open("/dev/null", O_RDONLY);
                  close(next);
                  allowFiles(static_cast<rlim_t>(next) + 5);
                  if (!run::mayOpen(0) || !run::mayOpen(5) || run::mayOpen(6)) return 2;
                  return run::mayOpen(5) ? 1 : 3;
              }),
              1);
}

}  // namespace
