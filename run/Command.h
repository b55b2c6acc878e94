// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "run/Request.h"
#include "run/slabs.h"

namespace run {

/// Computes a field, or what is missing of it.
struct ComputeCommand {
    std::filesystem::path output;
    Request request;
    std::set<std::string> given;  ///< the options of the request that were there
    std::optional<Part> part;
    std::int64_t slabPoints = 1 << 18;
    bool magnitude = true;
    int deflate = 0;
    bool resume = false;
    bool overwrite = false;  ///< whether to replace an output that exists
    bool onlyEstimate = false;
};

/// Makes one field of its parts.
struct JoinCommand {
    std::filesystem::path output;
    std::vector<std::filesystem::path> parts;
    bool overwrite = false;
};

/// Compares what is in files with its checksums.
struct VerifyCommand {
    std::vector<std::filesystem::path> files;
};

/// Copies values to a file without a format: pairs of real and imaginary part, x fastest.
struct ExtractCommand {
    std::filesystem::path file;
    std::filesystem::path output;
    std::optional<std::array<std::int64_t, 3>> first;
    std::optional<std::array<std::int64_t, 3>> size;
    bool overwrite = false;
};

/// Says on standard output what field is in a file, as a request file, and in comments how it came
/// about.
struct ShowCommand {
    std::filesystem::path file;
};

/// What is to be said in place of any work: help, or what is wrong with the command line.
struct Answer {
    int status = 0;
    std::string out;
    std::string error;
};

using Command =
    std::variant<Answer, ComputeCommand, JoinCommand, VerifyCommand, ExtractCommand, ShowCommand>;

/// Reads the command line, and the request file that it may name.
Command readCommand(int argc, const char* const* argv);

/// The first option of the request that was given another value than `request` has, or none.
std::optional<std::string> contradiction(const ComputeCommand& command, const Request& request);

/// @throws std::runtime_error naming an option of the request that is missing or has no field
void checkComplete(const ComputeCommand& command);

}  // namespace run
