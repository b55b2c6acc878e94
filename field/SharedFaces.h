// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "field/FaceLevels.h"

namespace pistonfield {

/// What plans of the same elements at different points share: directivities, which take longer to
/// make than few points take to compute. Any threads use it at the same time.
class SharedFaces {
  public:
    /// What there is of a face within a limit, or within less: limits are rounded down to powers of
    /// 2, so that those of other points are mostly the same.
    /// @throws std::bad_alloc
    template <class T>
    std::shared_ptr<const FaceLevels<T>> of(const Face& face, const ErrorLimit& limit);

  private:
    using Key = std::array<double, 6>;

    template <class T>
    using Known = std::map<Key, std::shared_ptr<const FaceLevels<T>>>;

    std::mutex mutex;
    Known<float> inSingle;
    Known<double> inDouble;
};

}  // namespace pistonfield
