// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "capi/builtArray.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <unordered_map>
#include <variant>

#include "capi/elements.h"

namespace pistonfield {

namespace {

pistonfield_edge edgeFor(const StraightEdge& edge, std::int64_t loop) noexcept {
    return {{edge.from[0], edge.from[1]}, {edge.to[0], edge.to[1]}, 0, loop};
}

pistonfield_edge edgeFor(const Arc& arc, std::int64_t loop) noexcept {
    const auto& [x, y] = arc.centre;
    return {{x + arc.radius * std::cos(arc.from), y + arc.radius * std::sin(arc.from)},
            {x, y},
            arc.sweep,
            loop};
}

std::vector<pistonfield_edge> edgesFor(const Outline& outline) {
    std::vector<pistonfield_edge> edges;
    std::int64_t number = 0;
    for (const Loop& loop : outline.loops) {
        std::transform(loop.begin(), loop.end(), std::back_inserter(edges),
                       [number](const OutlineEdge& edge) {
                           return std::visit(
                               [number](const auto& kind) { return edgeFor(kind, number); }, edge);
                       });
        ++number;
    }
    return edges;
}

void takeOutlines(pistonfield_array& made, const std::vector<Element>& elements) {
    std::unordered_map<const Outline*, std::int64_t> numbers;
    made.outlineOf.reserve(elements.size());
    for (const Element& element : elements) {
        if (!element.outline) {
            made.outlineOf.push_back(-1);
            continue;
        }
        const auto next = static_cast<std::int64_t>(numbers.size());
        const auto [known, isNew] = numbers.try_emplace(element.outline.get(), next);
        if (isNew) made.edges.push_back(edgesFor(*element.outline));
        made.outlineOf.push_back(known->second);
    }
    made.outlines.reserve(made.edges.size());
    for (const std::vector<pistonfield_edge>& edges : made.edges)
        made.outlines.push_back({edges.data(), static_cast<std::int64_t>(edges.size())});
}

}  // namespace

std::unique_ptr<pistonfield_array> builtArray(const Array& array) {
    auto made = std::make_unique<pistonfield_array>();
    made->elements.reserve(array.elements.size());
    std::transform(array.elements.begin(), array.elements.end(), std::back_inserter(made->elements),
                   elementFor);
    made->weights = array.weights;
    const bool hasOutlines =
        std::any_of(array.elements.begin(), array.elements.end(),
                    [](const Element& element) { return element.outline != nullptr; });
    if (hasOutlines) takeOutlines(*made, array.elements);
    return made;
}

}  // namespace pistonfield
