// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ElementRounds.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace pistonfield {

namespace {

/// A ball about the middle of the places' bounds.
template <class PlaceAt>
Ball ballAbout(std::size_t count, PlaceAt placeAt) {
    Pose::Vector low = placeAt(0);
    Pose::Vector high = low;
    for (std::size_t i = 1; i < count; ++i) {
        const Pose::Vector place = placeAt(i);
        for (std::size_t axis = 0; axis < place.size(); ++axis) {
            low[axis] = std::min(low[axis], place[axis]);
            high[axis] = std::max(high[axis], place[axis]);
        }
    }
    Ball ball{};
    for (std::size_t axis = 0; axis < low.size(); ++axis)
        ball.centre[axis] = low[axis] + (high[axis] - low[axis]) / 2;
    for (std::size_t i = 0; i < count; ++i) {
        const auto [x, y, z] = placeAt(i);
        ball.radius = std::max(
            ball.radius, std::hypot(x - ball.centre[0], y - ball.centre[1], z - ball.centre[2]));
    }
    return ball;
}

using Distances = std::array<double, groupSize>;

Distances squaresTo(const Pose::Vector& centre, const GroupPlaces& places) {
    Distances squares;
    for (std::size_t i = 0; i < groupSize; ++i) {
        const double x = places.x[i] - centre[0];
        const double y = places.y[i] - centre[1];
        const double z = places.z[i] - centre[2];
        squares[i] = x * x + y * y + z * z;
    }
    return squares;
}

}  // namespace

GroupSites::GroupSites(const Positions& positions, const AskedGroup& group)
    : ball{}, asked(group.members) {
    positions.group(group.group, places);
    ball = ballAbout(groupSize, [this](std::size_t i) {
        return Pose::Vector{places.x[i], places.y[i], places.z[i]};
    });
}

ElementRounds::ElementRounds(const std::vector<Element>& elements,
                             const std::function<std::size_t(std::size_t)>& shapeOf)
    : elements(elements), numbers(elements.size()) {
    std::iota(numbers.begin(), numbers.end(), std::size_t{0});
    std::stable_sort(numbers.begin(), numbers.end(),
                     [&](std::size_t a, std::size_t b) { return shapeOf(a) < shapeOf(b); });
    for (std::size_t first = 0; first < numbers.size(); first += rounds.back().count) {
        const std::size_t shape = shapeOf(numbers[first]);
        std::size_t count = 1;
        while (count < mostInARound && first + count < numbers.size() &&
               shapeOf(numbers[first + count]) == shape)
            ++count;
        rounds.push_back({shape, first, count, balls.size()});
        for (std::size_t begin = 0; begin < count; begin += elementsOfABlock)
            balls.push_back(ballAbout(
                std::min<std::size_t>(elementsOfABlock, count - begin),
                [&](std::size_t i) { return elements[numbers[first + begin + i]].pose.centre; }));
    }
}

void ElementRounds::findNear(const Round& round, const GroupSites& sites, double least,
                             std::vector<NearElement>& near, std::span<double> nearest) const {
    for (std::size_t block = 0; block < round.blocks(); ++block) {
        const auto& [centre, radius] = balls[round.firstBlock + block];
        const auto& [x, y, z] = sites.ball.centre;
        nearest[block] =
            std::hypot(x - centre[0], y - centre[1], z - centre[2]) - radius - sites.ball.radius;
        if (nearest[block] >= least) continue;
        // Points far from each other are looked at one by one.
        const Distances squares = squaresTo(centre, sites.places);
        nearest[block] = std::sqrt(*std::min_element(squares.begin(), squares.end())) - radius;
        if (nearest[block] < least) nearest[block] = findInBlock(round, block, sites, least, near);
    }
}

double ElementRounds::findInBlock(const Round& round, std::size_t block, const GroupSites& sites,
                                  double least, std::vector<NearElement>& near) const {
    double square = HUGE_VAL;  // of the least distance that is not near
    const std::size_t begin = block * elementsOfABlock;
    const std::size_t end = std::min<std::size_t>(begin + elementsOfABlock, round.count);
    for (std::size_t i = begin; i < end; ++i) {
        const Pose::Vector& centre = elements[numbers[round.first + i]].pose.centre;
        const Distances squares = squaresTo(centre, sites.places);
        Members members;
        for (std::size_t point = 0; point < groupSize; ++point) {
            const bool isNear = squares[point] < least * least;
            members[point] = isNear;
            if (!isNear) square = std::min(square, squares[point]);
        }
        members &= sites.asked;
        if (members.any())
            near.push_back(
                {static_cast<std::int32_t>(i), static_cast<std::uint16_t>(members.to_ulong())});
    }
    return square == HUGE_VAL ? 0 : std::sqrt(square);
}

std::int64_t ElementRounds::memory() const noexcept {
    return static_cast<std::int64_t>(numbers.size() * sizeof(std::size_t) +
                                     rounds.size() * sizeof(Round) + balls.size() * sizeof(Ball));
}

}  // namespace pistonfield
