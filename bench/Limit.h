// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace bench {

/// What the bare integrand depends on besides the coordinate along the edge.
struct LimitPoint {
    double offset;
    double z;
    double k;
};

/// The bare integrand over one pack of lanes after another, summed in registers: no limits, no
/// branches, no field in memory. One thread.
struct LimitLoop {
    const char* arithmetic;
    const char* part;  ///< of the integrand: what is left out, or what alone is done
    int lanes;         ///< of a pack
    int packs;         ///< that go through the arithmetic side by side
    double (*run)(const LimitPoint& point, long rounds);
};

/// The loops as compiled for one instruction set.
struct LimitLoops {
    const LimitLoop* first;
    int count;
};

namespace baseline {
LimitLoops limitLoops();
}  // namespace baseline
namespace v3 {
LimitLoops limitLoops();
}  // namespace v3
namespace v4 {
LimitLoops limitLoops();
}  // namespace v4

}  // namespace bench
