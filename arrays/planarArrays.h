// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "field/Array.h"

namespace pistonfield {

/// Elements side by side along x, in the plane z = 0, centred on the origin and radiating to +z.
/// Lengths are in any one unit, here and in the other arrays.
struct LineArray {
    std::int64_t elements = 0;
    double width = 0;               ///< of an element, along x
    double height = 0;              ///< of an element, along y
    std::optional<double> pitch{};  ///< from centre to centre; this, or:
    std::optional<double> kerf{};   ///< from edge to edge; of one element neither is needed
};

/// The elements from the least x on.
/// @throws InvalidRequest named after the member that is wrong: elements, width, height, pitch,
/// kerf
std::vector<Element> elementsOf(const LineArray& array);

/// Elements in columns along x and rows along y, in the plane z = 0, centred on the origin and
/// radiating to +z.
struct MatrixArray {
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    double width = 0;                ///< of an element, along x
    double height = 0;               ///< of an element, along y
    std::optional<double> pitchX{};  ///< from centre to centre of the columns; this, or:
    std::optional<double> kerfX{};   ///< from edge to edge; of one column neither is needed
    std::optional<double> pitchY{};  ///< the same of the rows
    std::optional<double> kerfY{};
};

/// The elements row by row: from the least y on, and in each row from the least x on.
/// @throws InvalidRequest named after the member that is wrong
std::vector<Element> elementsOf(const MatrixArray& array);

}  // namespace pistonfield
