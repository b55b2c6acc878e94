// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <vector>

#include "field/Array.h"
#include "matlab_src/Arguments.h"

/// How arrays come to the functions' module.
namespace questions {

/// The arguments that `elementsOf` reads.
constexpr std::size_t elementArguments = 4;

/// The elements of an array: their widths and their heights, each N numbers or one for all; or a
/// table of outlines and the numbers of theirs, N or one for all; their centres, 3 by N; and
/// orientations, 3 by 3 by N, whose columns are the directions along the width, along the height
/// and the normal.
/// @throws pistonfield::InvalidRequest: elements
std::vector<pistonfield::Element> elementsOf(Arguments arguments);

/// The arguments that `arrayOf` reads.
constexpr std::size_t arrayArguments = elementArguments + 2;

/// The same, and their weights: the real and the imaginary parts, N by M.
/// @throws pistonfield::InvalidRequest: elements, weights
pistonfield::Array arrayOf(Arguments arguments);

}  // namespace questions
