// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "matlab_src/Arguments.h"

/// The questions of the functions for beams and hydrophones. All arguments are those of the call,
/// and the question comes first. An array is six arguments, those that `arrayOf` reads; a lattice
/// two, its transform and its sizes; a medium three, those that `mediumOf` reads. Each throws
/// `pistonfield::InvalidRequest` as the function of beam/ that it asks.
///
/// A report is a row: how many characters its lines have, then the codes of the characters of the
/// lines that `linesOf` makes and of its table. It is asked for with pairs of a name and numbers:
/// frequency, speed, density, velocity, duty and derating as `BeamDrive` has them; axis and
/// hydrophone, which may be empty; power, 0 or 1.
namespace questions {

/// lattice, wavenumber: the transform and the sizes of `searchLattice`, a row.
host::Array* latticeOfSearch(Arguments arguments);

/// array, medium, tolerance, lattice, |p| at its points, threads, pairs: a report.
host::Array* beamOfSource(Arguments arguments);

/// lattice, the real and the imaginary parts of p at its points, wavenumber, pairs: a report.
host::Array* beamOfGrid(Arguments arguments);

/// array, medium, tolerance, points (three arguments), size, the directions of the sides,
/// threads: a row of the real parts, then of the imaginary ones, then of the changes.
host::Array* readingsOfHydrophone(Arguments arguments);

}  // namespace questions
