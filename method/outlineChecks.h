// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>

#include "method/Outline.h"

namespace pistonfield {

/// Why an outline is none of a flat piston: its edges are too many, one has no length, does not
/// begin where the one before it ends, or crosses another one; a hole lies within no other loop, or
/// a loop within one that is no hole; or there is no area inside. Edges cross where they have a
/// point in common that is no end of both; arcs may touch, and beside an end that an arc shares
/// with another edge, to 6e-5 of the outline's size, nothing is looked for. Empty where it is one.
/// @throws std::bad_alloc
std::string whyRefused(const Outline& outline, std::size_t mostEdges);

}  // namespace pistonfield
