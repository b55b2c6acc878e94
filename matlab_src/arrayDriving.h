// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "matlab_src/Arguments.h"

/// The questions of the functions for what drives an array. All arguments are those of the call,
/// and the question comes first. `elements` are four arguments, those that `elementsOf` reads;
/// points are three, x, y and z; weights two, the real and the imaginary parts; a medium three,
/// those that `mediumOf` reads. Each throws `pistonfield::InvalidRequest` as the function of
/// arrays/ that it asks.
namespace questions {

/// elements, medium, points (one), tolerance, behind, threads: a column of weights.
host::Array* weightsOfFocus(Arguments arguments);

/// elements, medium, points, the demanded pressures (two arguments), tolerance, least ratio,
/// largest weight (none where it is 0), iterations, behind, threads: a row of the number of dropped
/// singular values, the least one kept, efficiency, iterations, scale and residual, then the real
/// parts of the weights and their imaginary ones.
host::Array* weightsOfFoci(Arguments arguments);

/// elements, wavenumber, direction: a column of weights.
host::Array* weightsOfPlaneWave(Arguments arguments);

/// Azimuth and elevation in radians: the direction, a row.
host::Array* directionOfAngles(Arguments arguments);

/// elements, medium, points, tolerance, behind, threads: a column of all elements' pressures
/// for each point.
host::Array* pressuresOfElements(Arguments arguments);

/// elements, the window's name, its parameter, what it lies along (x, y or radius): a row.
host::Array* valuesOfWindow(Arguments arguments);

/// weights, what is rounded (delays, phases or amplitudes), then the step of the delays and the
/// frequency, or the number of bits or of levels: a column of weights.
host::Array* quantisedWeights(Arguments arguments);

/// elements, weights, medium, state (four numbers, 0 at first), threads: what about half a
/// second of the search for the radiated power comes to. A row of the state with which one asks
/// again, and once the search has ended behind it the power per density*speed*velocity^2, and by
/// how much the last refinement changed it. It is found at the faces of elements in one plane, of
/// others far away.
host::Array* powerOfArray(Arguments arguments);

}  // namespace questions
