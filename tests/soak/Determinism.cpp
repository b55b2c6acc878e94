// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Fields are the same bit for bit in every call, with every number of threads, and a point's value
// is the same in grids of every shape.
//
// Usage: determinism REPEATS

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <vector>

#include "CountArgument.h"
#include "ModeField.h"
#include "parallel/threads.h"
#include "support/RandomPoints.h"

namespace {

using Value = std::complex<double>;
using Index = std::array<int, 3>;

bool sameBits(const Value& a, const Value& b) {
    const auto bits = [](double x) { return std::bit_cast<std::uint64_t>(x); };
    return bits(a.real()) == bits(b.real()) && bits(a.imag()) == bits(b.imag());
}

/// Counts values and how many of them differ.
struct Tally {
    long compared = 0;
    long different = 0;

    void add(const Value& a, const Value& b) {
        ++compared;
        if (!sameBits(a, b)) ++different;
    }
    void add(const FieldValues& a, const FieldValues& b) {
        for (std::size_t i = 0; i < a.size(); ++i) add(a[i], b.at(i));
    }
};

/// Gives computations a number of threads for the length of a scope.
class Threads {
  public:
    explicit Threads(unsigned count) { pistonfield::useThreads(count); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
    ~Threads() { pistonfield::useThreads(0); }
};

/// Points for all of these threads, and more than they take at a time.
constexpr unsigned mostThreads = 8;
constexpr Index manyPoints{29, 31, 20};

/// Repeats a field with every number of threads.
Tally repeated(Mode mode, int repeats) {
    const FieldCall call{{0.25, 0, 0, -3.5, 0, 0.25, 0.0625, -4, 0, 0.03125, 0.5, 0, 0, 0, 0, 1},
                         manyPoints,
                         2.5,
                         3,
                         7.3,
                         32};
    const FieldValues first = fieldOf(mode, call);
    Tally tally;
    for (unsigned threads = 1; threads <= mostThreads; ++threads) {
        const Threads scope(threads);
        for (int i = 0; i < repeats; ++i) tally.add(first, fieldOf(mode, call));
    }
    return tally;
}

/// A lattice whose numbers are so short that positions come out exactly in every precision, however
/// they are summed up. Many of its points lie over edges and axes.
FieldCall drawExactCall(Random& random) {
    const auto number = [&](int limit) {
        return std::ldexp(std::floor(random.between(-limit, limit + 1)), -3);
    };
    const auto side = [&] { return std::ldexp(1 + std::floor(random.between(0, 24)), -2); };
    FieldCall call{};
    for (std::size_t i = 0; i < 12; ++i) call.transform.at(i) = number(i % 4 == 3 ? 32 : 4);
    call.transform[15] = 1;
    for (int& size : call.sizes) size = 1 + static_cast<int>(random.below(9));
    call.l = side();
    call.s = side();
    call.k = random.magnitude(-1, 2);
    call.order = 1 + static_cast<int>(random.below(16));
    return call;
}

std::size_t linear(const Index& index, const Index& sizes) {
    const auto at = [](int i) { return static_cast<std::size_t>(i); };
    return at(index[0]) + at(sizes[0]) * (at(index[1]) + at(sizes[1]) * at(index[2]));
}

template <class Visit>
void forEachPoint(const Index& sizes, Visit visit) {
    for (int z = 0; z < sizes[2]; ++z)
        for (int y = 0; y < sizes[1]; ++y)
            for (int x = 0; x < sizes[0]; ++x) visit(Index{x, y, z});
}

/// The part of a lattice that begins at an index.
FieldCall part(FieldCall call, const Index& from, const Index& sizes) {
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t axis = 0; axis < 3; ++axis)
            call.transform.at(4 * row + 3) += call.transform.at(4 * row + axis) * from.at(axis);
    call.sizes = sizes;
    return call;
}

/// The lattice with its axes in another order.
FieldCall turned(const FieldCall& call, const Index& axes) {
    FieldCall result = call;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto from = static_cast<std::size_t>(axes.at(axis));
        result.sizes.at(axis) = call.sizes.at(from);
        for (std::size_t row = 0; row < 3; ++row)
            result.transform.at(4 * row + axis) = call.transform.at(4 * row + from);
    }
    return result;
}

/// Computes the points of a field again in the grids of all six orders of the axes, row by row, and
/// each by itself.
void addShapes(Mode mode, const FieldCall& call, Tally& tally) {
    const FieldValues whole = fieldOf(mode, call);
    Index axes{0, 1, 2};
    do {
        const FieldCall other = turned(call, axes);
        const FieldValues values = fieldOf(mode, other);
        forEachPoint(other.sizes, [&](const Index& index) {
            Index original{};
            for (std::size_t i = 0; i < 3; ++i)
                original.at(static_cast<std::size_t>(axes.at(i))) = index.at(i);
            tally.add(whole[linear(original, call.sizes)], values[linear(index, other.sizes)]);
        });
    } while (std::next_permutation(axes.begin(), axes.end()));
    for (const int length : {call.sizes[0], 1})
        forEachPoint(call.sizes, [&](const Index& index) {
            if (index[0] % length != 0) return;
            const FieldValues values = fieldOf(mode, part(call, index, {length, 1, 1}));
            for (std::size_t i = 0; i < values.size(); ++i)
                tally.add(whole[linear(index, call.sizes) + i], values[i]);
        });
}

Tally reshaped(Mode mode, int grids) {
    Random random(20261121);
    Tally tally;
    for (int i = 0; i < grids; ++i) addShapes(mode, drawExactCall(random), tally);
    return tally;
}

bool report(const char* what, Mode mode, lanes::InstructionSet set, const Tally& tally) {
    std::cout << std::left << std::setw(24) << what << std::setw(8) << nameOf(mode) << std::setw(11)
              << lanes::nameOf(set) << std::right << std::setw(11) << tally.compared
              << std::setw(11) << tally.different << std::endl;
    return tally.compared > 0 && tally.different == 0;
}

}  // namespace

int main(int argc, char** argv) {
    const int count = countArgument(argc, argv);
    std::cout << "values                  mode    set           compared  different\n";
    bool same = true;
    for (const Mode mode : modes)
        for (const lanes::InstructionSet set : availableSets()) {
            lanes::useInstructionSet(set);
            same &= report("with 1 to 8 threads", mode, set, repeated(mode, count));
            same &= report("in grids of all shapes", mode, set, reshaped(mode, count));
        }
    return same ? 0 : 1;
}
