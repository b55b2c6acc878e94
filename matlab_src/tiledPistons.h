// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "matlab_src/Arguments.h"

namespace questions {

/// The question comes first, then width and height; along x and then along y the word 'polynomial'
/// and its coefficients, or a window's name and its parameter or none; wavenumber, distance and
/// tolerance. The columns of `builtArray`, and below them the real and the imaginary part of the
/// weight and the estimated error.
host::Array* tilesOfApodised(Arguments arguments);

/// The question comes first, then 'cap' or 'cylinder', the wavenumber, and names and values. The
/// columns of `builtArray`, and below them the two parts of the estimated error.
host::Array* tilesOfCurved(Arguments arguments);

}  // namespace questions
