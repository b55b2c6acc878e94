// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/options.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace run {

namespace {

/// How many letters have to be added, left out or replaced to make one word of the other.
std::size_t distance(const std::string& a, const std::string& b) {
    // Of what is before a letter of `a` to each beginning of `b`.
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (const char letter : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < b.size(); ++i) {
            const std::size_t replaced = diagonal + (letter == b[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({replaced, row[i] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string dashed(const std::string& name) { return (name.size() == 1 ? "-" : "--") + name; }

std::string suggestion(const std::string& word, const std::vector<std::string>& names) {
    std::string nearest;
    // About every third letter may be wrong.
    std::size_t best = (word.size() + 1) / 3 + 1;
    for (const std::string& name : names) {
        const std::size_t errors = distance(word, name);
        if (errors >= best) continue;
        best = errors;
        nearest = name;
    }
    return nearest.empty() ? "" : ", did you mean " + nearest + "?";
}

}  // namespace run
