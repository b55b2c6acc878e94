// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>
#include <vector>

#include "field/FarFace.h"

namespace pistonfield {

/// A face whole, and in ever smaller parts, within a limit of the error of its pressure.
/// Directivities are made when they are first asked for, by any thread.
template <class T>
struct FaceLevels {
    struct Level {
        Level(const Face& face, const ErrorLimit& limit, int count);

        FaceParts parts;
        FarFace<T> part;
    };

    /// @throws std::bad_alloc
    FaceLevels(const Face& face, const ErrorLimit& limit);

    ErrorLimit limit;
    std::vector<std::unique_ptr<const Level>> levels;
};

}  // namespace pistonfield
