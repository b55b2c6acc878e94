// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>

#include "method/Outline.h"

namespace pistonfield {

/// Why an outline is none of a flat piston: its edges are too many, one has no length, does not
/// begin where the one before it ends, or crosses another one; a hole lies within no other loop, or
/// a loop within one that is no hole; or there is no area inside. Crossings are looked for between
/// straight edges alone. Empty where it is one.
/// @throws std::bad_alloc
std::string whyRefused(const Outline& outline, std::size_t mostEdges);

}  // namespace pistonfield
