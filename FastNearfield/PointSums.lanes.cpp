// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <cstdint>

#include "FastNearfield/EdgeIntegrand.h"
#include "FastNearfield/PointSums.h"
#include "FastNearfield/fillLattice.h"
#include "lanes/Pack.h"
#include "lanes/pipelined.h"
#include "lanes/sinCos.h"

namespace pointsums {

namespace {

using lanes::Element;
using lanes::Mask;
using lanes::Pack;
using lanes::select;

template <class V>
using Complex = pistonfield::LaneComplex<V>;

/// The lanes' own mathematics, for the integrand.
template <class V>
struct Mathematics {
    using Scalar = Element<V>;
    using Reals = V;
    using Angle = lanes::ReducedAngles<V>;

    [[gnu::always_inline]] static V squareRoot(V v) { return lanes::squareRoot(v); }
    [[gnu::always_inline]] static Angle reduceAngle(V angle) { return lanes::reduceAngle(angle); }
    [[gnu::always_inline]] static lanes::SinCos<V> sinCos(const Angle& angle) {
        return lanes::sinCos(angle);
    }
};

/// Packs whose integrals are computed in one go. More than one, because the processor is idle where
/// a go begins and ends.
constexpr int packsAtATime = 8;

/// The most tasks that the points of a pack have: each of four edges in two pieces.
constexpr int tasksOfAPack = 8;

/// A rule mapped onto an interval: abscissas half*x[i] + mid, weights half*w[i].
template <class V>
struct Mapping {
    V half, mid;
};

/// One for each of two parallel edges.
template <class T>
struct Pair {
    T first, second;
};

/// What the integrals of a pack's points share: z^2 and exp(-j*k*z).
template <class V>
struct Points {
    V zz;
    Complex<V> phase;
};

/// Two integrals that go side by side: along parallel edges at the squared offsets s2.
template <class V>
struct Task {
    Points<V> at;
    Mapping<V> on;
    Pair<V> s2;
    Pair<Complex<V>> integrals;
};

/// The integrals of f(t) = (exp(-j*k*sqrt(z^2 + D)) - exp(-j*k*z)) / D, D = t^2 + s2, with s2 the
/// square of the offset from the edge: gathered first, then computed all in one go.
template <class V>
class EdgeIntegrals {
  public:
    using T = Element<V>;

    EdgeIntegrals(const Rule<T>& rule, T k) : rule(rule), minusK(-k) {}

    /// Adds the integrals along two edges, by one mapping.
    /// @return the task's number
    int add(const Points<V>& at, const Mapping<V>& on, const Pair<V>& s2) {
        Task<V>& task = tasks[count];
        task.at = at;
        task.on = on;
        task.s2 = s2;
        return count++;
    }

    /// Adds the integrals along two edges, by a mapping for each. Equal mappings make one task.
    /// @return the tasks' numbers
    Pair<int> add(const Points<V>& at, const Pair<Mapping<V>>& on, const Pair<V>& s2) {
        const int first = add(at, on.first, s2);
        return {first, differ(on.first, on.second) ? add(at, on.second, s2) : first};
    }

    /// Computes what has been added, in that order, and forgets it: the next ones added are number
    /// 0 and on.
    void compute();

    Pair<Complex<V>> integrals(const Pair<int>& numbers) const {
        return {tasks[numbers.first].integrals.first, tasks[numbers.second].integrals.second};
    }

  private:
    static bool differ(const Mapping<V>& a, const Mapping<V>& b) {
        return lanes::any((a.half != b.half) | (a.mid != b.mid));
    }

    using Integrand = pistonfield::EdgeIntegrand<Mathematics<V>>;
    using Node = typename Integrand::Node;
    using ReducedNode = typename Integrand::ReducedNode;

    /// To divide the weight by D rounds as often as to divide both parts of the difference would,
    /// and takes one division instead of two.
    [[gnu::always_inline]] Node nodeAt(V zz, V d, V weight) const {
        return {Integrand::angleAt(zz, d, minusK), weight / d};
    }

    [[gnu::always_inline]] Pair<Node> nodesOf(const Task<V>& task, int i) const {
        const V t = task.on.half * rule.abscissas[i] + task.on.mid;
        const V tt = t * t;
        const V weight = task.on.half * rule.weights[i];
        return {nodeAt(task.at.zz, tt + task.s2.first, weight),
                nodeAt(task.at.zz, tt + task.s2.second, weight)};
    }

    [[gnu::always_inline]] static void add(Complex<V>& sum, const Complex<V>& phase,
                                           const ReducedNode& node) {
        const Complex<V> value = Integrand::valueAt(node, phase);
        sum.re += value.re;
        sum.im += value.im;
    }

