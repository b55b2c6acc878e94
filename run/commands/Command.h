// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "field/Request.h"
#include "run/commands/CommandLine.h"
#include "run/file/slabs.h"

namespace run {

/// What makes pressures in Pa of a field's values, as far as it is said. SI units.
struct Drive {
    std::optional<double> frequency;
    std::optional<double> velocity;
    std::optional<double> speed;
    std::optional<double> density;
};

/// Computes a field, or what is missing of it.
struct ComputeCommand {
    std::filesystem::path output;
    pistonfield::Request request;
    /// Of the options of the request that were there: where, as "--sizes" or "request.toml:3:
    /// sizes".
    std::map<std::string, std::string> given;
    std::filesystem::path requestFile;          ///< or none
    std::vector<std::filesystem::path> inputs;  ///< the request file and the tables', where given
    std::optional<Part> part;
    std::optional<std::int64_t> slabPoints;
    bool magnitude = true;
    std::optional<unsigned> threads;  ///< that each process computes with
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
/// about; or of an array the elements with their weights, as a table.
struct ShowCommand {
    std::filesystem::path file;
    bool elements = false;
};

/// Measures the beam of a request's source, or of the field in a file, and says on standard output
/// what it is like.
struct BeamCommand {
    std::filesystem::path source;  ///< a request file, or a file of a field
    Drive drive;                   ///< without a frequency, which the source's wavenumber is of
    std::optional<double> duty;
    std::optional<double> derating;  ///< dB/(cm MHz)
    std::vector<double> hydrophone;  ///< its size, see `Hydrophone`; or none
    std::optional<std::array<double, 3>> axis;
    std::optional<unsigned> threads;
    bool json = false;
};

using Command = std::variant<Answer, ComputeCommand, JoinCommand, VerifyCommand, ExtractCommand,
                             ShowCommand, BeamCommand>;

/// The text of a file that a command line names. A failure is a std::runtime_error that names it.
using TextReader = std::function<std::string(const std::filesystem::path&)>;

/// How files are read.
struct Readers {
    TextReader text;      ///< as `readText` does
    TextReader elements;  ///< as `readTable` does, a table of elements
};

/// Reads a command line, and the request file and the tables that it may name.
/// @param words without the program's name
/// @throws std::runtime_error naming the option, or the file, its line and the key, that is wrong
Command readCommand(const std::vector<std::string>& words, const Readers& readers);

/// Where the first option of the request was given that has another value than in `request`, or
/// nothing.
std::optional<std::string> contradiction(const ComputeCommand& command,
                                         const pistonfield::Request& request);

/// @throws std::runtime_error naming what of the request is missing, or where it has no field
void checkComplete(const ComputeCommand& command);

/// Says what of the request there is no field for, and where that was given.
/// @throws std::runtime_error
[[noreturn]] void refuse(const ComputeCommand& command, const pistonfield::InvalidRequest& reason);

}  // namespace run
