// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "capi/outcome.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "field/Plan.h"

namespace pistonfield {

namespace {

bool continuesCharacter(char byte) noexcept {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

/// Writes as much of a text as there is room for, in whole characters.
pistonfield_status told(pistonfield_message* message, pistonfield_status status,
                        std::string_view text) noexcept {
    if (message == nullptr) return status;
    std::size_t length = std::min(text.size(), sizeof message->text - 1);
    if (length < text.size())
        while (length > 0 && continuesCharacter(text[length])) --length;
    message->text[std::copy_n(text.begin(), length, message->text) - message->text] = '\0';
    return status;
}

}  // namespace

pistonfield_status failureOf(pistonfield_message* message) noexcept {
    try {
        throw;
    } catch (const InvalidArgument& failure) {
        return told(message, PISTONFIELD_INVALID_ARGUMENT, failure.what());
    } catch (const InvalidRequest& failure) {
        return told(message, PISTONFIELD_INVALID_REQUEST, failure.what());
    } catch (const std::out_of_range& failure) {
        return told(message, PISTONFIELD_OUT_OF_RANGE, failure.what());
    } catch (const Stopped& failure) {
        return told(message, PISTONFIELD_STOPPED, failure.what());
    } catch (const std::bad_alloc&) {
        return told(message, PISTONFIELD_OUT_OF_MEMORY, "there is not enough memory");
    } catch (const DeviceFailure& failure) {
        return told(message, PISTONFIELD_DEVICE_FAILURE, failure.what());
    } catch (const std::exception& failure) {
        return told(message, PISTONFIELD_FAILURE, failure.what());
    } catch (...) {
        return told(message, PISTONFIELD_FAILURE, "an exception of an unknown kind");
    }
}

}  // namespace pistonfield