    const Rule<T>& rule;
    T minusK;
    int count = 0;
    Task<V> tasks[packsAtATime * tasksOfAPack];
};

template <class V>
void EdgeIntegrals<V>::compute() {
    if (rule.order < 1)
        for (Task<V>& task : tasks) task.integrals = Pair<Complex<V>>{};
    const Task<V>* begun = tasks;
    int node = 0;
    Task<V>* ended = tasks;
    int left = rule.order;
    Pair<Complex<V>> sums{};
    lanes::pipelined(
        std::int64_t{count} * rule.order,
        [&](std::int64_t) __attribute__((always_inline)) {
            const Pair<Node> nodes = nodesOf(*begun, node);
            if (++node == rule.order) {
                node = 0;
                ++begun;
            }
            return nodes;
        },
        [](const Pair<Node>& nodes) __attribute__((always_inline)) {
            return Pair<ReducedNode>{Integrand::reduced(nodes.first),
                                     Integrand::reduced(nodes.second)};
        },
        [&](const Pair<ReducedNode>& nodes) __attribute__((always_inline)) {
            add(sums.first, ended->at.phase, nodes.first);
            add(sums.second, ended->at.phase, nodes.second);
            if (--left == 0) {
                ended->integrals = sums;
                sums = Pair<Complex<V>>{};
                left = rule.order;
                ++ended;
            }
        });
    count = 0;
}

/// The rule's mappings for the points of a pack, one after the other.
template <class V>
class Mappings {
  public:
    explicit Mappings(const Rule<Element<V>>& rule) : rule(rule) {}

    /// Maps the rule onto [a, b] in the lanes of the mask.
    Mapping<V> map(Mask<V> mask, V a, V b) {
        if (rule.order > 0) {
            // Deliberate: an interval that equals the last mapping's end nodes keeps that mapping.
            const Mask<V> keep = ((a == node(0)) & (b == node(rule.order - 1))) | ~mask;
            last = {select(keep, last.half, (b - a) * Element<V>(0.5)),
                    select(keep, last.mid, (a + b) * Element<V>(0.5))};
        }
        return last;
    }

  private:
    V node(int i) const { return last.half * rule.abscissas[i] + last.mid; }

    const Rule<Element<V>>& rule;
    /// Equals no interval's ends.
    Mapping<V> last{lanes::broadcast<V>(__builtin_nan("")), lanes::broadcast<V>(__builtin_nan(""))};
};

/// How the two edges of a pair are integrated between the offsets a and b of the other pair.
template <class V>
struct Cases {
    Mask<V> thin;   ///< a piston side below 1e-7: one integral, doubled
    Mask<V> split;  ///< the foot point lies between the edges: split at 0
};

template <class V>
[[gnu::always_inline]] inline Cases<V> casesOf(V a, V b) {
    // The float nearest to 1e-7 lies above it: floats are below the one if they are below the
    // other.
    constexpr auto thinSide = static_cast<Element<V>>(1e-7);
    const Mask<V> thin = lanes::absolute(a - b) < thinSide;
    return {thin, ~thin & ((a > 0) ^ (b > 0))};
}

/// The integrals along the edges of offsets e, times the offsets: over [lo, b], and where the
/// points are split over [a, 0] too.
template <class V>
class EdgePair {
  public:
    EdgePair() = default;

    /// Adds the pair's integrals to those to compute. The first edge is mapped before the second.
    EdgePair(EdgeIntegrals<V>& integrals, Mappings<V>& mappings, const Points<V>& at,
             const Cases<V>& cases, const Pair<V>& e, V lo, V a, V b)
        : cases(cases), e(e), anySplit(lanes::any(cases.split)) {
        const auto all = lanes::broadcast<Mask<V>>(-1);
        const Pair<V> s2{e.first * e.first, e.second * e.second};
        const Mapping<V> upper1 = mappings.map(all, lo, b);
        if (!anySplit) {
            // The second edge's mapping, of the same interval at once after, is the same.
            const int task = integrals.add(at, upper1, s2);
            upper = {task, task};
            return;
        }
        const Mapping<V> lower1 = mappings.map(cases.split, a, V{});
        const Mapping<V> upper2 = mappings.map(all, lo, b);
        const Mapping<V> lower2 = mappings.map(cases.split, a, V{});
        upper = integrals.add(at, {upper1, upper2}, s2);
        lower = integrals.add(at, {lower1, lower2}, s2);
    }

    Pair<Complex<V>> terms(const EdgeIntegrals<V>& integrals) const {
        Pair<Complex<V>> sums = integrals.integrals(upper);
        if (anySplit) {
            const Pair<Complex<V>> rest = integrals.integrals(lower);
            sums = {joined(rest.first, sums.first), joined(rest.second, sums.second)};
        }
        return {times(e.first, sums.first), times(e.second, sums.second)};
    }

