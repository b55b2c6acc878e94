// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "arrays/vectors.h"

namespace pistonfield {

/// A box along the axes: the least and the largest x, y, z.
struct Box {
    Vector3 least, most;

    /// Brings another one into it.
    void take(const Box& other) noexcept;

    /// The distance to another one; 0 where they intersect.
    double distanceTo(const Box& other) const noexcept;

    /// Whether a ray from a point meets it.
    bool isMetBy(const Vector3& from, const Vector3& direction) const noexcept;
};

/// The box about an element's face.
/// @throws std::bad_alloc
Box boxOf(const Element& element);

/// Boxes in a tree of boxes, so that those of a region are found without a look at all.
class BoxTree {
  public:
    /// @param boxes one or more
    /// @throws std::bad_alloc
    explicit BoxTree(std::vector<Box> boxes);

    const Box& operator[](std::size_t i) const noexcept { return boxes[i]; }

    /// The box about all.
    const Box& whole() const noexcept { return nodes.front().box; }

    /// Calls `visit` with the number of each box for which `isSought` is true, and maybe with
    /// others'. What is sought may become less meanwhile.
    /// @param isSought true for each box about one for which it is true
    template <class IsSought, class Visit>
    void forEach(const IsSought& isSought, const Visit& visit) const {
        std::vector<std::size_t> waiting{0};
        while (!waiting.empty()) {
            const Node& node = nodes[waiting.back()];
            const std::size_t left = waiting.back() + 1;
            waiting.pop_back();
            if (!isSought(node.box)) continue;
            if (node.right != 0) {
                waiting.push_back(node.right);
                waiting.push_back(left);
                continue;
            }
            for (std::size_t i = node.first; i < node.last; ++i) visit(order[i]);
        }
    }

  private:
    /// Boxes that stand next to each other in the order. The left half's node is the next one.
    struct Node {
        Box box;
        std::size_t first, last;
        std::size_t right;  ///< the right half's node, or 0 where there are no halves
    };

    void add(std::size_t first, std::size_t last);

    std::vector<Box> boxes;
    std::vector<std::size_t> order;
    std::vector<Node> nodes;
};

}  // namespace pistonfield
