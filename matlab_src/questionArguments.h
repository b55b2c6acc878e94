// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/Mode.h"
#include "field/Request.h"
#include "matlab_src/Arguments.h"

/// What the arguments of a question to the functions' module hold. Each of these throws
/// `pistonfield::InvalidRequest` with the argument's name where it holds something else.
namespace questions {

void expectArguments(Arguments arguments, std::size_t count);

std::size_t sizeOf(const host::Array* array);

/// The numbers of a full, real array of class double, in storage order.
std::vector<double> numbersOf(const host::Array* array, const char* name);

/// Refuses all but a full, real array of class double with so many elements.
void expectNumbers(const host::Array* array, std::size_t count, const char* name);

template <std::size_t count>
std::array<double, count> numbersOf(const host::Array* array, const char* name) {
    expectNumbers(array, count, name);
    std::array<double, count> numbers;
    std::copy_n(host::realData(array), count, numbers.begin());
    return numbers;
}

/// The real parts, and as many imaginary ones in an array of their own.
std::vector<std::complex<double>> complexNumbersOf(const host::Array* re, const host::Array* im,
                                                   const char* name);

double numberOf(const host::Array* array, const char* name);

/// @throws pistonfield::InvalidRequest unless the number is whole
std::int64_t whole(double number, const char* name);

int wholeWithin(int least, int most, const host::Array* array, const char* name);

std::array<std::int64_t, 3> indicesOf(const host::Array* array, const char* name);

std::string textOf(const host::Array* array, const char* name);

pistonfield::Mode modeOf(const host::Array* array);

/// rigid, soft or free.
pistonfield::Baffle baffleOf(const host::Array* array);

/// The arguments that `mediumOf` reads.
constexpr std::size_t mediumArguments = 3;

/// A wave and the plane about each piston.
struct AskedMedium {
    pistonfield::Wave wave;
    pistonfield::Baffle baffle;
};

/// The wavenumber, the attenuation and the baffle.
AskedMedium mediumOf(Arguments arguments);

/// An answer of numbers in a row.
host::Array* rowOf(const std::vector<double>& numbers);

}  // namespace questions
