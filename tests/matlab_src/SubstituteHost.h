// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "matlab_src/Host.h"

/// An array of the substitute host. Its data lie in buffers of their exact size, so that a
/// sanitizer sees every access beyond them.
struct host::Array {
    std::string className = "double";
    std::vector<std::size_t> dimensions;
    bool sparse = false;
    bool complex = false;
    std::vector<std::byte> real;
    std::vector<std::byte> imaginary;
    bool isPretended = false;  ///< has dimensions but no memory

    /// Elements by the dimensions.
    [[nodiscard]] std::size_t count() const;
};

namespace substitute {

/// What the error operation throws. As in a real host, no kind of std::exception.
struct HostError {
    std::string text;
    std::string identifier{};
};

enum class RaiseMode { throws, returns };

/// What happened in a call, in order.
enum class EventKind {
    query,           ///< the gateway asked about an argument: "isComplex"
    creation,        ///< a result was created: "2x1x1"
    print,           ///< text on the console
    standardOutput,  ///< text on the standard output stream, up to a flush
    raise,           ///< the error operation, with its text
    runtime,         ///< a call of the device runtime
};

struct Event {
    EventKind kind;
    std::string text;
    bool operator==(const Event&) const = default;
};

/// The host that the gateway runs in under test: keeps the arrays, logs every operation, and fails
/// where it is told to.
class Host {
  public:
    /// Sees each operation before it is carried out, with its name and its number from 1; may
    /// throw.
    using Interceptor = std::function<void(const char* operation, int number)>;

    /// Forgets everything and releases all arrays.
    void reset();

    host::Array* keep(std::unique_ptr<host::Array> array);
    [[nodiscard]] std::size_t liveArrays() const { return arrays.size(); }

    /// What a host does when a call has ended: releases all that was made since `first` arrays
    /// lived, save the outputs.
    void releaseSince(std::size_t first, const host::Array* output);

    void log(EventKind kind, std::string text) { events.push_back({kind, std::move(text)}); }
    [[nodiscard]] std::vector<std::string> textsOf(EventKind kind) const;
    [[nodiscard]] std::string console() const;

    /// Counts an operation and lets the interceptor see it.
    void enter(const char* operation);

    std::vector<Event> events;
    RaiseMode raiseMode = RaiseMode::throws;
    Interceptor interceptor;
    /// What functions of the host do when they are called, and whether they do not fail.
    std::function<bool(double number)> function = [](double /*number*/) { return true; };
    int operations = 0;
    /// Results of more elements than this fail with std::bad_alloc.
    std::size_t resultLimit = 1000000;
    /// Results beyond the limit are made without memory instead: any access to their data faults.
    bool pretendsToCreate = false;

  private:
    std::vector<std::unique_ptr<host::Array>> arrays;
};

/// The process's substitute host.
Host& theHost();

using Dimensions = std::vector<std::size_t>;

/// A double array with these values in storage order.
host::Array* doubles(const std::vector<double>& values, Dimensions dimensions);
host::Array* number(double value);
host::Array* text(const std::string& characters);

/// An array of any class, all its elements `value`: "double", "single", "int8" to "uint64",
/// "logical", "char", and "cell", "struct", "function_handle", which hold no numbers.
host::Array* arrayOf(const std::string& className, Dimensions dimensions, double value = 1);
/// A sparse array of class "double" or "logical", with storage for one nonzero element.
host::Array* sparseOf(const std::string& className, Dimensions dimensions);
host::Array* complexOf(const std::vector<double>& values, Dimensions dimensions);

/// The values of a complex double array.
std::vector<std::complex<double>> valuesOf(const host::Array* array);

}  // namespace substitute
