// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/streams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>

#include "tests/run/NoMoreFiles.h"
#include "tests/support/InChild.h"

namespace {

using run::openStandardStreams;

bool isOpen(int file) { return fcntl(file, F_GETFD) != -1; }

/// Whether reads and writes of the null device are what a stream does.
bool isNullDevice(int file) {
    std::array<char, 1> byte{};
    return read(file, byte.data(), 1) == 0 && write(file, byte.data(), 1) == 1;
}

TEST(StandardStreams, ThatAreClosedAreTheNullDevice) {
    for (unsigned closed = 0; closed < 8; ++closed)
        EXPECT_EQ(inChild([=] {
                      const int next = dup(STDIN_FILENO);
                      close(next);
                      for (int file = 0; file < 3; ++file)
                          if ((closed >> static_cast<unsigned>(file) & 1U) != 0) close(file);
                      openStandardStreams();
                      for (int file = 0; file < 3; ++file) {
                          if (!isOpen(file)) return 2;
                          const bool was = (closed >> static_cast<unsigned>(file) & 1U) != 0;
                          if (was && !isNullDevice(file)) return 3;
                      }
                      return isOpen(next) ? 4 : 1;
                  }),
                  1)
            << closed;
}

TEST(StandardStreams, WithoutTheNullDeviceAreAFailure) {
    EXPECT_EQ(inChild([] {
                  // All numbers below the limit are taken.
                  const NoMoreFiles none;
                  openStandardStreams();
                  return 1;
              }),
              100);
}

}  // namespace
