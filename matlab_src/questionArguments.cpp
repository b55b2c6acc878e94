// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/questionArguments.h"

#include <cmath>

#include "field/Request.h"

namespace questions {

using namespace pistonfield;

namespace {

bool areDoubles(const host::Array* array) {
    return host::isClass(array, "double") && !host::isClass(array, "sparse") &&
           !host::isComplex(array);
}

}  // namespace

void expectArguments(Arguments arguments, std::size_t count) {
    if (arguments.size() != count)
        throw InvalidRequest("arguments", std::to_string(arguments.size()) + " in the place of " +
                                              std::to_string(count));
}

std::size_t sizeOf(const host::Array* array) { return host::rows(array) * host::columns(array); }

std::vector<double> numbersOf(const host::Array* array, const char* name) {
    if (!areDoubles(array)) throw InvalidRequest(name, "must be full, real and of class double");
    const double* const first = host::realData(array);
    return {first, first + sizeOf(array)};
}

void expectNumbers(const host::Array* array, std::size_t count, const char* name) {
    if (!areDoubles(array) || sizeOf(array) != count)
        throw InvalidRequest(name, "must be full, real and of class double, with " +
                                       std::to_string(count) + " elements");
}

double numberOf(const host::Array* array, const char* name) {
    return numbersOf<1>(array, name).front();
}

std::vector<std::complex<double>> complexNumbersOf(const host::Array* re, const host::Array* im,
                                                   const char* name) {
    const std::vector<double> reals = numbersOf(re, name);
    const std::vector<double> imaginaries = numbersOf(im, name);
    if (reals.size() != imaginaries.size())
        throw InvalidRequest(name, "there are " + std::to_string(reals.size()) + " real and " +
                                       std::to_string(imaginaries.size()) + " imaginary parts");
    std::vector<std::complex<double>> numbers;
    for (std::size_t i = 0; i < reals.size(); ++i) numbers.emplace_back(reals[i], imaginaries[i]);
    return numbers;
}

std::int64_t whole(double number, const char* name) {
    constexpr double mostExact = 1LL << 53;
    if (std::trunc(number) != number || std::abs(number) > mostExact)
        throw InvalidRequest(name, "must be whole");
    return static_cast<std::int64_t>(number);
}

int wholeWithin(int least, int most, const host::Array* array, const char* name) {
    const std::int64_t number = whole(numberOf(array, name), name);
    if (number < least || number > most)
        throw InvalidRequest(
            name, "must be from " + std::to_string(least) + " to " + std::to_string(most));
    return static_cast<int>(number);
}

std::array<std::int64_t, 3> indicesOf(const host::Array* array, const char* name) {
    const std::array<double, 3> numbers = numbersOf<3>(array, name);
    std::array<std::int64_t, 3> indices{};
    std::transform(numbers.begin(), numbers.end(), indices.begin(),
                   [name](double number) { return whole(number, name); });
    return indices;
}

std::string textOf(const host::Array* array, const char* name) {
    if (!host::isChar(array)) throw InvalidRequest(name, "must be a text");
    std::string text = host::text(array);
    // The host's texts end at the first zero.
    if (text.size() < sizeOf(array)) throw InvalidRequest(name, "must be a text without zeros");
    return text;
}

Mode modeOf(const host::Array* array) { return modeCalled(textOf(array, "mode")); }

Baffle baffleOf(const host::Array* array) {
    const std::string word = textOf(array, "baffle");
    if (word == "rigid") return Baffle::rigid;
    if (word == "soft") return Baffle::soft;
    if (word == "free") return Baffle::free;
    throw InvalidRequest("baffle", "'" + word + "' is none of rigid, soft, free");
}

AskedMedium mediumOf(Arguments arguments) {
    return {{numberOf(arguments[0], "wavenumber"), numberOf(arguments[1], "attenuation")},
            baffleOf(arguments[2])};
}

host::Array* rowOf(const std::vector<double>& numbers) {
    host::Array* const row = host::createReal(1, numbers.size());
    std::copy(numbers.begin(), numbers.end(), host::resultReal(row));
    return row;
}

}  // namespace questions
