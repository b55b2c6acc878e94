// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

#include "field/Request.h"

namespace pistonfield {

/// A text in which members of the library's structs have the names of those for C.
std::string withMemberNames(std::string text);

/// Does a work whose refusals have the names of the structs for C.
template <class Work>
auto namedForC(const Work& work) {
    try {
        return work();
    } catch (const InvalidRequest& refusal) {
        throw InvalidRequest(withMemberNames(refusal.field()), withMemberNames(refusal.reason()));
    }
}

}  // namespace pistonfield
