// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/BoxTree.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "arrays/faces.h"

namespace pistonfield {

void Box::take(const Box& other) noexcept {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        least[axis] = std::min(least[axis], other.least[axis]);
        most[axis] = std::max(most[axis], other.most[axis]);
    }
}

double Box::distanceTo(const Box& other) const noexcept {
    Vector3 apart{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        apart[axis] =
            std::max({0.0, least[axis] - other.most[axis], other.least[axis] - most[axis]});
    return lengthOf(apart);
}

bool Box::isMetBy(const Vector3& from, const Vector3& direction) const noexcept {
    double begin = 0;
    double end = HUGE_VAL;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double toLeast = least[axis] - from[axis];
        const double toMost = most[axis] - from[axis];
        if (direction[axis] == 0) {
            if (toLeast > 0 || toMost < 0) return false;
            continue;
        }
        const auto [near, far] = std::minmax({toLeast / direction[axis], toMost / direction[axis]});
        begin = std::max(begin, near);
        end = std::min(end, far);
    }
    return begin <= end;
}

Box boxOf(const Element& element) {
    const auto corners = cornersOfFace(element);
    Box box{corners[0], corners[0]};
    for (const Vector3& corner : corners) box.take({corner, corner});
    return box;
}

BoxTree::BoxTree(std::vector<Box> all) : boxes(std::move(all)), order(boxes.size()) {
    std::iota(order.begin(), order.end(), std::size_t{0});
    add(0, boxes.size());
}

void BoxTree::add(std::size_t first, std::size_t last) {
    constexpr std::size_t few = 4;
    Box box = boxes[order[first]];
    for (std::size_t i = first; i < last; ++i) box.take(boxes[order[i]]);
    const std::size_t number = nodes.size();
    nodes.push_back({box, first, last, 0});
    if (last - first <= few) return;
    std::size_t longest = 0;
    for (std::size_t axis = 1; axis < 3; ++axis)
        if (box.most[axis] - box.least[axis] > box.most[longest] - box.least[longest])
            longest = axis;
    const std::size_t middle = first + (last - first) / 2;
    const auto at = [this](std::size_t i) {
        return order.begin() + static_cast<std::ptrdiff_t>(i);
    };
    std::nth_element(at(first), at(middle), at(last), [&](std::size_t a, std::size_t b) {
        return boxes[a].least[longest] + boxes[a].most[longest] <
               boxes[b].least[longest] + boxes[b].most[longest];
    });
    add(first, middle);
    nodes[number].right = nodes.size();
    add(middle, last);
}

}  // namespace pistonfield
