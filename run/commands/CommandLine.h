// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <variant>
#include <vector>

namespace run {

/// What a command line has, as words.
struct CommandLine {
    /// An option, or what stands alone: "output", or "parts".
    struct Item {
        std::string name;  ///< without dashes
        std::vector<std::string> words;
    };
    std::string command;  ///< "join", "verify" ..., or nothing for a field to compute
    std::vector<Item> items;

    /// The words of an item, or null where it is not there.
    const std::vector<std::string>* find(const std::string& name) const;
};

/// What is to be said in place of any work.
struct Answer {
    std::string text;
};

/// @param words without the program's name
/// @throws std::runtime_error naming what is no option, or has too few words
std::variant<Answer, CommandLine> readCommandLine(std::vector<std::string> words);

}  // namespace run
