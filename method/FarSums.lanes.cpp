// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/FarSums.h"

#include <cstddef>
#include <cstring>

#include "lanes/Pack.h"
#include "lanes/anyLanes.h"
#include "lanes/sinCos.h"
#include "lanes/sinCosUpToSign.h"
#include "method/directivitySums.h"
#include "method/integrand.h"

namespace pistonfield {

namespace {

using lanes::broadcast;
using lanes::multiplyAdd;
using lanes::Pack;

template <class V, class T>
[[gnu::always_inline]] inline V loaded(const T* numbers) {
    V pack;
    std::memcpy(&pack, numbers, sizeof pack);
    return pack;
}

template <class T, class V>
[[gnu::always_inline]] inline void store(T* numbers, V pack) {
    std::memcpy(numbers, &pack, sizeof pack);
}

/// What lanes of double are worked on at a time, and as what lanes of T.
template <class T>
inline constexpr int prepared =
    lanes::width<double> < lanes::width<T> ? lanes::width<double> : lanes::width<T>;

double productOf(const double (&a)[3], const double (&b)[3]) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Where a place is, from the faces' centres.
template <class D>
struct Offset {
    D x[3];

    Offset(const double (&centre)[3][packSize], int first, const double (&place)[3]) {
        for (int i = 0; i < 3; ++i) x[i] = broadcast<D>(place[i]) - loaded<D>(centre[i] + first);
    }

    D along(const double (&step)[3]) const {
        return x[0] * step[0] + x[1] * step[1] + x[2] * step[2];
    }

    D square() const { return x[0] * x[0] + x[1] * x[1] + x[2] * x[2]; }
};

/// The square of a distance, less what going along a direction of a patch to the point next to the
/// centre takes off.
template <class D>
D nextAlong(D square, D along, double squareOfStep, int count) {
    if (count == 1 || squareOfStep == 0) return square;
    const double last = (count - 1) / 2.0;
    const D steps = least(largest(-along / squareOfStep, broadcast<D>(-last)), broadcast<D>(last));
    return square + steps * (2 * along + steps * squareOfStep);
}

template <class T>
void findDistances(const FacePack<T>& pack, const Patch& patch, double nearest[packSize]) {
    constexpr int W = lanes::width<double>;
    using D = Pack<double, W>;
    const double squares[]{productOf(patch.step[0], patch.step[0]),
                           productOf(patch.step[1], patch.step[1])};
    const double oblique = productOf(patch.step[0], patch.step[1]);
    const bool isRight = oblique * oblique <= 1e-20 * squares[0] * squares[1];
    for (int first = 0; first < packSize; first += W) {
        const Offset<D> offset(pack.centre, first, patch.middle);
        D square = offset.square();
        if (isRight) {
            for (int i = 0; i < 2; ++i)
                square = nextAlong(square, offset.along(patch.step[i]), squares[i], patch.count[i]);
            square = largest(square, D{});
            store(nearest + first, lanes::squareRoot(square));
        } else {
            const D distance = lanes::squareRoot(square) - patch.halfDiagonal();
            store(nearest + first, largest(distance, D{}));
        }
    }
}

/// A patch as lanes see it; lengths are in units of 2/k.
template <class V>
struct SeenPatch {
    V offset[3];  ///< of its middle from the centres
    V step[2][3];
    V alongX[3], alongY[3];
};

template <class T, class V>
SeenPatch<V> seenPatch(const FacePack<T>& pack, const Patch& patch, double unit, int first) {
    constexpr int W = prepared<T>;
    using D = Pack<double, W>;
    SeenPatch<V> seen;
    for (int i = 0; i < 3; ++i) {
        alignas(64) T offset[packSize];
        for (int lane = first; lane < first + lanes::widthOf<V>; lane += W) {
            const D from = broadcast<D>(patch.middle[i]) - loaded<D>(pack.centre[i] + lane);
            store(offset + lane, __builtin_convertvector(from * unit, Pack<T, W>));
        }
        seen.offset[i] = loaded<V>(offset + first);
        for (int direction = 0; direction < 2; ++direction)
            seen.step[direction][i] = broadcast<V>(static_cast<T>(patch.step[direction][i] * unit));
        seen.alongX[i] = loaded<V>(pack.alongX[i] + first);
        seen.alongY[i] = loaded<V>(pack.alongY[i] + first);
    }
    return seen;
}

constexpr int mostPolynomials = Directivity<double>::most;

/// Nodes that are evaluated together, for the sake of pipelines; or each by itself.
constexpr int together = 4;

/// Chebyshev polynomials of 2x - 1.
template <class V, int n>
[[gnu::always_inline]] inline void findPolynomials(const Several<V, n>& x, int count,
                                                   Several<V, n>* polynomials) {
    ChebyshevStep<V, n> step;
    forEach<n>([&](int k) __attribute__((always_inline)) {
        step.begin(k, x.of[k]);
        for (int i = 0; i < count; ++i) polynomials[i].of[k] = step.take(k);
    });
}

/// Polynomials that have been found, taken one after the other.
template <class V, int n>
struct FoundPolynomials {
    const Several<V, n>* next;

