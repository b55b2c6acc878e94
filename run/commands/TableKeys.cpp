// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/TableKeys.h"

#include <algorithm>
#include <numbers>
#include <stdexcept>

#include "run/numbers.h"

namespace run {

namespace {

template <class Read>
auto read(const Setting& setting, const std::string& word, Read reading) {
    try {
        return reading(word);
    } catch (const std::runtime_error& error) {
        refuse(setting, error.what());
    }
}

/// The numbers of a list, none of one that is missing.
template <class Read>
auto listOf(const Setting* setting, Read reading) {
    std::vector<decltype(reading(std::string()))> values;
    if (setting == nullptr) return values;
    for (const std::string& word : setting->words) values.push_back(read(*setting, word, reading));
    return values;
}

}  // namespace

void refuse(const Setting& setting, const std::string& reason) {
    throw std::runtime_error(setting.origin + ": " + reason);
}

TableKeys::TableKeys(const TableSettings& settings, const std::string& name, const Setting& place)
    : all(settings), prefix(name + "."), where(place) {}

const Setting* TableKeys::find(const std::string& key) const {
    const auto found = all.find(prefix + key);
    return found == all.end() ? nullptr : &found->second;
}

const Setting& TableKeys::need(const std::string& key) const {
    const Setting* setting = find(key);
    if (setting == nullptr) refuse(where, key + " is missing");
    return *setting;
}

std::optional<double> TableKeys::real(const std::string& key) const {
    const Setting* setting = find(key);
    if (setting == nullptr) return std::nullopt;
    return read(*setting, setting->words.front(), numbers::real);
}

double TableKeys::neededReal(const std::string& key) const {
    const Setting& setting = need(key);
    return read(setting, setting.words.front(), numbers::real);
}

std::int64_t TableKeys::neededWhole(const std::string& key) const {
    const Setting& setting = need(key);
    return read(setting, setting.words.front(), numbers::whole);
}

std::vector<double> TableKeys::reals(const std::string& key) const {
    return listOf(find(key), numbers::real);
}

std::vector<std::int64_t> TableKeys::wholes(const std::string& key) const {
    return listOf(find(key), numbers::whole);
}

const Setting* TableKeys::findAngle(const std::string& key) const {
    const Setting* radians = find(key);
    const Setting* degrees = find(key + std::string(inDegrees));
    if (radians != nullptr && degrees != nullptr) refuse(*degrees, "excludes " + radians->origin);
    return radians != nullptr ? radians : degrees;
}

std::vector<double> TableKeys::angles(const std::string& key) const {
    const Setting* setting = findAngle(key);
    std::vector<double> values = listOf(setting, numbers::real);
    if (setting == nullptr || !setting->name.ends_with(inDegrees)) return values;
    constexpr double halfTurn = 180;
    // As the functions for Octave do it, to the last bit.
    for (double& value : values) value = value * std::numbers::pi / halfTurn;
    return values;
}

std::optional<double> TableKeys::angle(const std::string& key) const {
    const std::vector<double> values = angles(key);
    if (values.empty()) return std::nullopt;
    return values.front();
}

void TableKeys::requireNoOthers(const std::string& kind,
                                const std::vector<std::string>& known) const {
    for (const auto& [path, setting] : all) {
        if (!path.starts_with(prefix)) continue;
        const std::string key = path.substr(prefix.size());
        if (std::ranges::find(known, key) == known.end())
            refuse(setting, "is no key of " + kind + suggestion(key, known));
    }
}

}  // namespace run
