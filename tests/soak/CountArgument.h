// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <charconv>
#include <cstdlib>
#include <iostream>
#include <string_view>

/// The number of a program's cases, above 0, which is its only argument. Ends the program with the
/// status 2 where that is not so.
inline int countArgument(int argc, char** argv) {
    int count = 0;
    if (argc == 2) {
        const std::string_view text(argv[1]);
        const char* const end = text.data() + text.size();
        if (std::from_chars(text.data(), end, count).ptr != end) count = 0;
    }
    if (count < 1) {
        std::cerr << "usage: " << argv[0] << " COUNT\n";
        std::exit(2);
    }
    return count;
}
