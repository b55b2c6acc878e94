// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>

#include "run/file/FieldFile.h"

namespace run {

/// Some of a field's slabs.
using SlabNumbers = std::vector<std::int64_t>;

/// Those that are finished, or those that are not.
SlabNumbers numbersOf(const std::vector<SlabRecord>& records, bool finished);

std::int64_t pointsOf(const Slabs& slabs, const SlabNumbers& numbers);

}  // namespace run
