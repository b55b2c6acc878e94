// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

#include "run/FieldFile.h"

/// What a file says of its field: the request, conventions, and how it came about, as attributes of
/// the root; a table is the dataset "table". All throw std::runtime_error naming what is not there
/// or not as it is written.
namespace run::description {

/// @throws std::runtime_error naming the file where it is none of this program, or of another
/// format
void requireOurs(hid_t file, const std::string& name);

void write(hid_t file, const Layout& layout);

/// Reads all of a layout that `write` has written.
void read(hid_t file, Layout& layout);

/// Written again it stays in its place.
void writeAccount(hid_t file, const Account& account);
Account readAccount(hid_t file);

}  // namespace run::description
