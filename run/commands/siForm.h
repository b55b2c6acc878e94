// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "run/commands/options.h"

/// The form of a request file that has SI units and the words of the functions for Octave: the
/// frequency, and the tables [medium], [piston] and [grid]. The grid and the piston lie in one
/// frame; a request has the grid in the piston's own. The piston may have a shape, see
/// `pistonForm`, which stands for a width and a height. In place of the piston there may be the
/// table [array], see `arrayForm`, whose elements lie in the grid's frame.
namespace run::siForm {

/// A key of this form.
struct Key {
    const char* table;  ///< that it is in, "" where it is in none
    const char* name;
    bool list;                ///< whether it may be a list of numbers
    bool text = false;        ///< whether it is a text
    std::size_t columns = 0;  ///< the numbers of a row, where it may be a list of rows; 0: as many
                              ///< as there are rows

    /// As "piston.width", or "frequency".
    std::string path() const;
};

/// The names of the tables.
const std::vector<std::string>& tables();

/// The key of a table, or of none, with a name; null where it has none.
const Key* find(const std::string& table, const std::string& name);

/// The names of all keys of a table, or of none.
std::vector<std::string> namesIn(const std::string& table);

/// The path of the key with a name in any of the tables, as "piston.width"; "" where none has it.
std::string elsewhere(const std::string& name);

/// What gives a request what the functions have by a name that no key has; "" where there is
/// nothing.
std::string instead(const std::string& name);

/// What a request has of a field in this form: transform, sizes, k and attenuation, and unless
/// there is an array, or a shape of the piston, l and s.
/// @param given the keys by their paths, and the tables by their names; lists of lists are flat. Of
///     an array the table's name is enough, of a shape that it is there
/// @param file  the file's name, for messages
/// @throws std::runtime_error naming the file, and the line and the key that is wrong
std::vector<Setting> translated(const std::vector<Setting>& given, const std::string& file);

}  // namespace run::siForm
