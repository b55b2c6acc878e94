// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>

#include "field/Engine.h"
#include "field/Watch.h"

namespace pistonfield {

/// The engine of pistons of any outline, in media with losses, for any baffle and quantity: of an
/// array the one that takes the least time. Arithmetic is in double precision, but for transforms.
/// @param request outlives it
/// @throws what `ContourTerms` throws; Stopped
template <class T>
std::shared_ptr<const Engine<T>> makeContourEngine(const Request& request, const Watch& watch);

}  // namespace pistonfield
