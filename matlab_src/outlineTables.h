// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "field/Array.h"
#include "matlab_src/Arguments.h"

/// Outlines as the functions' module and its callers pass them: matrices with a column for each
/// edge, whose rows are the number of its outline, from 1, and of its loop, from 1 in each outline;
/// 0 and x and y of both ends of a straight edge; or 1, the centre's x and y and the radius of an
/// arc, the angle where it begins and that by which it turns, in radians. Straight edges have a 0
/// below.
namespace questions {

constexpr std::size_t outlineRows = 8;

using Outlines = std::vector<std::shared_ptr<const pistonfield::Outline>>;

/// Whether an argument is a table of outlines and not one of sides, which has one row or column.
bool isOutlineTable(const host::Array* array);

/// @throws pistonfield::InvalidRequest: elements
Outlines outlinesOf(const host::Array* table);

host::Array* tableOf(const Outlines& outlines);

/// The different outlines of elements, in the order in which they come.
Outlines outlinesOf(const std::vector<pistonfield::Element>& elements);

/// The question, then a shape, disc, ring, sector or polygon, and names and values of its
/// parameters; see arrays/pistonShapes.h. A polygon's `corners` are x and y of each, and so are
/// `holes`, one after the other, of which `hole_sizes` are the numbers of corners. The answer is
/// the table of the outline.
/// @throws pistonfield::InvalidRequest: shape, options, or named after what is wrong
host::Array* outlineOfShape(Arguments arguments);

}  // namespace questions
