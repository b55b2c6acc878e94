// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "field/Request.h"

namespace run {

/// The option, and the attribute of a file, that has a field of a request.
inline std::string nameOfField(const std::string& field) {
    if (field == "height") return "l";
    if (field == "width") return "s";
    if (field == "wavenumber") return "k";
    return field;
}

/// As `pistonfield::check`, in the names of this program.
/// @throws pistonfield::InvalidRequest
inline void checkRequest(const pistonfield::Request& request) {
    try {
        check(request);
    } catch (const pistonfield::InvalidRequest& error) {
        throw pistonfield::InvalidRequest(nameOfField(error.field()), error.reason());
    }
}

}  // namespace run
