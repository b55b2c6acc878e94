// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/arrayForm.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <complex>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "arrays/BowlArray.h"
#include "arrays/ConvexArray.h"
#include "arrays/arrayTable.h"
#include "arrays/planarArrays.h"
#include "arrays/steering.h"

namespace run::arrayForm {

namespace {

using pistonfield::Array;
using pistonfield::Element;
using pistonfield::InvalidRequest;

using Elements = std::vector<Element>;
using Keys = TableKeys;

/// The key that gives what a builder's member has: pitch_x of pitchX.
std::string keyOf(const std::string& member) {
    std::string key;
    for (const char c : member) {
        if (std::isupper(static_cast<unsigned char>(c)) != 0) key += '_';
        key += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return key;
}

/// What the numbers of a key of a kind are in.
std::string unitOf(const std::string& key) {
    constexpr std::array counts{"elements", "columns", "rows", "counts"};
    constexpr std::array angles{"angle", "opening_angle"};
    if (std::ranges::find(counts, key) != counts.end()) return "";
    return std::ranges::find(angles, key) != angles.end() ? "; it is in radians" : "; it is in m";
}

/// Says which key a request for an array is wrong in, and in what its number is.
[[noreturn]] void refuseMember(const Keys& keys, const InvalidRequest& reason) {
    const std::string key = keyOf(reason.field());
    const Setting* const setting = keys.findAngle(key);
    const bool isInDegrees = setting != nullptr && setting->name.ends_with(inDegrees);
    const std::string unit = isInDegrees ? "; it is in degrees" : unitOf(key);
    const std::string text = reason.reason() + unit;
    if (setting != nullptr) refuse(*setting, text);
    refuse(keys.table(), key + ": " + text);
}

Keys keysIn(const TableSettings& settings) { return {settings, "array", settings.at("array")}; }

Elements lineOf(const Keys& keys) {
    return elementsOf(pistonfield::LineArray{.elements = keys.neededWhole("elements"),
                                             .width = keys.neededReal("width"),
                                             .height = keys.neededReal("height"),
                                             .pitch = keys.real("pitch"),
                                             .kerf = keys.real("kerf")});
}

Elements matrixOf(const Keys& keys) {
    return elementsOf(pistonfield::MatrixArray{.columns = keys.neededWhole("columns"),
                                               .rows = keys.neededWhole("rows"),
                                               .width = keys.neededReal("width"),
                                               .height = keys.neededReal("height"),
                                               .pitchX = keys.real("pitch_x"),
                                               .kerfX = keys.real("kerf_x"),
                                               .pitchY = keys.real("pitch_y"),
                                               .kerfY = keys.real("kerf_y")});
}

Elements convexOf(const Keys& keys) {
    return elementsOf(pistonfield::ConvexArray{.elements = keys.neededWhole("elements"),
                                               .radius = keys.neededReal("radius"),
                                               .width = keys.neededReal("width"),
                                               .height = keys.neededReal("height"),
                                               .pitch = keys.real("pitch"),
                                               .angle = keys.angle("angle"),
                                               .kerf = keys.real("kerf")});
}

pistonfield::Bowl bowlOf(const Keys& keys) {
    return {.radius = keys.neededReal("radius"),
            .aperture = keys.real("aperture"),
            .openingAngle = keys.angle("opening_angle"),
            .hole = keys.real("hole").value_or(0)};
}

Elements ringsOf(const Keys& keys) {
    return elementsOf(pistonfield::BowlRings{.bowl = bowlOf(keys),
                                             .width = keys.neededReal("width"),
                                             .height = keys.neededReal("height"),
                                             .kerf = keys.real("kerf"),
                                             .pitch = keys.real("pitch"),
                                             .counts = keys.wholes("counts")});
}

Elements spiralOf(const Keys& keys) {
    return elementsOf(pistonfield::BowlSpiral{.bowl = bowlOf(keys),
                                              .elements = keys.neededWhole("elements"),
                                              .width = keys.neededReal("width"),
                                              .height = keys.neededReal("height")});
}

/// A way to arrange elements, and the keys that it takes besides width, height, kind and focus.
struct Kind {
    std::string name;
    std::vector<std::string> keys;
    Elements (*elements)(const Keys&);
};

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all{
        {"line", {"elements", "pitch", "kerf"}, &lineOf},
        {"matrix", {"columns", "rows", "pitch_x", "kerf_x", "pitch_y", "kerf_y"}, &matrixOf},
        {"convex", {"elements", "radius", "pitch", "angle", "angle_degrees", "kerf"}, &convexOf},
        {"rings",
         {"radius", "aperture", "opening_angle", "opening_angle_degrees", "hole", "pitch", "kerf",
          "counts"},
         &ringsOf},
        {"spiral",
         {"radius", "aperture", "opening_angle", "opening_angle_degrees", "hole", "elements"},
         &spiralOf},
    };
    return all;
}

/// The kind of this name; null where there is none.
const Kind* find(const std::string& name) {
    const auto found = std::ranges::find(kinds(), name, &Kind::name);
    return found == kinds().end() ? nullptr : &*found;
}

const Kind& kindOf(const Setting& setting) {
    const std::string& name = setting.words.front();
    if (const Kind* found = find(name)) return *found;
    std::string names;
    for (const Kind& kind : kinds()) names += (names.empty() ? "" : ", ") + kind.name;
    refuse(setting, "'" + name + "' is none of " + names);
}

/// The keys that go with a table.
std::vector<std::string> tableKeys() { return {"table", "focus"}; }

/// The keys that go with a kind.
std::vector<std::string> keysOf(const Kind& kind) {
    std::vector<std::string> keys{"kind", "focus", "width", "height"};
    keys.insert(keys.end(), kind.keys.begin(), kind.keys.end());
    return keys;
}

Elements builtBy(const Keys& keys, const Setting& setting) {
    const Kind& kind = kindOf(setting);
    keys.requireNoOthers("the kind " + kind.name, keysOf(kind));
    try {
        return kind.elements(keys);
    } catch (const InvalidRequest& error) {
        refuseMember(keys, error);
    }
}

std::filesystem::path pathOf(const Setting& table, const std::filesystem::path& folder) {
    return folder / table.words.front();
}

Array readFrom(const Keys& keys, const Setting& setting, const std::filesystem::path& folder,
               const std::function<std::string(const std::filesystem::path&)>& readTable) {
    keys.requireNoOthers("an array with a table", tableKeys());
    const std::filesystem::path path = pathOf(setting, folder);
    try {
        std::istringstream text(readTable(path));
        return pistonfield::readArray(text, path.string());
    } catch (const InvalidRequest& error) {
        refuse(setting, error.reason());
    } catch (const std::runtime_error& error) {
        refuse(setting, error.what());
    }
}

/// Weights with which the elements focus at a point.
std::vector<std::complex<double>> focused(const Keys& keys, const Setting& setting,
                                          const Array& array, const pistonfield::Request& request) {
    if (!array.weights.empty())
        refuse(setting, "excludes the weights of " + keys.need("table").words.front());
    const std::vector<double> point = keys.reals("focus");
    if (point.size() > 3 && point.size() % 3 == 0) refuse(setting, onePoint);
    if (point.size() != 3) refuse(setting, "takes 3 numbers, not " + std::to_string(point.size()));
    constexpr double tolerance = 1e-6;
    try {
        return pistonfield::focusWeights(array.elements, request.wave,
                                         {point[0], point[1], point[2]}, tolerance, request.behind,
                                         request.baffle);
    } catch (const InvalidRequest& error) {
        refuse(setting, error.what());
    }
}

}  // namespace

std::vector<std::string> keysWith(bool hasTable, const std::string& kind) {
    if (hasTable) return tableKeys();
    if (const Kind* found = find(kind)) return keysOf(*found);
    std::vector<std::string> keys = tableKeys();
    for (const Kind& each : kinds())
        for (const std::string& key : keysOf(each))
            if (std::ranges::find(keys, key) == keys.end()) keys.push_back(key);
    return keys;
}

std::optional<std::filesystem::path> tableOf(const TableSettings& settings,
                                             const std::filesystem::path& folder) {
    const Setting* table = keysIn(settings).find("table");
    if (table == nullptr) return std::nullopt;
    return pathOf(*table, folder);
}

Array arrayOf(const TableSettings& settings, const std::filesystem::path& folder,
              const pistonfield::Request& request,
              const std::function<std::string(const std::filesystem::path&)>& readTable) {
    const Keys keys = keysIn(settings);
    const Setting* table = keys.find("table");
    const Setting* kind = keys.find("kind");
    if (table != nullptr && kind != nullptr) refuse(*kind, "excludes " + table->origin);
    if (table == nullptr && kind == nullptr) refuse(keys.table(), "takes a table or a kind");
    Array array;
    if (table != nullptr)
        array = readFrom(keys, *table, folder, readTable);
    else
        array.elements = builtBy(keys, *kind);
    if (const Setting* focus = keys.find("focus"))
        array.weights = focused(keys, *focus, array, request);
    if (array.weights.empty()) array.weights.assign(array.elements.size(), 1);
    return array;
}

}  // namespace run::arrayForm
