// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "capi/devices.h"

#include <cstdint>
#include <optional>
#include <string>

#include "capi/outcome.h"
#include "cuda_runtime/callersMemory.h"
#include "field/deviceCopies.h"

namespace pistonfield {

namespace {

/// Asks something about an argument, whose name a device's failure is told with.
template <class Question>
auto asked(const char* argument, const Question& question) {
    try {
        return question();
    } catch (const DeviceFailure& failure) {
        throw DeviceFailure(std::string(argument) + ": " + failure.what());
    }
}

}  // namespace

CallersDevice deviceOf(const pistonfield_device* given) {
    const pistonfield_device& device = required(given, "device");
    return {device.number, device.stream};
}

void requireOnDevice(const CallersDevice& device, const void* first, std::size_t bytes,
                     const char* argument) {
    const std::string reason = asked(argument, [&] { return reasonAgainst(device, first, bytes); });
    if (!reason.empty()) throw InvalidArgument(argument, reason);
}

}  // namespace pistonfield

std::int32_t pistonfield_has_gpus() noexcept { return cuda_runtime::hasGpus() ? 1 : 0; }

pistonfield_status pistonfield_device_of(const void* address, std::int32_t* number,
                                         pistonfield_message* message) noexcept {
    using namespace pistonfield;
    return outcomeOf(message, [&] {
        requireGiven(address, "address");
        requireGiven(number, "number");
        const std::optional<int> found =
            asked("address", [address] { return deviceWith(address); });
        if (!found) throw InvalidArgument("address", "is in no device's memory");
        *number = *found;
    });
}

pistonfield_status pistonfield_device_read(const pistonfield_device* device, const void* from,
                                           std::int64_t bytes, void* to,
                                           pistonfield_message* message) noexcept {
    using namespace pistonfield;
    return outcomeOf(message, [&] {
        const CallersDevice source = deviceOf(device);
        requireGiven(from, "from");
        requireGiven(to, "to");
        if (bytes < 1) throw InvalidArgument("bytes", std::to_string(bytes) + " is not 1 or more");
        const auto count = static_cast<std::size_t>(bytes);
        requireOnDevice(source, from, count, "from");
        copyFromDevice(source, to, from, count, "from");
    });
}
