// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "matlab_src/Arguments.h"

/// The questions of the functions for fields of pistons and arrays. All arguments are those of the
/// call, and the question comes first. Each throws `pistonfield::InvalidRequest`,
/// `std::out_of_range`, `pistonfield::DeviceFailure` or `std::runtime_error`; see
/// `pistonfield::Plan`.
namespace questions {

/// Where the points of a question lie: transform and sizes of a lattice, or x, y and z of a list.
enum class Place { lattice, list };

/// What radiates: a piston's width and height; or an array as `arrayOf` reads it, and whether
/// points behind its elements are asked for.
enum class Source { piston, array };

/// What is asked for: the pressure of a rigid baffle without losses; or, with three arguments
/// behind those of the tolerance, losses in nepers per unit of length, a baffle (rigid, soft or
/// free) and a quantity (pressure, velocity or intensity). The fields of its components follow each
/// other as those of weightings do.
enum class Physics { plain, full };

/// Names and values: speed, attenuation, exponent, nepers, dispersionFrequency and frequency, as of
/// a `pistonfield::Medium`: a row of the wavenumber and the losses of a wave.
host::Array* waveOfMedium(Arguments arguments);

/// transform, sizes, width, height, wavenumber, mode, order, first, count, threads: the field in a
/// box.
host::Array* fieldWithOrder(Arguments arguments);

/// The place, the source, wavenumber, mode, tolerance, relative, first, count, threads: the field
/// in a box. Those of several weightings follow each other along the third dimension.
host::Array* fieldWithTolerance(Place place, Source source, Physics physics, Arguments arguments);

/// The same without the box: a row of bound, error and evaluations; of an array followed by the
/// characters of the engine's name.
host::Array* accuracyFor(Place place, Source source, Physics physics, Arguments arguments);

}  // namespace questions
