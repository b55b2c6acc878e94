// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

#include "field/Request.h"
#include "run/commands/TableKeys.h"

/// The shape of a piston that is no rectangle, in the table [piston] of a request file.
namespace run::pistonForm {

/// Whether a key of the table says what shape a piston has.
bool isOfShape(const std::string& key);

/// The piston, as `shapedPiston` makes it.
/// @param settings has one called shape, too, for the place of the shape
/// @throws std::runtime_error naming the line and the key that is wrong
pistonfield::Array pistonOf(const TableSettings& settings);

/// The lines of a table with a shape, or where no shape has that outline, with its edges.
std::string textOf(const pistonfield::Outline& outline);

}  // namespace run::pistonForm