    [[gnu::always_inline]] V take(int k) {
        const V polynomial = next->of[k];
        if (k == n - 1) ++next;
        return polynomial;
    }
};

/// The directivities. Rows share the polynomials of the columns, which are found beforehand.
template <int n, class V, class T>
[[gnu::always_inline]] inline Several<Complex<V>, n> directivitiesOf(
    const DirectivityTerms<T>& terms, const Directions<V, n>& at) {
    Several<V, n> sums[mostPolynomials];
    Several<V, n> shares[mostPolynomials];
    findPolynomials(at.s, terms.rows, sums);
    findPolynomials(at.t, terms.mostColumns, shares);
    return directivitiesAt<n>(
        terms, at, [&]() __attribute__((always_inline)) { return FoundPolynomials<V, n>{sums}; },
        [&]() __attribute__((always_inline)) { return FoundPolynomials<V, n>{shares}; });
}

/// Steps from the middle of a patch, along the rows and from row to row.
template <class T>
struct Steps {
    T along[2];
};

/// The pressure but for its phase.
template <int n, class V, class T>
Several<Complex<V>, n> pressuresAt(const PackFace<T>& face, const SeenPatch<V>& patch,
                                   const Steps<T>* steps) {
    const auto least = static_cast<T>(face.directivity.least * face.k / 2);
    Directions<V, n> at;
    forEach<n>([&](int k) __attribute__((always_inline)) {
        V from[3];
        for (int i = 0; i < 3; ++i) {
            from[i] =
                multiplyAdd(patch.step[0][i], broadcast<V>(steps[k].along[0]), patch.offset[i]);
            from[i] = multiplyAdd(patch.step[1][i], broadcast<V>(steps[k].along[1]), from[i]);
        }
        at.find(k, from, patch.alongX, patch.alongY, face.directivity.cosines, least);
    });
    Several<Complex<V>, n> p = directivitiesOf(face.directivity, at);
    forEach<n>([&](int k) __attribute__((always_inline)) {
        const V amplitude = at.inverse.of[k] * static_cast<T>(face.farAmplitude / 2);
        p.of[k].re = p.of[k].re * amplitude;
        p.of[k].im = p.of[k].im * amplitude;
    });
    return p;
}

/// Evaluates it at so many places, which `stepsTo` has the steps to, n at a time.
template <int n, class T, class StepsTo>
void evaluate(const FacePack<T>& pack, const PackFace<T>& face, const Patch& patch, int count,
              StepsTo stepsTo, T (*re)[packSize], T (*im)[packSize]) {
    using V = Pack<T, lanes::width<T>>;
    for (int first = 0; first < packSize; first += lanes::width<T>) {
        const auto seen = seenPatch<T, V>(pack, patch, face.k / 2, first);
        for (int begin = 0; begin < count; begin += n) {
            Steps<T> steps[n];
            for (int k = 0; k < n; ++k)
                steps[k] = stepsTo(begin + k < count ? begin + k : count - 1);
            const auto p = pressuresAt<n>(face, seen, steps);
            for (int k = 0; k < n && begin + k < count; ++k) {
                store(re[begin + k] + first, p.of[k].re);
                store(im[begin + k] + first, p.of[k].im);
            }
        }
    }
}

/// Whether the coefficients of the last two polynomials that interpolate are within a limit, along
/// a line of nodes; of the last but one half of it counts. Where coefficients fall by half from
/// one to the next, those that are left out then add up to twice the limit.
template <class T>
bool isResolved(const PatchNodes<T>& nodes, int begin, int stride, const RowRule<T>& rule,
                T limit) {
    using V = Pack<T, lanes::width<T>>;
    for (int last = 0; last < 2 && rule.count > 1; ++last) {
        const T* const weights = rule.lastCoefficients + last * rule.count;
        const T most = limit * static_cast<T>(1 + last);
        for (int first = 0; first < packSize; first += lanes::width<T>) {
            Complex<V> sum{};
            for (int i = 0; i < rule.count; ++i) {
                const V weight = broadcast<V>(weights[i]);
                const int at = begin + i * stride;
                sum.re = multiplyAdd(weight, loaded<V>(nodes.re[at] + first), sum.re);
                sum.im = multiplyAdd(weight, loaded<V>(nodes.im[at] + first), sum.im);
            }
            if (lanes::any(sum.re * sum.re + sum.im * sum.im > most * most)) return false;
        }
    }
    return true;
}

template <class T>
bool isResolved(const PatchNodes<T>& nodes, T limit) {
    const auto& [along, across] = nodes.rules;
    for (int i = 0; i < across.count; ++i)
        if (!isResolved(nodes, i * along.count, 1, along, limit)) return false;
    for (int i = 0; i < along.count; ++i)
        if (!isResolved(nodes, i, along.count, across, limit)) return false;
    return true;
}

template <class T>
int findNodes(const FacePack<T>& pack, const PackFace<T>& face, const Patch& patch, double nearest,
              const PatchRules<T>& rules, double error, PatchNodes<T>& nodes) {
    const double amplitude = face.farAmplitude / (face.k * nearest);
    int counts[2];
    for (int i = 0; i < 2; ++i) {
        const double halfLengths = patch.half(i) / nearest;
        counts[i] = estimatedNodes(face.k * face.halfDiagonal * halfLengths, halfLengths,
                                   error / amplitude);
    }
    const int points = patch.count[0] * patch.count[1];
    int evaluations = 0;
    nodes.areFew = false;
    while (3 * counts[0] * counts[1] < 2 * points && counts[0] * counts[1] <= nodes.most &&
           counts[0] <= RowRules<T>::mostNodes && counts[1] <= RowRules<T>::mostNodes) {
        for (int i = 0; i < 2; ++i) nodes.rules[i] = rules.along[i]->rule(counts[i]);
        const auto stepsTo = [&](int i) {
            const int along = i % counts[0];
            const int across = i / counts[0];
            return Steps<T>{
                {nodes.rules[0].nodes[along] * (static_cast<T>(patch.count[0] - 1) / 2),
                 nodes.rules[1].nodes[across] * (static_cast<T>(patch.count[1] - 1) / 2)}};
        };
        evaluate<together>(pack, face, patch, counts[0] * counts[1], stepsTo, nodes.re, nodes.im);
        evaluations += counts[0] * counts[1];
        nodes.areFew = isResolved(nodes, static_cast<T>(error));
        if (nodes.areFew) break;
        for (int i = 0; i < 2; ++i)
            if (patch.count[i] > 1) counts[i] += 2;
    }
    return evaluations;
}

/// Points of a row that share the reference of their phases.
struct Stretch {
    int first, last;

