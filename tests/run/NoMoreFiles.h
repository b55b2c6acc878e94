// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <sys/resource.h>

/// While it lives, this process can open no file more.
class NoMoreFiles {
  public:
    NoMoreFiles() {
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit none{0, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    NoMoreFiles(const NoMoreFiles&) = delete;
    NoMoreFiles& operator=(const NoMoreFiles&) = delete;
    ~NoMoreFiles() { setrlimit(RLIMIT_NOFILE, &before); }

  private:
    rlimit before{};
};
