// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/SlabNumbers.h"

#include <cstddef>

namespace run {

SlabNumbers numbersOf(const std::vector<SlabRecord>& records, bool finished) {
    SlabNumbers numbers;
    for (std::size_t i = 0; i < records.size(); ++i)
        if (records[i].finished == finished) numbers.push_back(static_cast<std::int64_t>(i));
    return numbers;
}

std::int64_t pointsOf(const Slabs& slabs, const SlabNumbers& numbers) {
    std::int64_t points = 0;
    for (const std::int64_t number : numbers) points += slabs.slab(number).points();
    return points;
}

}  // namespace run
