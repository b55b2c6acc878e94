// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "capi/pistonfield.h"
#include "core/Mode.h"
#include "field/Request.h"

namespace pistonfield {

inline constexpr std::array<std::size_t, 6> requestSizes{200, 216, 248, 280, 320, 328};

std::optional<Mode> modeNumbered(std::int32_t number) noexcept;

/// A caller's request, which may be one of an earlier interface.
/// @throws InvalidArgument; InvalidRequest of what cannot be read, before memory is taken for it
Request requestOf(const pistonfield_request* given);

/// What applies where nothing is said.
pistonfield_request defaultRequest();

/// What a request has of elements and their wave, for weights: points mean nothing.
struct DrivenElements {
    std::vector<Element> elements;
    Wave wave;
    Baffle baffle = Baffle::rigid;
};

/// @throws InvalidArgument; InvalidRequest, of `elements` where there is no array
DrivenElements drivenElementsOf(const pistonfield_request* given);

}  // namespace pistonfield
