// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "field/Array.h"
#include "field/Positions.h"
#include "method/ArrayNumbers.h"
#include "method/GroupOrders.h"

namespace pistonfield {

/// A ball about some places.
struct Ball {
    Pose::Vector centre;
    double radius;
};

/// A group of points, of which some are asked for.
struct AskedGroup {
    std::int64_t group;
    Members members;
};

/// Where the points of such a group lie.
struct GroupSites {
    GroupPlaces places;
    Ball ball;  ///< about them
    Members asked;

    GroupSites(const Positions& positions, const AskedGroup& asked);
};

/// An array's elements in rounds of equal ones, and each round in blocks of neighbours.
class ElementRounds {
  public:
    /// @param elements outlive this
    /// @param shapeOf  the number of an element's piston among the different ones
    /// @throws std::bad_alloc
    ElementRounds(const std::vector<Element>& elements,
                  const std::function<std::size_t(std::size_t element)>& shapeOf);

    static constexpr std::size_t blocksOfARound = 8;
    static constexpr std::size_t mostInARound = blocksOfARound * elementsOfABlock;

    /// Equal elements, which are summed up in one go.
    struct Round {
        std::size_t shape;
        std::size_t first;  ///< the place in `order` of the first one
        std::size_t count;
        std::size_t firstBlock;

        std::size_t blocks() const noexcept {
            return (count + elementsOfABlock - 1) / elementsOfABlock;
        }
    };

    const std::vector<Round>& all() const noexcept { return rounds; }

    /// The elements' numbers, round by round.
    const std::vector<std::size_t>& order() const noexcept { return numbers; }

    /// Finds which elements of a round are nearer to a group's points than a distance, and for each
    /// block how near the others are.
    /// @param least    the distance
    /// @param near     to which those are added that are near to points that are asked for
    /// @param nearest of each block, no far element is nearer to any of the points than this; 0
    ///     where none is far
    /// @throws std::bad_alloc
    void findNear(const Round& round, const GroupSites& sites, double least,
                  std::vector<NearElement>& near, std::span<double> nearest) const;

    /// Bytes beside the elements.
    std::int64_t memory() const noexcept;

  private:
    double findInBlock(const Round& round, std::size_t block, const GroupSites& sites, double least,
                       std::vector<NearElement>& near) const;

    const std::vector<Element>& elements;
    std::vector<std::size_t> numbers;
    std::vector<Round> rounds;
    std::vector<Ball> balls;  ///< about each block's centres
};

}  // namespace pistonfield
