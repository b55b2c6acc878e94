// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/PointSums.h"

#include <algorithm>

#include "lanes/InstructionSet.h"
#include "parallel/threads.h"

namespace pointsums {

namespace {

/// The functions of the instruction set in use.
const Functions& functions() noexcept {
    switch (lanes::instructionSet()) {
        case lanes::InstructionSet::v4:
            return v4::functions;
        case lanes::InstructionSet::v3:
            return v3::functions;
        case lanes::InstructionSet::baseline:
            break;
    }
    return baseline::functions;
}

/// Has threads fill a lattice, each a piece at a time.
template <class Fill, class T, class G>
void fillInParallel(Fill fill, const Rule<T>& rule, const Piston<T>& piston,
                    const Lattice<G>& lattice, const Field<T>& field, unsigned most) {
    if (lattice.sx < 1 || lattice.sy < 1 || lattice.sz < 1) return;
    const std::int64_t points = std::int64_t{lattice.sx} * lattice.sy * lattice.sz;
    // A fraction of a millisecond, beside which it takes little to start a thread.
    constexpr std::int64_t evaluations = 1 << 18;
    const std::int64_t ofAPoint = 4 * std::max<std::int64_t>(1, rule.order);
    const std::int64_t piece =
        std::max<std::int64_t>(1, evaluations / ofAPoint / pointsAtATime) * pointsAtATime;
    // To ask takes as long as a point.
    const auto allowed = [most] {
        return most == 0 ? pistonfield::threadCount() : std::min(most, pistonfield::mostThreads);
    };
    const unsigned threads = points > piece ? allowed() : 1;
    pistonfield::inParallel(points, piece, threads, [&](std::int64_t first, std::int64_t last) {
        fill(rule, piston, lattice, field, {first, last});
    });
}

}  // namespace

Value<float> unitPhase(float angle) { return functions().unitPhaseInFloat(angle); }

Value<double> unitPhase(double angle) { return functions().unitPhaseInDouble(angle); }

Value<float> edgeSum(const Rule<float>& rule, const Point<float>& point) {
    return functions().edgeSumInFloat(rule, point);
}

Value<double> edgeSum(const Rule<double>& rule, const Point<double>& point) {
    return functions().edgeSumInDouble(rule, point);
}

void fill(const Rule<float>& rule, const Piston<float>& piston, const Lattice<float>& lattice,
          const Field<float>& field, unsigned threads) {
    fillInParallel(functions().fillFloatOnFloat, rule, piston, lattice, field, threads);
}

void fill(const Rule<float>& rule, const Piston<float>& piston, const Lattice<double>& lattice,
          const Field<float>& field, unsigned threads) {
    fillInParallel(functions().fillFloatOnDouble, rule, piston, lattice, field, threads);
}

void fill(const Rule<double>& rule, const Piston<double>& piston, const Lattice<double>& lattice,
          const Field<double>& field, unsigned threads) {
    fillInParallel(functions().fillDoubleOnDouble, rule, piston, lattice, field, threads);
}

}  // namespace pointsums
