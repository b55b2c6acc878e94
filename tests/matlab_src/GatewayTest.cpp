// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/matlab_src/GatewayTest.h"

#include <algorithm>
#include <iostream>
#include <new>
#include <sstream>
#include <utility>

#include "core/ErrorHandler.h"
#include "cuda_runtime/emulated/Emulator.h"
#include "matlab_src/Gateway.h"

using cuda_runtime::emulated::Emulator;
using cuda_runtime::emulated::emulator;
using cuda_runtime::emulated::RuntimeCall;
using substitute::EventKind;
using substitute::theHost;

namespace {

/// Logs what is written on the standard output stream whenever the stream is flushed.
class LoggedStandardOutput : private std::stringbuf {
  public:
    LoggedStandardOutput() : original(std::cout.rdbuf(this)) {}
    LoggedStandardOutput(const LoggedStandardOutput&) = delete;
    LoggedStandardOutput& operator=(const LoggedStandardOutput&) = delete;
    LoggedStandardOutput(LoggedStandardOutput&&) = delete;
    LoggedStandardOutput& operator=(LoggedStandardOutput&&) = delete;
    ~LoggedStandardOutput() override {
        if (!str().empty()) theHost().log(EventKind::standardOutput, "not flushed: " + str());
        std::cout.rdbuf(original);
    }

  private:
    int sync() override {
        if (!str().empty()) theHost().log(EventKind::standardOutput, str());
        str("");
        return 0;
    }

    std::streambuf* original;
};

}  // namespace

Outcome bareCall(const Request& request) {
    Outcome outcome;
    try {
        answerCall(request.outputs, outcome.output, request.arguments);
    } catch (substitute::HostError& error) {
        outcome.ending = Ending::refused;
        outcome.error = std::move(error.text);
    } catch (const std::bad_alloc&) {
        outcome.ending = Ending::outOfMemory;
    } catch (int) {
        outcome.ending = Ending::foreignException;
    }
    return outcome;
}

Request::Request()
    : arguments{nullptr,
                nullptr,
                substitute::number(3),
                substitute::number(2),
                substitute::number(2.5),
                substitute::text("cpu")} {
    lattice({0.25, -0.5, 0.75}, {0.5, 0.625, 0.375});
    sizes({2, 3, 2});
}

Request& Request::lattice(const std::array<double, 3>& origin, const std::array<double, 3>& steps) {
    return transform(substitute::doubles({steps[0], 0, 0, origin[0],  //
                                          0, steps[1], 0, origin[1],  //
                                          0, 0, steps[2], origin[2],  //
                                          0, 0, 0, 1},
                                         {4, 4}));
}

Request& Request::sizes(const std::vector<double>& values) {
    return at(1, substitute::doubles(values, {1, values.size()}));
}

Request& Request::piston(double l, double s, double k) {
    return at(2, substitute::number(l)).at(3, substitute::number(s)).at(4, substitute::number(k));
}

Request& Request::at(std::size_t position, const host::Array* array) {
    if (position >= arguments.size()) arguments.resize(position + 1);
    arguments[position] = array;
    return *this;
}

Request& Request::more(const host::Array* array) { return at(arguments.size(), array); }

Request& Request::onlyFirst(std::size_t count) {
    arguments.resize(count);
    return *this;
}

void GatewayTest::SetUp() {
    theHost().reset();
    emulator().setDevices(Emulator::defaultDevices());
    emulator().setInterceptor([](const RuntimeCall& call) {
        theHost().log(EventKind::runtime, call.text);
        return cuda_runtime::cudaSuccess;
    });
}

void GatewayTest::TearDown() {
    emulator().setInterceptor(nullptr);
    emulator().setDevices(Emulator::defaultDevices());
    theHost().reset();
}

Outcome GatewayTest::call(const Request& request) {
    theHost().events.clear();
    theHost().operations = 0;
    arraysBefore = theHost().liveArrays();
    testing::internal::CaptureStderr();
    Outcome outcome;
    {
        const LoggedStandardOutput logged;
        outcome = bareCall(request);
    }
    outcome.standardError = testing::internal::GetCapturedStderr();
    theHost().releaseSince(arraysBefore, outcome.output);
    return outcome;
}

void GatewayTest::expectNothingLeft(const Outcome& outcome) const {
    EXPECT_FALSE(emulator().hasContext());
    EXPECT_EQ(emulator().liveBytes(), 0U);
    EXPECT_NE(dynamic_cast<DefaultErrorHandler*>(ErrorHandler::getErrorHandler()), nullptr);
    EXPECT_EQ(theHost().liveArrays(), arraysBefore + (outcome.output == nullptr ? 0 : 1));
}

void GatewayTest::expectNextCallWorks() {
    SetUp();
    const Outcome first = call(Request());
    ASSERT_EQ(first.ending, Ending::answered);
    static const std::vector<std::complex<double>> always = first.values();
    EXPECT_EQ(first.values(), always);
    expectNothingLeft(first);
}

std::vector<substitute::Event> GatewayTest::eventsOf(const std::vector<EventKind>& kinds) {
    std::vector<substitute::Event> found;
    std::copy_if(theHost().events.begin(), theHost().events.end(), std::back_inserter(found),
                 [&](const substitute::Event& event) {
                     return std::find(kinds.begin(), kinds.end(), event.kind) != kinds.end();
                 });
    return found;
}
