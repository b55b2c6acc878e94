// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "run/commands/options.h"

namespace run {

/// Keys of the tables of a request file by their paths, as "array.kind".
using TableSettings = std::map<std::string, Setting>;

/// What follows the name of a key for an angle that is in degrees.
inline constexpr std::string_view inDegrees = "_degrees";

/// @throws std::runtime_error naming where a setting is
[[noreturn]] void refuse(const Setting& setting, const std::string& reason);

/// What one of the tables has. Where a value is none that its key takes, or a key is missing that
/// is needed, std::runtime_error names its line and what is wrong.
class TableKeys {
  public:
    /// @param name  of the table
    /// @param place where the table is, for what is missing in it
    TableKeys(const TableSettings& settings, const std::string& name, const Setting& place);

    /// Null where the key is missing.
    const Setting* find(const std::string& key) const;

    /// Where the table is.
    const Setting& table() const { return where; }

    const Setting& need(const std::string& key) const;

    std::optional<double> real(const std::string& key) const;
    double neededReal(const std::string& key) const;
    std::int64_t neededWhole(const std::string& key) const;

    /// The numbers of a list; none where it is missing.
    std::vector<double> reals(const std::string& key) const;
    std::vector<std::int64_t> wholes(const std::string& key) const;

    /// Of an angle, or a list of them: the key of this name, in radians, or the one with _degrees
    /// behind it; null where there is none.
    /// @throws std::runtime_error where there are both
    const Setting* findAngle(const std::string& key) const;

    /// The same, in radians.
    std::optional<double> angle(const std::string& key) const;
    std::vector<double> angles(const std::string& key) const;

    /// @throws std::runtime_error naming a key that is none of these
    void requireNoOthers(const std::string& kind, const std::vector<std::string>& known) const;

  private:
    const TableSettings& all;
    std::string prefix;
    const Setting& where;
};

}  // namespace run
