// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/removal.h"

#include <system_error>

namespace run {

namespace fs = std::filesystem;

void removeFrom(const fs::path& folder, const std::function<bool(const fs::path&)>& holds) {
    std::error_code failure;
    std::error_code none;
    for (fs::directory_iterator entry(folder, failure);
         !failure && entry != fs::directory_iterator(); entry.increment(failure))
        if (holds(entry->path())) fs::remove(entry->path(), none);
}

}  // namespace run
