// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/builderChecks.h"

#include <cmath>

#include "field/Request.h"

namespace pistonfield {

void requireLength(const std::string& name, double length) {
    if (!(std::isfinite(length) && length > 0))
        throw InvalidRequest(name, "must be a length above 0");
}

void requireNoLess(const std::string& name, double length) {
    if (!(std::isfinite(length) && length >= 0))
        throw InvalidRequest(name, "must be a length, or 0");
}

void requireCount(const std::string& name, std::int64_t count) {
    if (count < 1 || count > static_cast<std::int64_t>(Array::mostElements))
        throw InvalidRequest(name, std::to_string(count) + " is not within 1 to " +
                                       std::to_string(Array::mostElements));
}

void requireOne(const std::vector<Spacing>& spacings, bool needed) {
    int given = 0;
    std::string names;
    for (const Spacing& spacing : spacings) {
        given += spacing.isGiven ? 1 : 0;
        names += (names.empty() ? "" : ", ") + spacing.name;
    }
    if (given > 1 || (given == 0 && needed))
        throw InvalidRequest(spacings.front().name, "one of " + names +
                                                        " says how far the elements "
                                                        "are apart, not " +
                                                        (given == 0 ? "none" : "several"));
}

}  // namespace pistonfield
