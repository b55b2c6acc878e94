// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/revision.h"

#include <sstream>

#include "version.h"

namespace run {

std::string revision() {
    // "$Id: version.h,v <revision> ...$"
    std::istringstream id(version::id);
    std::string word;
    id >> word >> word >> word;
    return PISTONFIELD_VERSION " (" + word + ")";
}

}  // namespace run
