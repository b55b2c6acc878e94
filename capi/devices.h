// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

#include "capi/pistonfield.h"
#include "field/Plan.h"

namespace pistonfield {

/// A caller's device, in the library's terms.
/// @throws InvalidArgument of `device`
CallersDevice deviceOf(const pistonfield_device* given);

/// @param argument what the memory is called
/// @throws InvalidArgument unless so many bytes are memory of the device; DeviceFailure
void requireOnDevice(const CallersDevice& device, const void* first, std::size_t bytes,
                     const char* argument);

}  // namespace pistonfield
