// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/GroupField.h"

#include <cstring>

#include "lanes/Pack.h"
#include "lanes/sinCos.h"
#include "method/pointSums.h"

namespace pistonfield {

namespace {

using lanes::Pack;

/// The distance Q that phases are relative to: z; beside the face that of its centre; beside a thin
/// one that of the line along its middle.
template <class D>
D referenceOf(const Face& face, Formula formula, D x, D y, D z) {
    if (formula == Formula::edges) return z;
    if (formula == Formula::lines) {
        const bool alongX = face.halfX > face.halfY;
        const D beyond = (alongX ? x : y) - (alongX ? face.halfX : face.halfY);
        (alongX ? x : y) = largest(beyond, D{});
    }
    return lanes::squareRoot(x * x + y * y + z * z);
}

/// The numbers of a group's points.
template <class T>
void findNumbers(const Face& face, Formula formula, const GroupPoints& points,
                 GroupNumbers<T>& to) {
    constexpr int W =
        lanes::width<double> < lanes::width<T> ? lanes::width<double> : lanes::width<T>;
    using D = Pack<double, W>;
    static_assert(groupSize % W == 0);
    for (int first = 0; first < groupSize; first += W) {
        D x;
        D y;
        D z;
        std::memcpy(&x, points.x + first, sizeof x);
        std::memcpy(&y, points.y + first, sizeof y);
        std::memcpy(&z, points.z + first, sizeof z);
        const D reference = referenceOf(face, formula, x, y, z);
        const auto angle = lanes::reduceAngle(reference * -face.k);
        const auto [sine, cosine] = lanes::sinCos(angle);
        const double unit = face.k / 2;
        const D height = z * unit;
        const auto put = [first](T * numbers, D values) __attribute__((always_inline)) {
            const auto narrow = __builtin_convertvector(values, Pack<T, W>);
            std::memcpy(numbers + first, &narrow, sizeof narrow);
        };
        put(to.x, x * unit);
        put(to.y, y * unit);
        put(to.nearX, (face.halfX - x) * unit);
        put(to.nearY, (face.halfY - y) * unit);
        put(to.zz, height * height);
        put(to.reference, reference * unit);
        put(to.cosine, cosine);
        put(to.sine, -sine);
    }
}

template <class V, class T>
[[gnu::always_inline]] inline V loaded(const T* numbers) {
    V pack;
    std::memcpy(&pack, numbers, sizeof pack);
    return pack;
}

template <class V, class T>
Points<V> pointsOf(const GroupNumbers<T>& group, int first) {
    const auto of = [first](const T* numbers) __attribute__((always_inline)) {
        return loaded<V>(numbers + first);
    };
    return {of(group.x),
            of(group.y),
            of(group.nearX),
            of(group.nearY),
            {of(group.zz), of(group.reference)},
            {of(group.cosine), of(group.sine)}};
}

template <class T>
void groupField(const Nodes<T>* rules, const Face& face, const PointOrders& orders,
                const GroupPoints& points, GroupValues<T>& values) {
    constexpr int W = lanes::width<T>;
    using V = Pack<T, W>;
    static_assert(groupSize % W == 0);
    GroupNumbers<T> numbers;
    findNumbers(face, orders.formula, points, numbers);
    const auto sides = halfSidesOf<T>(face);
    for (int first = 0; first < groupSize; first += W) {
        const Complex<V> p = pressureAt<V>(rules, sides, orders, pointsOf<V>(numbers, first));
        std::memcpy(values.re + first, &p.re, sizeof p.re);
        std::memcpy(values.im + first, &p.im, sizeof p.im);
    }
}

}  // namespace

template <>
const GroupFields& groupFieldsOf<lanes::compiledSet>() {
    static constexpr GroupFields fields{{&groupField<float>, &findNumbers<float>},
                                        {&groupField<double>, &findNumbers<double>}};
    return fields;
}

}  // namespace pistonfield
