// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

#include "run/file/FieldFile.h"

/// What a file says of its field: the request, conventions, and how it came about, as attributes of
/// the root; a table is the dataset "table", an array those of `arrayDatasets`, the outline of a
/// piston that of `outlineDataset`. All throw
/// std::runtime_error naming what is not there or not as it is written.
namespace run::metadata {

/// @throws std::runtime_error naming the file where it is none of this program, or of another
/// format
void requireOurs(hid_t file, const std::string& name);

/// Writes what stays as it is, and an empty provenance.
void write(hid_t file, const Layout& layout);

/// Reads all of a layout that `write` has written but what the datasets say: the sizes of the box
/// and whether there is a magnitude.
void read(hid_t file, Layout& layout);

/// Of the request and the points of it that a file has: the same in every file of them.
Digest::Value identityOf(const Layout& layout);

/// Written again, everything stays in its place but texts, whose attributes are changed at once.
void writeProvenance(hid_t file, const Provenance& provenance);
Provenance readProvenance(hid_t file);

/// Writes that not all values are there, in its place.
void writeIncomplete(hid_t file);

/// Writes the digest of all that is said.
void seal(hid_t file);

/// @throws std::runtime_error where something is not what it was when `seal` was called, or the
/// identity is not that of the layout
void requireSealed(hid_t file, const Layout& layout);

}  // namespace run::metadata
