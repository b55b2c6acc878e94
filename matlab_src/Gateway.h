// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "matlab_src/Arguments.h"

/// Answers one call of a module. A program links one implementation, that of the module
/// `pistonfield`, Gateway.cpp, or that of `pistonfield_internal`, InternalGateway.cpp.
///
/// `pistonfield` checks the arguments, computes the field and makes it the output, or, for the lone
/// argument "info" with no output requested, prints the build information. Whatever happens, an
/// exception included, the device is released and the error handler is reset when this returns.
///
/// `pistonfield_internal` is for the functions in inst/. It prints nothing and keeps nothing from
/// call to call. Its first argument says what is asked for:
///
/// - "field", transform, sizes, width, height, wavenumber, mode, order, first, count, threads: the
///   field of the piston in a box of the lattice, whose bits do not depend on the box. The
///   transform is 16 numbers, as `pistonfield` takes them; `first` are the coordinates of the box's
///   first point, from 0; `count` are its sizes; `threads` are the most on the CPU, or 0 for what
///   `threadCount` of parallel/threads.h says.
/// - "field_within", transform, sizes, width, height, wavenumber, mode, tolerance, relative, first,
///   count, threads: the same by a tolerance in the place of an order. The mode says the precision;
///   `relative` is "largest" or "local", what the tolerance is relative to. Points behind the
///   piston have the value of the points mirrored in its plane.
/// - "accuracy", transform, sizes, width, height, wavenumber, mode, tolerance, relative, threads:
///   how exact the values of that field are, a row of the bound, the error that was measured and
///   the evaluations a point.
/// - "largest_order" or "most_points_in_a_row", mode; "most_threads": a limit of core/limits.h or
///   parallel/threads.h.
///
/// Its errors have the identifier "pistonfield:pistonfield_internal:<argument>" and a text that
/// begins with the argument's name; in the place of an argument stands "box" where the box does not
/// lie within the lattice, "stopped" where a function that is told of the progress fails, "device"
/// where a device failed or there is none, and "environment" for a number of threads there that is
/// none.
///
/// An exception is the host's own, `std::bad_alloc`, or what an operation of the host throws.
/// @param outputCount the number of outputs requested
/// @param output      receives the field, complex double, of the grid's or the box's sizes; or what
///                    else is asked for, real numbers
void answerCall(int outputCount, host::Array*& output, Arguments arguments);
