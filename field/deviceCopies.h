// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "field/Plan.h"

namespace pistonfield {

/// The device in whose memory an address lies, if any; of memory that is shared the first one.
/// @throws DeviceFailure, also where there is no device
std::optional<int> deviceWith(const void* address);

/// Why so many bytes are not memory of a device, the first and the last of them; empty where they
/// are. Memory that the device shares with the host is.
/// @throws DeviceFailure, also where there is no device
std::string reasonAgainst(const CallersDevice& device, const void* first, std::size_t bytes);

/// Copies to or from memory of a device in the order of its stream, and waits until that is done.
/// @param argument what the device's memory is called, which a failure is told with
/// @throws DeviceFailure
void copyToDevice(const CallersDevice& device, void* to, const void* from, std::size_t bytes,
                  const char* argument);
void copyFromDevice(const CallersDevice& device, void* to, const void* from, std::size_t bytes,
                    const char* argument);

}  // namespace pistonfield
