// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/siForm.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "field/Medium.h"
#include "run/numbers.h"

namespace run::siForm {

namespace {

constexpr std::array<Key, 47> keys{{
    {"", "frequency", false},
    {"", "velocity", false},
    {"medium", "speed", false},
    {"medium", "density", false},
    {"medium", "attenuation", false},
    {"medium", "exponent", false},
    {"medium", "nepers", false},
    {"medium", "dispersion_frequency", false},
    {"piston", "width", false},
    {"piston", "height", false},
    {"piston", "center", true},
    {"piston", "orientation", true},
    {"piston", "shape", false, true},
    {"piston", "radius", false},
    {"piston", "inner", false},
    {"piston", "outer", false},
    {"piston", "angles", true},
    {"piston", "angles_degrees", true},
    {"piston", "corners", true, false, 2},
    {"piston", "edges", true, false, 7},
    {"grid", "transform", true},
    {"grid", "sizes", true},
    {"grid", "x", true},
    {"grid", "y", true},
    {"grid", "z", true},
    {"array", "table", false, true},
    {"array", "kind", false, true},
    {"array", "focus", true},
    {"array", "elements", false},
    {"array", "columns", false},
    {"array", "rows", false},
    {"array", "width", false},
    {"array", "height", false},
    {"array", "pitch", false},
    {"array", "kerf", false},
    {"array", "pitch_x", false},
    {"array", "kerf_x", false},
    {"array", "pitch_y", false},
    {"array", "kerf_y", false},
    {"array", "radius", false},
    {"array", "angle", false},
    {"array", "angle_degrees", false},
    {"array", "aperture", false},
    {"array", "opening_angle", false},
    {"array", "opening_angle_degrees", false},
    {"array", "hole", false},
    {"array", "counts", true},
}};

constexpr double usualSpeed = 1482;  ///< m/s, water at 20 degrees Celsius, as in the functions

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>;  ///< rows

constexpr Matrix identity{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

[[noreturn]] void refuse(const Setting& setting, const std::string& reason) {
    throw std::runtime_error(setting.origin + ": " + reason);
}

/// The numbers of a key.
/// @throws std::runtime_error naming the line where one is no finite number
std::vector<double> realsOf(const Setting& setting) {
    std::vector<double> values;
    for (const std::string& word : setting.words) {
        try {
            values.push_back(numbers::real(word));
        } catch (const std::runtime_error& error) {
            refuse(setting, error.what());
        }
        if (!std::isfinite(values.back())) refuse(setting, "every number must be finite");
    }
    return values;
}

std::int64_t wholeOf(const Setting& setting, const std::string& word) {
    try {
        return numbers::whole(word);
    } catch (const std::runtime_error& error) {
        refuse(setting, error.what());
    }
}

void requireCount(const Setting& setting, std::size_t count) {
    if (setting.words.size() != count)
        refuse(setting, "takes " + std::to_string(count) + " numbers, not " +
                            std::to_string(setting.words.size()));
}

template <std::size_t count>
std::array<double, count> arrayOf(const Setting& setting) {
    requireCount(setting, count);
    const std::vector<double> values = realsOf(setting);
    std::array<double, count> array{};
    std::copy(values.begin(), values.end(), array.begin());
    return array;
}

/// What a file has in this form.
class Given {
  public:
    Given(const std::vector<Setting>& settings, std::string name) : file(std::move(name)) {
        for (const Setting& setting : settings) all.emplace(setting.name, setting);
    }

    const Setting* find(const char* path) const {
        const auto found = all.find(path);
        return found == all.end() ? nullptr : &found->second;
    }

    const Setting& need(const char* path) const {
        const Setting* setting = find(path);
        if (setting == nullptr) throw std::runtime_error(file + ": " + path + " is missing");
        return *setting;
    }

    /// The number of a key, where it is there.
    std::optional<double> real(const char* path) const {
        const Setting* setting = find(path);
        if (setting == nullptr) return std::nullopt;
        return arrayOf<1>(*setting).front();
    }

    double positive(const char* path) const {
        const Setting& setting = need(path);
        const double value = arrayOf<1>(setting).front();
        if (value <= 0) refuse(setting, "must be a number above 0");
        return value;
    }

    /// The length of a side of the piston. For thinner ones the integrals have another form.
    double side(const char* path) const {
        constexpr double thinnest = 1e-7;
        const double value = positive(path);
        if (value < thinnest) refuse(need(path), "must be a length of at least 1e-7 m");
        return value;
    }

  private:
    std::string file;
    std::map<std::string, Setting> all;
};

/// The grid before it is seen from the piston, and where it is said.
struct Grid {
    Matrix steps{};   ///< each row leads from a point to the next one along one direction
    Vector origin{};  ///< the first point
    std::array<std::int64_t, 3> sizes{};
    std::string place;       ///< of the steps
    std::string sizesPlace;  ///< of the sizes
};

/// From the matrix that pistonfield_grid makes.
Grid gridOfTransform(const Given& given) {
    const Setting& transform = given.need("grid.transform");
    const Setting& sizes = given.need("grid.sizes");
    const std::array<double, 16> rows = arrayOf<16>(transform);
    if (rows[3] != 0 || rows[7] != 0 || rows[11] != 0 || rows[15] != 1)
        refuse(transform,
               "the last column must be 0, 0, 0, 1, as pistonfield_grid makes it; is it the "
               "transpose?");
    Grid grid;
    for (std::size_t j = 0; j < 3; ++j) {
        for (std::size_t i = 0; i < 3; ++i) grid.steps[i][j] = rows[4 * i + j];
        grid.origin[j] = rows[12 + j];
    }
    requireCount(sizes, 3);
    for (std::size_t i = 0; i < 3; ++i) grid.sizes[i] = wholeOf(sizes, sizes.words[i]);
    grid.place = transform.origin;
    grid.sizesPlace = sizes.origin;
    return grid;
}

/// From [first, step, count] along x, y and z, or one number where there is one coordinate. Its
/// step is of no account, and 1 as pistonfield_grid has it.
Grid gridOfAxes(const Given& given) {
    Grid grid;
    std::size_t i = 0;
    for (const char* path : {"grid.x", "grid.y", "grid.z"}) {
        const Setting& axis = given.need(path);
        const std::vector<double> values = realsOf(axis);
        if (values.size() != 1 && values.size() != 3)
            refuse(axis,
                   "takes the first coordinate, the step and the number of points, or one "
                   "coordinate");
        grid.origin[i] = values.front();
        grid.steps[i][i] = values.size() == 1 ? 1 : values[1];
        grid.sizes[i] = values.size() == 1 ? 1 : wholeOf(axis, axis.words.back());
        if (grid.sizes[i] < 1) refuse(axis, "the number of points must be 1 or more");
        if (grid.steps[i][i] == 0 && grid.sizes[i] > 1) refuse(axis, "the step must not be 0");
        ++i;
    }
    grid.place = given.need("grid").origin;
    grid.sizesPlace = grid.place;
    return grid;
}

Grid gridOf(const Given& given) {
    static_cast<void>(given.need("grid"));
    for (const char* axis : {"grid.x", "grid.y", "grid.z"})
        for (const char* other : {"grid.transform", "grid.sizes"})
            if (given.find(axis) != nullptr && given.find(other) != nullptr)
                throw std::runtime_error(given.find(other)->origin + " excludes " +
                                         given.find(axis)->origin);
    if (given.find("grid.transform") != nullptr || given.find("grid.sizes") != nullptr)
        return gridOfTransform(given);
    return gridOfAxes(given);
}

/// Whether the columns have the length 1 and are at right angles, the third the cross product of
/// the others.
bool isRotation(const Matrix& turn) {
    constexpr double allowed = 1e-9;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            double product = i == j ? -1 : 0;
            for (const Vector& row : turn) product += row[i] * row[j];
            if (std::abs(product) > allowed) return false;
        }
    const auto& [x, y, z] = turn;
    return x[0] * (y[1] * z[2] - y[2] * z[1]) - x[1] * (y[0] * z[2] - y[2] * z[0]) +
               x[2] * (y[0] * z[1] - y[1] * z[0]) >
           0;
}

Matrix orientationOf(const Given& given) {
    const Setting* setting = given.find("piston.orientation");
    if (setting == nullptr) return identity;
    const std::array<double, 9> values = arrayOf<9>(*setting);
    Matrix turn{};
    for (std::size_t i = 0; i < values.size(); ++i) turn[i / 3][i % 3] = values[i];
    if (!isRotation(turn))
        refuse(*setting,
               "must be a 3 by 3 rotation: columns of length 1, at right angles, the third the "
               "cross product of the others");
    return turn;
}

Vector centerOf(const Given& given) {
    const Setting* setting = given.find("piston.center");
    return setting == nullptr ? Vector{} : arrayOf<3>(*setting);
}

/// A way along the piston's x, its y and its normal, which are the columns of its orientation.
Vector seenFrom(const Matrix& orientation, const Vector& way) {
    Vector seen{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) seen[j] += way[i] * orientation[i][j];
    return seen;
}

/// The words of the matrix that takes indices to positions before the piston, row by row.
std::vector<std::string> transformBefore(const Vector& center, const Matrix& orientation,
                                         const Grid& grid) {
    std::array<Vector, 4> columns{};
    for (std::size_t i = 0; i < 3; ++i) columns[i] = seenFrom(orientation, grid.steps[i]);
    Vector origin = grid.origin;
    for (std::size_t i = 0; i < 3; ++i) origin[i] -= center[i];
    columns[3] = seenFrom(orientation, origin);
    std::vector<std::string> words;
    for (std::size_t row = 0; row < 3; ++row)
        for (const Vector& column : columns) words.push_back(numbers::textOf(column[row]));
    words.insert(words.end(), {"0", "0", "0", "1"});
    return words;
}

/// @throws std::runtime_error naming a key that says more of losses where there are none
void requireLosses(const Given& given) {
    if (given.find("medium.attenuation") != nullptr || given.find("medium.nepers") != nullptr)
        return;
    for (const char* path : {"medium.exponent", "medium.dispersion_frequency"})
        if (const Setting* setting = given.find(path))
            refuse(*setting, "goes with an attenuation, and there is none");
}

pistonfield::Medium mediumOf(const Given& given) {
    requireLosses(given);
    pistonfield::Medium medium;
    medium.speed =
        given.find("medium.speed") == nullptr ? usualSpeed : given.positive("medium.speed");
    medium.attenuation = given.real("medium.attenuation").value_or(medium.attenuation);
    medium.exponent = given.real("medium.exponent").value_or(medium.exponent);
    medium.nepers = given.real("medium.nepers");
    medium.dispersionFrequency = given.real("medium.dispersion_frequency");
    return medium;
}

pistonfield::Wave waveOf(const Given& given) {
    const double frequency = given.positive("frequency");
    const pistonfield::Medium medium = mediumOf(given);
    try {
        return waveIn(medium, frequency);
    } catch (const pistonfield::InvalidRequest& error) {
        const std::string key =
            error.field() == "dispersionFrequency" ? "dispersion_frequency" : error.field();
        if (const Setting* setting = given.find(("medium." + key).c_str()))
            refuse(*setting, error.reason());
        refuse(given.need("frequency"), "with this speed there is no wavenumber");
    }
}

/// Where losses are said, or where else they are none.
const std::string& placeOfLosses(const Given& given) {
    for (const char* path : {"medium.attenuation", "medium.nepers"})
        if (const Setting* setting = given.find(path)) return setting->origin;
    return given.need("frequency").origin;
}

std::vector<std::string> wordsOf(const std::array<std::int64_t, 3>& sizes) {
    return {std::to_string(sizes[0]), std::to_string(sizes[1]), std::to_string(sizes[2])};
}

}  // namespace

std::string Key::path() const { return *table == '\0' ? name : std::string(table) + "." + name; }

const std::vector<std::string>& tables() {
    static const std::vector<std::string> names{"medium", "piston", "grid", "array"};
    return names;
}

const Key* find(const std::string& table, const std::string& name) {
    const auto* const key = std::find_if(keys.begin(), keys.end(), [&](const Key& each) {
        return table == each.table && name == each.name;
    });
    return key == keys.end() ? nullptr : key;
}

std::vector<std::string> namesIn(const std::string& table) {
    std::vector<std::string> names;
    for (const Key& key : keys)
        if (table == key.table) names.emplace_back(key.name);
    return names;
}

std::string elsewhere(const std::string& name) {
    for (const std::string& table : tables())
        if (const Key* key = find(table, name)) return key->path();
    return {};
}

std::string instead(const std::string& name) {
    return name == "power" ? "; pistonfield_request makes a velocity of it" : "";
}

std::vector<Setting> translated(const std::vector<Setting>& settings, const std::string& file) {
    const Given given(settings, file);
    const pistonfield::Wave wave = waveOf(given);
    // The values have no unit: these make Pa of them, wherever they are read.
    for (const char* path : {"medium.density", "velocity"})
        if (given.find(path) != nullptr) static_cast<void>(given.positive(path));
    const Grid grid = gridOf(given);
    std::vector<Setting> request{
        {"transform", transformBefore(centerOf(given), orientationOf(given), grid), grid.place},
        {"sizes", wordsOf(grid.sizes), grid.sizesPlace},
        {"k", {numbers::textOf(wave.wavenumber)}, given.need("frequency").origin},
        {"attenuation", {numbers::textOf(wave.attenuation)}, placeOfLosses(given)},
    };
    const Setting* array = given.find("array");
    const Setting* piston = given.find("piston");
    if (array != nullptr && piston != nullptr) refuse(*piston, "excludes " + array->origin);
    if (array != nullptr || given.find("shape") != nullptr) return request;
    const auto add = [&](const char* name, const char* path) {
        request.push_back({name, {numbers::textOf(given.side(path))}, given.need(path).origin});
    };
    add("l", "piston.height");
    add("s", "piston.width");
    return request;
}

}  // namespace run::siForm
