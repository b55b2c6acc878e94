// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>

/// The operations of the host environment that the gateway is written against. A program links one
/// implementation: the MEX interface of MATLAB or GNU Octave, or a substitute for tests.
///
/// Shapes are rows by columns, with the trailing dimensions of an array folded into its columns.
namespace host {

/// An array of the host, known to the gateway by address only.
struct Array;

std::size_t rows(const Array* array);
std::size_t columns(const Array* array);
bool isComplex(const Array* array);
/// Whether the array's class is `name`; "sparse" names any sparse array.
bool isClass(const Array* array, const char* name);
bool isChar(const Array* array);

/// The text of a character array.
std::string text(const Array* array);
/// The first element of a numeric, logical or character array that has one.
double scalar(const Array* array);
/// The real part of a full array of class double, first element first.
const double* realData(const Array* array);

/// A new complex double array of sx by sy by sz elements, all zero.
/// @throws std::bad_alloc or the host's own error when there is no memory for it
Array* createResult(std::size_t sx, std::size_t sy, std::size_t sz);
double* resultReal(Array* result);
double* resultImaginary(Array* result);

/// A new real double array, all zero, whose data `resultReal` has.
/// @throws as `createResult`
Array* createReal(std::size_t rows, std::size_t columns);

/// Prints on the host's console.
void print(const std::string& text);

/// Calls a function of the host with a number, so that the host may show something, and heed
/// Ctrl-C.
/// @param function a function handle that the host has handed over
/// @return false where the function fails, or is interrupted
/// @throws the host's own exception where that is what an interrupt is
bool tell(const Array* function, double number);

/// Raises an error of the host with this text. Does not return in a real host; a substitute may.
void raise(const char* message);

/// The same, with an identifier by which programs know the error: words between colons.
void raise(const char* identifier, const char* message);

}  // namespace host