    double middle() const { return (first + last - 1) / 2.0; }
};

/// The references of a stretch's phases and what the phases take, for lanes; lengths are in units
/// of 2/k.
template <class V>
struct Reference {
    V distance;        ///< of the stretch's middle
    V perStep;         ///< twice the middle's offset along the row, times the step
    Complex<V> phase;  ///< exp(-jk distance)
};

template <class T, class V>
Reference<V> referenceOf(const FacePack<T>& pack, const Patch& patch, int row,
                         const Stretch& stretch, double k, int first) {
    constexpr int W = prepared<T>;
    using D = Pack<double, W>;
    const double along = stretch.middle() - (patch.count[0] - 1) / 2.0;
    const double across = row - (patch.count[1] - 1) / 2.0;
    double middle[3];
    for (int i = 0; i < 3; ++i)
        middle[i] = patch.middle[i] + along * patch.step[0][i] + across * patch.step[1][i];
    alignas(64) T distance[packSize];
    alignas(64) T perStep[packSize];
    alignas(64) T re[packSize];
    alignas(64) T im[packSize];
    const auto put = [](T * numbers, D values) __attribute__((always_inline)) {
        store(numbers, __builtin_convertvector(values, Pack<T, W>));
    };
    for (int lane = first; lane < first + lanes::widthOf<V>; lane += W) {
        const Offset<D> offset(pack.centre, lane, middle);
        const D R = lanes::squareRoot(offset.square());
        const auto [sine, cosine] = lanes::sinCos(lanes::reduceAngle(R * -k));
        put(distance + lane, R * (k / 2));
        put(perStep + lane, offset.along(patch.step[0]) * (k * k / 2));
        put(re + lane, cosine);
        put(im + lane, sine);
    }
    return {loaded<V>(distance + first),
            loaded<V>(perStep + first),
            {loaded<V>(re + first), loaded<V>(im + first)}};
}

/// exp(-jk(R - distance)), so many steps from the stretch's middle.
/// @param squares the square of the steps' length
template <class V, class T>
[[gnu::always_inline]] inline Complex<V> phaseAt(const Reference<V>& at, T steps, T squares) {
    const V difference = multiplyAdd(at.perStep, broadcast<V>(steps), broadcast<V>(squares));
    const V R = lanes::nearSquareRoot(multiplyAdd(at.distance, at.distance, difference));
    const V v = difference * lanes::nearReciprocal(R + at.distance);
    const auto [s, c] = lanes::sinCosUpToSign(v);
    const V twice = s + s;
    return {multiplyAdd(-twice, s, broadcast<V>(T(1))), -twice * c};
}

template <class V>
[[gnu::always_inline]] inline Complex<V> product(const Complex<V>& a, const Complex<V>& b) {
    return {multiplyAdd(a.re, b.re, -(a.im * b.im)), multiplyAdd(a.re, b.im, a.im * b.re)};
}

/// The points of a stretch: phases relative to its middle are some radians, of which single
/// precision keeps the digits.
template <class T>
int pointsOfStretch(const Patch& patch, double k) {
    const int count = patch.count[0];
    if (sizeof(T) == 8 || count == 1) return count;
    constexpr double radians = 12;
    constexpr int fewest = 1;
    const double points = 2 * radians * (count - 1) / (2 * k * patch.half(0));
    return points < fewest ? fewest : points > count ? count : static_cast<int>(points);
}

/// The values at a row's nodes, from those of a patch.
template <class V, class T>
void interpolateRow(const PatchNodes<T>& nodes, int row, int first, Complex<V>* values) {
    const auto& [along, across] = nodes.rules;
    for (int i = 0; i < along.count; ++i) {
        Complex<V> sum{};
        for (int j = 0; j < across.count; ++j) {
            const V weight = broadcast<V>(across.weights[row * across.count + j]);
            const int at = j * along.count + i;
            sum.re = multiplyAdd(weight, loaded<V>(nodes.re[at] + first), sum.re);
            sum.im = multiplyAdd(weight, loaded<V>(nodes.im[at] + first), sum.im);
        }
        values[i] = sum;
    }
}

/// Computes the pressure at the points of a stretch by interpolation.
template <class T, class V>
void interpolateStretch(const RowRule<T>& rule, const Complex<V>* values, const Stretch& stretch,
                        const Reference<V>& at, T square, int first, RowNumbers<T>& to) {
    Complex<V> nodes[RowRules<T>::mostNodes];
    for (int i = 0; i < rule.count; ++i) nodes[i] = product(values[i], at.phase);
    for (int point = stretch.first; point < stretch.last; ++point) {
        const T steps = static_cast<T>(point - stretch.middle());
        const T* const weights = rule.weights + point * rule.count;
        Complex<V> pressure{};
        for (int i = 0; i < rule.count; ++i) {
            const V weight = broadcast<V>(weights[i]);
            pressure.re = multiplyAdd(weight, nodes[i].re, pressure.re);
            pressure.im = multiplyAdd(weight, nodes[i].im, pressure.im);
        }
        const Complex<V> value = product(pressure, phaseAt(at, steps, steps * steps * square));
        store(to.re[point] + first, value.re);
        store(to.im[point] + first, value.im);
    }
}

/// Gives the pressure at the points of a stretch its phase.
template <class T, class V>
void turnStretch(const Stretch& stretch, const Reference<V>& at, T square, int first,
                 RowNumbers<T>& to) {
    for (int point = stretch.first; point < stretch.last; ++point) {
        const T steps = static_cast<T>(point - stretch.middle());
        const Complex<V> phase = product(at.phase, phaseAt(at, steps, steps * steps * square));
        const Complex<V> value = product(
            Complex<V>{loaded<V>(to.re[point] + first), loaded<V>(to.im[point] + first)}, phase);
        store(to.re[point] + first, value.re);
        store(to.im[point] + first, value.im);
    }
}

template <class T>
int computeRow(const FacePack<T>& pack, const PackFace<T>& face, const Patch& patch,
               const PatchNodes<T>& nodes, int row, RowNumbers<T>& to) {
    using V = Pack<T, lanes::width<T>>;
    const int count = patch.count[0];
    if (!nodes.areFew) {
        const auto stepsTo = [&](int i) {
            return Steps<T>{{static_cast<T>(i - (count - 1) / 2.0),
                             static_cast<T>(row - (patch.count[1] - 1) / 2.0)}};
        };
        if (count == 1)
            evaluate<1>(pack, face, patch, count, stepsTo, to.re, to.im);
        else
            evaluate<together>(pack, face, patch, count, stepsTo, to.re, to.im);
    }
    const auto square =
        static_cast<T>(productOf(patch.step[0], patch.step[0]) * face.k * face.k / 4);
    const int length = pointsOfStretch<T>(patch, face.k);
    for (int first = 0; first < packSize; first += lanes::width<T>) {
        Complex<V> values[RowRules<T>::mostNodes];
        if (nodes.areFew) interpolateRow(nodes, row, first, values);
        for (int begin = 0; begin < count; begin += length) {
            const Stretch stretch{begin, begin + length < count ? begin + length : count};
            const auto at = referenceOf<T, V>(pack, patch, row, stretch, face.k, first);
            if (nodes.areFew)
                interpolateStretch(nodes.rules[0], values, stretch, at, square, first, to);
            else
                turnStretch(stretch, at, square, first, to);
        }
    }
    return nodes.areFew ? 0 : count;
}

/// The sum of a pack's lanes, by halves.
template <class T, int W = lanes::width<T>>
[[gnu::always_inline]] inline double sumOfLanes(Pack<T, W> v) {
    if constexpr (W == 2) {
        return static_cast<double>(v[0]) + static_cast<double>(v[1]);
    } else {
        Pack<T, W / 2> halves[2];
        std::memcpy(halves, &v, sizeof v);
        return sumOfLanes<T, W / 2>(halves[0] + halves[1]);
    }
}

/// Adds up the numbers of packs at some successive points for some weightings. A sum's bits do not
/// depend on how many of them there are.
template <int points, int weightings, class T>
void weighSome(const RowNumbers<T>* numbers, int packs, int point, const T* weights,
               std::ptrdiff_t toNextWeights, double* re, double* im, std::ptrdiff_t toNextSum) {
    using V = Pack<T, lanes::width<T>>;
    Complex<V> totals[weightings][points]{};
    for (int pack = 0; pack < packs; ++pack)
        for (int first = 0; first < packSize; first += lanes::width<T>) {
            Complex<V> values[points];
            for (int i = 0; i < points; ++i)
                values[i] = {loaded<V>(numbers[pack].re[point + i] + first),
                             loaded<V>(numbers[pack].im[point + i] + first)};
            for (int w = 0; w < weightings; ++w) {
                const T* const of = weights + w * toNextWeights + pack * 2 * packSize + first;
                const Complex<V> weight{loaded<V>(of), loaded<V>(of + packSize)};
                for (int i = 0; i < points; ++i) {
                    Complex<V>& sum = totals[w][i];
                    sum.re = multiplyAdd(weight.re, values[i].re, sum.re);
                    sum.im = multiplyAdd(weight.re, values[i].im, sum.im);
                    sum.re = multiplyAdd(-weight.im, values[i].im, sum.re);
                    sum.im = multiplyAdd(weight.im, values[i].re, sum.im);
                }
            }
        }
    for (int w = 0; w < weightings; ++w)
        for (int i = 0; i < points; ++i) {
            re[w * toNextSum + i] += sumOfLanes<T>(totals[w][i].re);
            im[w * toNextSum + i] += sumOfLanes<T>(totals[w][i].im);
        }
}

/// The same for all weightings.
template <int points, class T>
void weighAll(const RowNumbers<T>* numbers, int packs, int point, const T* weights, int weightings,
              double* re, double* im, std::ptrdiff_t toNextSum) {
    const std::ptrdiff_t toNextWeights = std::ptrdiff_t{packs} * 2 * packSize;
    constexpr int several = 4;
    int w = 0;
    for (; w + several <= weightings; w += several)
        weighSome<points, several>(numbers, packs, point, weights + w * toNextWeights,
                                   toNextWeights, re + point + w * toNextSum,
                                   im + point + w * toNextSum, toNextSum);
    for (; w < weightings; ++w)
        weighSome<points, 1>(numbers, packs, point, weights + w * toNextWeights, toNextWeights,
                             re + point + w * toNextSum, im + point + w * toNextSum, toNextSum);
}

template <class T>
void weigh(const RowNumbers<T>* numbers, int packs, int points, const T* weights, int weightings,
           std::ptrdiff_t toNextSum, double* re, double* im) {
    // As many sums as the widest registers have place for.
    constexpr int several = lanes::registerBytes == 64 ? 3 : 1;
    int point = 0;
    for (; point + several <= points; point += several)
        weighAll<several>(numbers, packs, point, weights, weightings, re, im, toNextSum);
    for (; point < points; ++point)
        weighAll<1>(numbers, packs, point, weights, weightings, re, im, toNextSum);
}

void lineSum(const FarPlace& place, double x, const double* y, const double* weights, int count,
             double& re, double& im) {
    constexpr int W = lanes::width<double>;
    using D = Pack<double, W>;
    const auto [k, u, v, w] = place;
    Complex<D> sum{};
    for (int first = 0; first < count; first += W) {
        const D along = loaded<D>(y + first);
        // (R'^2 - R^2)/R, of the distance R' of a point of the line.
        const D difference = w * (x * x + along * along) - 2 * (u * x + v * along);
        const D ratio = lanes::squareRoot(1 + w * difference);  // R'/R
        const auto [sine, cosine] =
            lanes::sinCos(lanes::reduceAngle(difference * -k / (1 + ratio)));
        const D factor = loaded<D>(weights + first) / ratio;
        sum.re = sum.re + cosine * factor;
        sum.im = sum.im + sine * factor;
    }
    re = sumOfLanes<double>(sum.re);
    im = sumOfLanes<double>(sum.im);
}

}  // namespace

template <>
const FarSums& farSumsOf<lanes::compiledSet>() {
    static constexpr FarSums sums{
        {&findDistances<float>, &findNodes<float>, &computeRow<float>, &weigh<float>},
        {&findDistances<double>, &findNodes<double>, &computeRow<double>, &weigh<double>},
        &lineSum};
    return sums;
}

}  // namespace pistonfield
