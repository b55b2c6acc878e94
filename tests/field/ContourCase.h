// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <string>
#include <vector>

#include "field/Request.h"
#include "reference/FlatSource.h"
#include "support/RandomPoints.h"

/// A request for what is computed along outlines, and its elements' surfaces in their own frames.
struct ContourCase {
    pistonfield::Request request;
    std::vector<reference::FlatSource> sources;
};

/// One to three flat pistons of any shape and size, side by side or tilted, in a medium with or
/// without losses, in any baffle; any quantity, mode and tolerance; points of a lattice or a list
/// from 0.03 to 100 wavelengths away.
ContourCase drawContourCase(Random& random);

/// Two to twenty equal pistons of any shape on a grid of a lattice's steps or of parts of these,
/// along the axes or turned in space; else the same.
ContourCase drawContourGrid(Random& random);

std::string describe(const pistonfield::Request& request);

/// How far values are off at some points, in parts of what the tolerance allows: 1 is the limit.
/// They are compared with integrals over the surfaces.
/// @param values of all points, field by field
double worstOf(const ContourCase& drawn, const std::vector<std::complex<double>>& values,
               std::size_t points, Random& random);
