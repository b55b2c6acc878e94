// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "matlab_src/Arguments.h"

namespace questions {

/// The question comes first. Then 'lattice', its transform, its sizes and nothing, or 'list', x, y
/// and z; 'piston' with its width and height, 'disc' with its radius, or 'array', in the six
/// arguments that `arrayOf` reads, of which a piston and a disc leave the others empty; whether
/// points behind elements are asked for; mode, tolerance; the samples of the velocity and nothing,
/// or the real and imaginary parts of the amplitudes of its frequencies; the samples per second, or
/// the step of the frequencies in Hz; the speed of sound; the delays of elements, or none; threads;
/// a function of the host, or an empty array: it is told some times a second which part of the work
/// is done, and the call ends where it fails.
///
/// A row: the first time, the number of times, that of frequencies, the four members of
/// `PulseError`, then for each time the pressures at all points over density*speed.
/// @throws as `PulsePlan`; Stopped
host::Array* pulseOf(Arguments arguments);

}  // namespace questions
