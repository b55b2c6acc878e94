// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>

#include "matlab_src/Gateway.h"
#include "tests/matlab_src/SubstituteHost.h"

/// What the functions' module answers.
inline host::Array* answerTo(const std::vector<const host::Array*>& arguments) {
    host::Array* output = nullptr;
    answerCall(1, output, arguments);
    return output;
}

/// The error that a call ends with: "identifier | text".
inline std::string refusalOf(const std::vector<const host::Array*>& arguments) {
    try {
        answerTo(arguments);
    } catch (const substitute::HostError& error) {
        return error.identifier + " | " + error.text;
    }
    return "none";
}

/// What `refusalOf` gives for an error with a reason.
inline std::string refusal(const std::string& reason, const std::string& text) {
    return "pistonfield:pistonfield_internal:" + reason + " | " + text;
}
