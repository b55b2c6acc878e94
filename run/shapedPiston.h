// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <memory>
#include <utility>
#include <vector>

#include "field/Request.h"

namespace run {

/// A piston of any flat shape, which a request has as an array: its one element lies where a piston
/// does, and is driven by 1.
inline pistonfield::Array shapedPiston(pistonfield::Outline outline) {
    pistonfield::Element element;
    element.outline = std::make_shared<const pistonfield::Outline>(std::move(outline));
    return {{element}, {1}};
}

/// The outline of such a piston; null where a request is for another one, or for an array.
inline const pistonfield::Outline* shapeOf(const pistonfield::Request& request) {
    if (!request.array || request.array->elements.size() != 1) return nullptr;
    const pistonfield::Element& element = request.array->elements.front();
    const bool isPiston = element.pose == pistonfield::Pose{} &&
                          request.array->weights == std::vector<std::complex<double>>{1};
    return isPiston ? element.outline.get() : nullptr;
}

/// Whether elements radiate, and no piston.
inline bool hasElements(const pistonfield::Request& request) {
    return request.array && shapeOf(request) == nullptr;
}

}  // namespace run
