// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

#include "field/Array.h"
#include "matlab_src/Arguments.h"

/// The questions of the functions for the elements of arrays. All arguments are those of the call,
/// and the question comes first. Elements are answered with a column for each: width, height,
/// centre, and the directions along the width, along the height and of the normal. One with an
/// outline has 0 and the outline's number, from 1, in the place of its sides.
namespace questions {

/// The kind, line, matrix, convex, bowl, annular or honeycomb, and names and values of what the
/// kind is made from; see the structures of arrays/, whose members have these names. A matrix has
/// two numbers of elements, columns and rows, and one or two pitches or kerfs; a bowl with a number
/// of elements has them along a spiral, any other in rings.
/// @throws pistonfield::InvalidRequest: kind, options, or named after what is wrong
host::Array* builtArray(Arguments arguments);

/// The same arguments: the table of the outlines of an array whose elements have some.
host::Array* outlinesOfArray(Arguments arguments);

/// The path of a table; where it has weights, their real and imaginary parts are below.
/// @throws pistonfield::InvalidRequest: elements
host::Array* arrayOfTable(Arguments arguments);

/// The same argument: the table of the outlines of its elements, which has no column where they are
/// rectangles.
/// @throws pistonfield::InvalidRequest: elements, where only some of them are
host::Array* outlinesOfTable(Arguments arguments);

/// Elements, those that `elementsOf` reads: a row of the number of pairs that overlap, 1000 at
/// most, and the numbers of the first two, counted from 1.
/// @throws pistonfield::InvalidRequest: elements
host::Array* overlapsOfArray(Arguments arguments);

/// The numbers of `builtArray`, a column for each element, with room for others below.
std::vector<std::vector<double>> columnsOf(const std::vector<pistonfield::Element>& elements);

/// A matrix of columns.
host::Array* answerOf(const std::vector<std::vector<double>>& columns);

}  // namespace questions
