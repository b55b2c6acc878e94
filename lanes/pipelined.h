// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/Pack.h"

namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// Takes count items, one after the other, through third(second(first(i))), with the first stage of
/// one item beside the second of the item before it and the third of the one before that.
///
/// Count is a signed integer; of a count below 1 nothing is called. The items pass from stage to
/// stage as copies of what the stages return, of any type, and each stage takes them in order.
///
/// The stages of an item wait for each other, those of different items do not: side by side they
/// keep the processor's units busy where one long chain after the other would not, because the
/// processor looks ahead by less than such a chain.
template <class Count, class First, class Second, class Third>
[[gnu::always_inline]] inline void pipelined(Count count, First first, Second second, Third third) {
    if (count < 1) return;
    auto begun = first(Count{0});
    if (count > 1) {
        auto halfway = second(begun);
        begun = first(Count{1});
        for (Count i = 2; i < count; ++i) {
            const auto ready = halfway;
            halfway = second(begun);
            begun = first(i);
            third(ready);
        }
        third(halfway);
    }
    third(second(begun));
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
