// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>

#include "field/Engine.h"

namespace pistonfield {

/// The engine of pistons of any outline, in media with losses, for any baffle and quantity.
/// Arithmetic is in double precision.
/// @param request outlives it
/// @throws what `ContourTerms` throws
template <class T>
std::unique_ptr<const Engine<T>> makeContourEngine(const Request& request);

}  // namespace pistonfield
