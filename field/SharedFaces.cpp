// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/SharedFaces.h"

#include <cmath>
#include <type_traits>

namespace pistonfield {

namespace {

/// The largest power of 2 that is no larger; 0 and infinity stay so. Coarser steps would leave
/// limits that directivities cannot keep where the tolerance is small.
double roundedDown(double limit) noexcept {
    return limit > 0 && std::isfinite(limit) ? std::exp2(std::floor(std::log2(limit))) : limit;
}

}  // namespace

template <class T>
std::shared_ptr<const FaceLevels<T>> SharedFaces::of(const Face& face, const ErrorLimit& limit) {
    const ErrorLimit rounded{roundedDown(limit.fixed), roundedDown(limit.local), limit.nearest};
    const Key key{face.halfX, face.halfY, face.k, rounded.fixed, rounded.local, rounded.nearest};
    const std::lock_guard lock(mutex);
    const auto known = [this]() -> Known<T>& {
        if constexpr (std::is_same_v<T, float>)
            return inSingle;
        else
            return inDouble;
    };
    std::shared_ptr<const FaceLevels<T>>& levels = known()[key];
    if (!levels) levels = std::make_shared<const FaceLevels<T>>(face, rounded);
    return levels;
}

template std::shared_ptr<const FaceLevels<float>> SharedFaces::of(const Face&, const ErrorLimit&);
template std::shared_ptr<const FaceLevels<double>> SharedFaces::of(const Face&, const ErrorLimit&);

}  // namespace pistonfield