  private:
    Complex<V> joined(const Complex<V>& low, const Complex<V>& high) const {
        return {select(cases.split, low.re + high.re, high.re),
                select(cases.split, low.im + high.im, high.im)};
    }

    Complex<V> times(V offset, const Complex<V>& integral) const {
        const V factor = select(cases.thin, 2 * offset, offset);
        return {factor * integral.re, factor * integral.im};
    }

    Cases<V> cases;
    Pair<V> e;
    bool anySplit = false;
    Pair<int> upper{};
    Pair<int> lower{};
};

/// The sum over the four edges, at the points of a pack.
template <class V>
class EdgeSum {
  public:
    EdgeSum() = default;
    EdgeSum(EdgeIntegrals<V>& integrals, Mappings<V> mappings, V x1, V x2, V y1, V y2,
            const Points<V>& at)
        : EdgeSum(integrals, mappings, casesOf(y1, y2), casesOf(x1, x2), x1, x2, y1, y2, at) {}

    Complex<V> value(const EdgeIntegrals<V>& integrals) const {
        const auto [t1, t2] = alongY.terms(integrals);
        const auto [t3, t4] = alongX.terms(integrals);
        return {((t1.re - t2.re) + t3.re) - t4.re, ((t1.im - t2.im) + t3.im) - t4.im};
    }

  private:
    EdgeSum(EdgeIntegrals<V>& integrals, Mappings<V>& mappings, const Cases<V>& inY,
            const Cases<V>& inX, V x1, V x2, V y1, V y2, const Points<V>& at)
        : alongY(integrals, mappings, at, inY, {x1, x2}, select(inY.thin | inY.split, V{}, y1), y1,
                 y2),
          // Deliberate: a thin piston's x pair is integrated over the whole interval, its y pair is
          // not.
          alongX(integrals, mappings, at, inX, {y1, y2}, select(inX.split, V{}, x1), x1, x2) {}

    EdgePair<V> alongY;
    EdgePair<V> alongX;
};

template <class T>
Value<T> phaseAt(T angle) {
    const auto [sine, cosine] = lanes::sinCos(lanes::broadcast<Pack<T, lanes::width<T>>>(angle));
    return {cosine[0], sine[0]};
}

template <class T>
Value<T> atPoint(const Rule<T>& rule, const Point<T>& p) {
    using V = Pack<T, lanes::width<T>>;
    const auto all = [](T value) { return lanes::broadcast<V>(value); };
    EdgeIntegrals<V> integrals(rule, p.k);
    const EdgeSum<V> sum(integrals, Mappings<V>(rule), all(p.x1), all(p.x2), all(p.y1), all(p.y2),
                         {all(p.z * p.z), {all(p.phaseRe), all(p.phaseIm)}});
    integrals.compute();
    const Complex<V> value = sum.value(integrals);
    return {value.re[0], value.im[0]};
}

/// A rectangular piston's evaluator for `fillLattice`.
template <class V>
class RectangularPiston {
  public:
    using Reals = V;
    using T = Element<V>;
    static constexpr int packsAtATime = pointsums::packsAtATime;

    RectangularPiston(const Rule<T>& rule, const Piston<T>& piston)
        : mappings(rule), integrals(rule, piston.k), piston(piston) {}

    void add(V x, V y, V z) {
        const auto [sine, cosine] = lanes::sinCos(-(z * piston.k));
        sums[count++] = EdgeSum<V>(integrals, mappings, x - piston.hx, x + piston.hx, y - piston.hy,
                                   y + piston.hy, {z * z, {cosine, sine}});
    }

    void compute() {
        integrals.compute();
        count = 0;
    }

    Complex<V> pressure(int i) const {
        constexpr auto scale = static_cast<T>(-0.15915494309189535);  // -1/(2pi)
        const Complex<V> sum = sums[i].value(integrals);
        // The complex product (0, scale) * sum.
        return {T(0) * sum.re - scale * sum.im, T(0) * sum.im + scale * sum.re};
    }

  private:
    const Mappings<V> mappings;  ///< as every pack begins with them
    EdgeIntegrals<V> integrals;
    EdgeSum<V> sums[packsAtATime];
    const Piston<T>& piston;
    int count = 0;
};

template <class T, class G>
void fill(const Rule<T>& rule, const Piston<T>& piston, const Lattice<G>& lattice,
          const Field<T>& field, const Range& range) {
    RectangularPiston<Pack<T, lanes::width<T>>> evaluator(rule, piston);
    fillLattice(evaluator, lattice, field, range);
}

}  // namespace

template <>
const Functions& functionsOf<lanes::compiledSet>() {
    static constexpr Functions functions{
        &phaseAt<float>,     &phaseAt<double>,     &atPoint<float>,      &atPoint<double>,
        &fill<float, float>, &fill<float, double>, &fill<double, double>};
    return functions;
}

}  // namespace pointsums
