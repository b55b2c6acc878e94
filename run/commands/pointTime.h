// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "field/Plan.h"
#include "run/file/FieldFile.h"

namespace run {

/// Seconds that a point of a field takes in one process on average, found out by computing some of
/// them, all over the field.
/// @param plan of the layout's request
double secondsOfAPoint(const Layout& layout, const pistonfield::Plan& plan);

}  // namespace run
