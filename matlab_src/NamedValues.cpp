// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/NamedValues.h"

#include <algorithm>
#include <cstddef>

#include "field/Request.h"
#include "matlab_src/questionArguments.h"

namespace questions {

using pistonfield::InvalidRequest;

NamedValues::NamedValues(Arguments pairs) {
    if (pairs.size() % 2 != 0) throw InvalidRequest("arguments", "a name is without its value");
    for (std::size_t i = 0; i < pairs.size(); i += 2) {
        const std::string name = textOf(pairs[i], "arguments");
        given[name] = numbersOf(pairs[i + 1], name.c_str());
    }
}

std::vector<double> NamedValues::numbers(const std::string& name) const {
    const auto found = given.find(name);
    return found == given.end() ? std::vector<double>{} : found->second;
}

std::optional<double> NamedValues::optionalNumber(const std::string& name) const {
    const std::vector<double> found = numbers(name);
    if (found.empty()) return {};
    if (found.size() > 1) throw InvalidRequest(name, "must be one number");
    return found.front();
}

double NamedValues::number(const std::string& name) const {
    const std::optional<double> found = optionalNumber(name);
    if (!found) throw InvalidRequest(name, "is missing");
    return *found;
}

void NamedValues::expectOnly(const std::string& kind, const std::vector<std::string>& known) const {
    const auto isKnown = [&known](const auto& pair) {
        return std::find(known.begin(), known.end(), pair.first) != known.end();
    };
    const auto other = std::find_if_not(given.begin(), given.end(), isKnown);
    if (other == given.end()) return;
    std::string reason = "'" + other->first;
    reason.append("' says nothing about the array ").append(kind).append("; there are: ");
    for (const std::string& name : known)
        reason.append(name == known.front() ? "" : ", ").append(name);
    throw InvalidRequest("options", reason);
}

}  // namespace questions
