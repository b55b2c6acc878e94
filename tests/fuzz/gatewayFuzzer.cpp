// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Calls the gateway with arguments made of the fuzzer's bytes. However wild they are, the call ends
// in a field of the right shape or in an error with a text of its own, and leaves nothing behind.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "core/ErrorHandler.h"
#include "cuda_runtime/emulated/Emulator.h"
#include "matlab_src/Gateway.h"
#include "tests/matlab_src/Refusals.h"
#include "tests/matlab_src/SubstituteHost.h"

using cuda_runtime::emulated::emulator;
using substitute::Dimensions;
using substitute::theHost;

namespace {

using Source = FuzzedDataProvider;

/// Points of a field that the host has memory for.
constexpr std::size_t mostPoints = 27;

struct Call {
    int outputs = 1;
    std::vector<const host::Array*> arguments;
};

/// Whether one in `n` comes up; never when the bytes are used up.
bool oneIn(int n, Source& source) { return source.ConsumeIntegralInRange(0, n - 1) == n - 1; }

double anyNumber(Source& source) {
    using Limits = std::numeric_limits<double>;
    static constexpr std::array special{0.0,
                                        -0.0,
                                        1.0,
                                        -1.0,
                                        1.5,
                                        -0.5,
                                        2147483647.0,
                                        2147483648.0,
                                        4294967296.0,
                                        9007199254740992.0,
                                        0x1p63,
                                        -0x1p31,
                                        -0x1p63,
                                        1e300,
                                        -1e300,
                                        1e-7,
                                        65536.0,
                                        46341.0,
                                        0x1p-1022,
                                        Limits::denorm_min(),
                                        Limits::max(),
                                        Limits::infinity(),
                                        -Limits::infinity(),
                                        Limits::quiet_NaN()};
    if (source.ConsumeBool()) return source.PickValueInArray(special);
    return source.ConsumeFloatingPoint<double>();
}

double likelyNumber(Source& source) {
    return oneIn(4, source) ? anyNumber(source) : 0.25 * source.ConsumeIntegralInRange(1, 20);
}

std::vector<double> numbers(std::size_t count, Source& source) {
    std::vector<double> values(count);
    std::generate(values.begin(), values.end(), [&source] { return likelyNumber(source); });
    return values;
}

Dimensions anyDimensions(Source& source) {
    Dimensions dimensions(source.ConsumeIntegralInRange<std::size_t>(2, 4));
    for (std::size_t& dimension : dimensions)
        dimension = source.PickValueInArray<std::size_t>({0, 1, 1, 2, 3, 4, 16});
    return dimensions;
}

/// Dimensions whose product wraps around in 64 bits, also to counts that a check waits for.
Dimensions sparseDimensions(Source& source) {
    static const std::array<Dimensions, 5> wide{{{std::size_t{1} << 32U, std::size_t{1} << 32U},
                                                 {(std::size_t{1} << 60U) + 1, 16},
                                                 {0xAAAAAAAAAAAAAAABU, 9},
                                                 {SIZE_MAX, SIZE_MAX},
                                                 {SIZE_MAX, 2}}};
    return oneIn(3, source) ? wide[source.ConsumeIntegralInRange<std::size_t>(0, wide.size() - 1)]
                            : anyDimensions(source);
}

std::size_t countOf(const Dimensions& dimensions) {
    host::Array array;
    array.dimensions = dimensions;
    return array.count();
}

const host::Array* doublesOf(const Dimensions& dimensions, Source& source) {
    return substitute::doubles(numbers(countOf(dimensions), source), dimensions);
}

const host::Array* anyArray(Source& source) {
    static constexpr std::array classes{"single", "int8",   "uint8",  "int16",  "uint16",
                                        "int32",  "uint32", "int64",  "uint64", "logical",
                                        "char",   "cell",   "struct", "string", "function_handle"};
    const Dimensions dimensions = anyDimensions(source);
    switch (source.ConsumeIntegralInRange(0, 3)) {
        case 0:
            return substitute::arrayOf(source.PickValueInArray(classes), dimensions,
                                       source.ConsumeIntegralInRange(0, 127));
        case 1:
            return substitute::sparseOf(source.ConsumeBool() ? "double" : "logical",
                                        sparseDimensions(source));
        case 2:
            return substitute::complexOf(numbers(countOf(dimensions), source), dimensions);
        default:
            return doublesOf(dimensions, source);
    }
}

const host::Array* transform(Source& source) {
    return doublesOf(oneIn(4, source) ? Dimensions{1, 16} : Dimensions{4, 4}, source);
}

const host::Array* sizes(Source& source) {
    std::vector<double> values(3);
    for (double& value : values)
        value = oneIn(6, source) ? anyNumber(source) : source.ConsumeIntegralInRange(1, 3);
    return substitute::doubles(values, {1, 3});
}

const host::Array* mode(Source& source) {
    std::string name = source.PickValueInArray({"cpu", "cuda", "cpusp", "cudadp", "cpudp"});
    if (oneIn(8, source)) name = source.ConsumeRandomLengthString(8);
    if (oneIn(8, source)) name += source.ConsumeBool() ? " " : "p";
    if (oneIn(8, source)) name.resize(name.size() / 2);
    return substitute::text(name);
}

const host::Array* abscissas(Source& source) {
    if (oneIn(3, source))
        return doublesOf({source.ConsumeIntegralInRange<std::size_t>(0, 9), 2}, source);
    if (oneIn(8, source)) return substitute::arrayOf("double", {513, 2});
    return substitute::number(oneIn(3, source) ? anyNumber(source)
                                               : source.ConsumeIntegralInRange(-1, 12));
}

const host::Array* argument(std::size_t position, Source& source) {
    if (oneIn(16, source)) return anyArray(source);
    switch (position) {
        case 0:
            return transform(source);
        case 1:
            return sizes(source);
        case 5:
            return mode(source);
        case 6:
            return abscissas(source);
        default:
            return substitute::number(likelyNumber(source));
    }
}

/// Whether the call names a mode of the CPU.
bool isOnCpu(const Call& call) {
    return call.arguments.size() > 5 && call.arguments[5]->className == "char" &&
           host::text(call.arguments[5]).substr(0, 3) == "cpu";
}

/// The order that the call asks for as a number, if it does.
std::optional<double> numberOfAbscissas(const Call& call) {
    if (call.arguments.size() <= 6) return std::nullopt;
    const host::Array* const order = call.arguments[6];
    const bool holdsNumber = order->className != "cell" && order->className != "struct" &&
                             order->className != "string" &&
                             order->className != "function_handle" && !order->sparse;
    if (!holdsNumber || host::rows(order) != 1 || host::columns(order) != 1) return std::nullopt;
    return host::scalar(order);
}

/// Whether the call would end the process, as an order of 0 does on the CPU, or would rightly
/// compute for minutes.
bool isOutOfBounds(const Call& call) {
    const std::optional<double> order = numberOfAbscissas(call);
    if (!order) return false;
    const bool endsTheProcess = isOnCpu(call) && !(std::abs(*order) >= 1);
    return endsTheProcess || *order > 600;
}

Call callFrom(Source& source) {
    Call call;
    if (oneIn(32, source)) call.outputs = source.ConsumeIntegralInRange(-1, 3);
    if (oneIn(32, source)) {
        call.arguments = {substitute::text(oneIn(4, source) ? "INFO" : "info")};
        call.outputs = source.ConsumeIntegralInRange(0, 1);
        return call;
    }
    const std::size_t count = oneIn(16, source)
                                  ? source.ConsumeIntegralInRange<std::size_t>(0, 9)
                                  : 5 + source.ConsumeIntegralInRange<std::size_t>(0, 2);
    while (call.arguments.size() < count)
        call.arguments.push_back(argument(call.arguments.size(), source));
    if (isOutOfBounds(call)) call.arguments[6] = substitute::number(4);
    return call;
}

void require(bool condition, const std::string& breach) {
    if (condition) return;
    std::cerr << breach << std::endl;
    std::abort();
}

/// The dimensions of the field asked for, if the host has memory for so many points.
std::optional<Dimensions> affordable(const Call& call) {
    const auto* const wanted = reinterpret_cast<const double*>(call.arguments[1]->real.data());
    Dimensions dimensions;
    double points = 1;
    for (int i = 0; i < 3; ++i) {
        if (!(wanted[i] >= 1)) return std::nullopt;
        points *= std::floor(wanted[i]);
        if (!(points <= mostPoints)) return std::nullopt;
        dimensions.push_back(static_cast<std::size_t>(wanted[i]));
    }
    if (dimensions.back() == 1) dimensions.pop_back();
    return dimensions;
}

void requireField(const Call& call, const host::Array* output) {
    if (call.arguments.size() == 1)
        return require(call.outputs == 0 && output == nullptr, "info with an output");
    require(call.outputs == 1 && output != nullptr, "no output");
    require(output->className == "double" && output->complex, "a field that is not complex double");
    require(output->dimensions == affordable(call), "a field of other dimensions");
}

void requireKnown(const std::string& error) {
    const auto& known = refusals();
    const bool isRefusal = std::find(known.begin(), known.end(), error) != known.end();
    const bool isReport =
        error.rfind("ERROR: assertion failure in FastNearfield/IntegratorCuda at line ", 0) == 0 &&
        (error.find("condition failed: (order>0).\n\n") != std::string::npos ||
         error.find("condition failed: (N <= 512 && N>0).\n\n") != std::string::npos);
    require(isRefusal || isReport, "an unknown error: " + error);
}

void requireShortage(const Call& call) {
    const bool isNegativeOrder = isOnCpu(call) && numberOfAbscissas(call).value_or(1) <= -1;
    require(isNegativeOrder || !affordable(call), "memory ran out where it should not");
}

void requireNothingLeft() {
    require(!emulator().hasContext() && emulator().liveBytes() == 0,
            "the device was left as it was");
    require(dynamic_cast<DefaultErrorHandler*>(ErrorHandler::getErrorHandler()) != nullptr,
            "the error handler was left as it was");
}

void carryOut(const Call& call) {
    host::Array* output = nullptr;
    try {
        answerCall(call.outputs, output, call.arguments);
        requireField(call, output);
    } catch (const substitute::HostError& error) {
        requireKnown(error.text);
    } catch (const std::bad_alloc&) {
        requireShortage(call);
    }
    requireNothingLeft();
}

}  // namespace

/// Little is allocated at a time, and freed memory need not stay aside for long.
extern "C" const char* __asan_default_options() {  // NOLINT: the sanitizer's name
    return "quarantine_size_mb=8:malloc_context_size=8";
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    std::cout.rdbuf(nullptr);
    emulator().setMemoryLimit(std::size_t{1} << 20U);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    theHost().reset();
    theHost().resultLimit = mostPoints;
    Source source(data, size);
    carryOut(callFrom(source));
    return 0;
}
