// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/FaceLevels.h"

namespace pistonfield {

namespace {

ErrorLimit partOf(const ErrorLimit& limit, double part) {
    return {limit.fixed * part, limit.local * part, limit.nearest};
}

}  // namespace

template <class T>
FaceLevels<T>::Level::Level(const Face& face, const ErrorLimit& limit, int count)
    : parts(face, count), part(parts.part(), partOf(limit, 1.0 / count)) {}

template <class T>
FaceLevels<T>::FaceLevels(const Face& face, const ErrorLimit& limit) : limit(limit) {
    for (int parts = 1; parts <= packSize; parts *= 2)
        levels.push_back(std::make_unique<const Level>(face, limit, parts));
}

template struct FaceLevels<float>;
template struct FaceLevels<double>;

}  // namespace pistonfield
