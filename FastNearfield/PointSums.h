// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>

/// The arithmetic of the CPU evaluation, compiled for several instruction sets: the edge sums of
/// the fast near-field method at many points at a time, one point in each SIMD lane. A point's
/// value does not depend on the points beside it.
namespace pointsums {

/// A quadrature rule on [-1, 1].
template <class T>
struct Rule {
    const T* abscissas;
    const T* weights;
    int order;
};

/// One point: its offsets from the edges, its height, and exp(-j*k*z).
template <class T>
struct Point {
    T x1, x2, y1, y2;
    T z;
    T k;
    T phaseRe, phaseIm;
};

template <class T>
struct Value {
    T re, im;
};

/// A box of a lattice in precision G: the transform's upper three rows and its last element, the
/// coordinates of the first point, and the sizes.
template <class G>
struct Lattice {
    G rows[12];
    G divisor;
    G first[3];
    int sx, sy, sz;
};

/// A field to fill: value i goes to re[i*stride] and im[i*stride].
template <class T>
struct Field {
    T* re;
    T* im;
    std::ptrdiff_t stride;
};

/// A piston's half sides along x and y, and the wavenumber.
template <class T>
struct Piston {
    T hx, hy;
    T k;
};

/// exp(j*angle), as fields have it.
Value<float> unitPhase(float angle);
Value<double> unitPhase(double angle);

/// The sum over the edges at one point, before the factor -j/(2pi).
Value<float> edgeSum(const Rule<float>& rule, const Point<float>& point);
Value<double> edgeSum(const Rule<double>& rule, const Point<double>& point);

/// Fills a field over a lattice with the pressure, in grid point order, in as many threads as are
/// worth their while. A lattice with a size below 1 has no points.
/// @param threads the most; 0 is `pistonfield::threadCount`
/// @throws std::runtime_error as `pistonfield::threadCount`, where several are worth their while
void fill(const Rule<float>& rule, const Piston<float>& piston, const Lattice<float>& lattice,
          const Field<float>& field, unsigned threads = 0);
void fill(const Rule<float>& rule, const Piston<float>& piston, const Lattice<double>& lattice,
          const Field<float>& field, unsigned threads = 0);
void fill(const Rule<double>& rule, const Piston<double>& piston, const Lattice<double>& lattice,
          const Field<double>& field, unsigned threads = 0);

/// The points of a lattice from the one with the linear index `first` to the one before `last`.
struct Range {
    std::int64_t first, last;
};

/// The points that are worth a turn of a thread are a multiple of this: whole packs of every
/// instruction set, as many as are computed at a time.
constexpr std::int64_t pointsAtATime = 128;

/// The functions above as one instruction set has them; the fills in one thread.
struct Functions {
    Value<float> (*unitPhaseInFloat)(float);
    Value<double> (*unitPhaseInDouble)(double);
    Value<float> (*edgeSumInFloat)(const Rule<float>&, const Point<float>&);
    Value<double> (*edgeSumInDouble)(const Rule<double>&, const Point<double>&);
    void (*fillFloatOnFloat)(const Rule<float>&, const Piston<float>&, const Lattice<float>&,
                             const Field<float>&, const Range&);
    void (*fillFloatOnDouble)(const Rule<float>&, const Piston<float>&, const Lattice<double>&,
                              const Field<float>&, const Range&);
    void (*fillDoubleOnDouble)(const Rule<double>&, const Piston<double>&, const Lattice<double>&,
                               const Field<double>&, const Range&);
};

namespace baseline {
extern const Functions functions;
}
namespace v3 {
extern const Functions functions;
}
namespace v4 {
extern const Functions functions;
}

}  // namespace pointsums
