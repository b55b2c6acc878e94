// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <cstdint>
#include <string>
#include <vector>

#include "field/Request.h"
#include "support/RandomPoints.h"

/// Equal elements in the plane z = 0, by two: `across` along x times `along` along y.
struct ElementLayout {
    int across, along;
    double pitchX, pitchY;
    double jitter = 0;  ///< the most that elements are off their places, along both
    double turn = 0;    ///< of all elements, each about its centre
};

/// An array of squares whose wavelength is 1, with random weights.
/// @param weightings how often
pistonfield::Array arrayOf(const ElementLayout& layout, double side, int weightings,
                           Random& random);

/// A lattice centred about the z axis, from z = `nearest` on.
/// @param directions which axis each of the lattice's directions is along
pistonfield::Lattice latticeAbout(const std::array<std::int64_t, 3>& sizes,
                                  const std::array<double, 3>& steps, double nearest,
                                  const std::array<std::size_t, 3>& directions = {0, 1, 2});

/// A request for the two, without a tolerance.
pistonfield::Request requestOf(pistonfield::Array array, const pistonfield::Lattice& lattice,
                               pistonfield::Mode mode);

/// The same array and points in a frame that is turned and moved.
pistonfield::Request turned(pistonfield::Request request, Random& random);

/// A request for regular, rational or irregular places in random lattices, with a tolerance.
/// @param text says what it is
pistonfield::Request drawArrayRequest(Random& random, std::string& text);

/// How far values are off at some points, in parts of what the tolerance allows: 1 is the limit.
/// They are compared with sums of elements' fields in double precision, within 1e-12 of the local
/// amplitude.
/// @param values of all points, weighting by weighting
double worstOf(const pistonfield::Request& request, const std::vector<std::complex<double>>& values,
               std::size_t points, Random& random);
