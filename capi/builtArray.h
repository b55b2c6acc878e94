// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "capi/memberNames.h"
#include "capi/outcome.h"
#include "capi/pistonfield.h"
#include "field/Array.h"

struct pistonfield_array {
    std::vector<pistonfield_element> elements;
    std::vector<std::complex<double>> weights;
    std::vector<std::vector<pistonfield_edge>> edges;  ///< of each outline
    std::vector<pistonfield_outline> outlines;         ///< which point to them
    std::vector<std::int64_t> outlineOf;               ///< none where there are no outlines
};

namespace pistonfield {

/// An array as callers have it. Elements that share an outline do so there, too.
std::unique_ptr<pistonfield_array> builtArray(const Array& array);

/// Makes an array of what a function builds from what is given.
template <class Given, class Build>
pistonfield_status makeArray(const Given* given, const char* argument, const Build& build,
                             pistonfield_array** array, pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        required(array, "array") = nullptr;
        requireGiven(given, argument);
        *array = builtArray(namedForC([&] { return build(*given); })).release();
    });
}

}  // namespace pistonfield
