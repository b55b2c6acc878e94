// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <stdexcept>
#include <string>

/// The text of the failure that the work ends with.
template <class Work>
std::string refused(Work work) {
    try {
        work();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no failure";
}
