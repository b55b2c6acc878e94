// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gmock/gmock.h>

#include <array>
#include <complex>
#include <string>
#include <vector>

#include "tests/matlab_src/SubstituteHost.h"

enum class Ending { answered, refused, outOfMemory, foreignException };

/// How a call of the gateway ended and what it left.
struct Outcome {
    Ending ending = Ending::answered;
    std::string error;              ///< the text of the error that ended the call
    host::Array* output = nullptr;  ///< what the host was given, also after a refusal
    std::string standardError;

    [[nodiscard]] std::vector<std::complex<double>> values() const {
        return substitute::valuesOf(output);
    }
};

/// The arguments of a call, each replaceable; in the beginning a valid request of few points.
class Request {
  public:
    Request();

    /// A transform that puts lattice point (ix, iy, iz) at origin + (ix*dx, iy*dy, iz*dz).
    Request& lattice(const std::array<double, 3>& origin, const std::array<double, 3>& steps);
    Request& transform(const host::Array* array) { return at(0, array); }
    Request& sizes(const std::vector<double>& values);
    Request& sizes(const host::Array* array) { return at(1, array); }
    Request& piston(double l, double s, double k);
    Request& mode(const std::string& name) { return at(5, substitute::text(name)); }
    Request& mode(const host::Array* array) { return at(5, array); }
    Request& abscissas(double order) { return at(6, substitute::number(order)); }
    Request& abscissas(const host::Array* array) { return at(6, array); }
    /// Replaces the argument at a position.
    Request& at(std::size_t position, const host::Array* array);
    /// Appends one more argument.
    Request& more(const host::Array* array);
    Request& onlyFirst(std::size_t count);

    std::vector<const host::Array*> arguments;
    int outputs = 1;
};

/// Calls the gateway and does nothing else: allocates nothing, captures nothing, releases nothing.
Outcome bareCall(const Request& request);

/// Calls the gateway inside the substitute host, with the emulation device's calls and the standard
/// output stream in the same log as the host's operations.
class GatewayTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    /// One call. Afterwards the host has released what a host releases.
    Outcome call(const Request& request);

    /// That the last call left nothing behind: no device context, no device memory, no handler, and
    /// of its arrays the output alone.
    void expectNothingLeft(const Outcome& outcome) const;

    /// That a plain request is answered with the values that it always has.
    void expectNextCallWorks();

    /// The events of these kinds, in order.
    static std::vector<substitute::Event> eventsOf(const std::vector<substitute::EventKind>& kinds);

    std::size_t arraysBefore = 0;
};
