// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/FieldRequest.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "matlab_src/sizes.h"

namespace {

// The positions of the arguments. The messages count them in two ways, from 1 and from 0, and are
// kept so.
constexpr std::size_t transformAt = 0;
constexpr std::size_t sizesAt = 1;
constexpr std::size_t lAt = 2;
constexpr std::size_t sAt = 3;
constexpr std::size_t kAt = 4;
constexpr std::size_t modeAt = 5;
constexpr std::size_t abscissasAt = 6;

/// Raises the host's error. In hosts whose error operation returns, the false stands for "refused".
bool refuse(const char* message) {
    host::raise(message);
    return false;
}

std::size_t elementCount(const host::Array* array) {
    return host::rows(array) * host::columns(array);
}

/// Whether the array's data are doubles, one for each element.
bool holdsDoubles(const host::Array* array) {
    return host::isClass(array, "double") && !host::isClass(array, "sparse");
}

/// Whether the array has a first element that reads as a number.
bool holdsNumber(const host::Array* array) {
    constexpr std::array<const char*, 12> classes{"double", "single", "logical", "char",
                                                  "int8",   "int16",  "int32",   "int64",
                                                  "uint8",  "uint16", "uint32",  "uint64"};
    const auto isOf = [array](const char* name) { return host::isClass(array, name); };
    return elementCount(array) > 0 && !isOf("sparse") &&
           std::any_of(classes.begin(), classes.end(), isOf);
}

bool checkCounts(int outputCount, Arguments arguments) {
    if (arguments.size() < 5 || arguments.size() > 7)
        return refuse(
            "Must have five or six input arguments: ([4x4 transform], [sx, sy, sz], l, s, k, "
            "['cuda'|'cudadp'|'cpu'|'cpusp'|'cpudp'], [nabscissas])");
    if (outputCount != 1) return refuse("Must have one output arguments");
    return true;
}

bool checkTransformKind(const host::Array* transform) {
    if (host::isComplex(transform) || host::isClass(transform, "sparse") || host::isChar(transform))
        return refuse("Input must be real, full, and nonstring");
    return true;
}

/// A refusal leaves the order at its default, without a table.
bool readAbscissas(const host::Array* abscissas, FieldRequest& request) {
    if (host::columns(abscissas) == 2) {
        if (!holdsDoubles(abscissas))
            return refuse("abscissas and weights must be a full matrix of class double.");
        const auto count = std::min<std::size_t>(host::rows(abscissas), INT32_MAX);
        std::cout << "using " << count << " abscissas.\n" << std::flush;
        request.nAbscissas = static_cast<std::int32_t>(count);
        // A host may have no data for a table without rows, which is a table all the same.
        static constexpr double noPairs = 0;
        request.abscissaTable = count > 0 ? host::realData(abscissas) : &noPairs;
        return true;
    }
    if (host::columns(abscissas) == 1 && host::rows(abscissas) == 1) {
        if (!holdsNumber(abscissas))
            return refuse("abscissas must be a number or a matrix of class double.");
        request.nAbscissas = truncateToInt32(host::scalar(abscissas));
        return true;
    }
    host::raise("abscissas must be a number or a 2D matrix containing abscissas and weights.");
    return true;
}

bool readParameters(Arguments arguments, FieldRequest& request) {
    if (!holdsNumber(arguments[lAt])) return refuse("l must be a number.");
    if (!holdsNumber(arguments[sAt])) return refuse("s must be a number.");
    if (!holdsNumber(arguments[kAt])) return refuse("k must be a number.");
    request.l = host::scalar(arguments[lAt]);
    request.s = host::scalar(arguments[sAt]);
    request.k = host::scalar(arguments[kAt]);
    constexpr std::size_t longest = 1024;  // three numbers of up to 317 characters
    std::array<char, longest> line{};
    static_cast<void>(std::snprintf(line.data(), line.size(), "l=%f, s=%f, k=%f\n", request.l,
                                    request.s, request.k));
    host::print(line.data());
    return true;
}

bool readGrid(Arguments arguments, FieldRequest& request) {
    const host::Array* sizes = arguments[sizesAt];
    const host::Array* transform = arguments[transformAt];
    if (elementCount(sizes) != 3)
        return refuse("Size information (argument 2) must be three dimensional.");
    if (elementCount(transform) != 16)
        return refuse("Size information (argument 1) must contain sixteen values.");
    if (!holdsDoubles(sizes))
        return refuse("Size information (argument 2) must be full and of class double.");
    if (!holdsDoubles(transform))
        return refuse("The transform (argument 1) must be full and of class double.");
    std::copy_n(host::realData(sizes), 3, request.sizes.begin());
    request.transform = host::realData(transform);
    return true;
}

}  // namespace

std::int32_t FieldRequest::pointCount() const noexcept {
    return wrappedProduct(truncateToInt32(sizes[1]), truncateToInt32(sizes[0]),
                          truncateToInt32(sizes[2]));
}

std::optional<FieldRequest> readRequest(int outputCount, Arguments arguments) {
    FieldRequest request;
    if (!checkCounts(outputCount, arguments) || !checkTransformKind(arguments[transformAt]))
        return std::nullopt;
    if (arguments.size() > abscissasAt && !readAbscissas(arguments[abscissasAt], request))
        return std::nullopt;
    if (!readParameters(arguments, request) || !readGrid(arguments, request)) return std::nullopt;
    return request;
}

pistonfield::Mode readMode(Arguments arguments) {
    constexpr auto byDefault = pistonfield::Mode::cuda;
    if (arguments.size() <= modeAt) return byDefault;
    if (!host::isChar(arguments[modeAt])) {
        host::raise("Input 5 must be a character string and either be 'cuda' or 'cpu'");
        return byDefault;
    }
    const auto mode = pistonfield::findMode(host::text(arguments[modeAt]));
    if (!mode) host::raise("Input 5 must either be 'cuda' or 'cpu[sp,dp]'");
    return mode.value_or(byDefault);
}
