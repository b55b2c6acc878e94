// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>

#include "core/LatticeBox.h"
#include "run/file/Digest.h"
#include "run/file/Hdf5.h"

namespace run {

/// A file whose values a joined field has, and which file that was when they were joined.
struct JoinedPart {
    std::string file;          ///< its path, from the folder of the joined one
    LatticeBox box;            ///< the points that it has
    Digest::Value identity{};  ///< of its request and box
    Digest::Value values{};    ///< of the checksums of its slabs
};

/// The parts of a joined field, as the dataset "parts". All throw std::runtime_error.
namespace joinedParts {

void write(hid_t file, const std::vector<JoinedPart>& parts);

/// None where there is no such dataset.
std::vector<JoinedPart> read(hid_t file);

}  // namespace joinedParts

}  // namespace run
