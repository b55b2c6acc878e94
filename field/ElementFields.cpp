// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ElementFields.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "field/errorLimits.h"

namespace pistonfield {

template <class T>
ElementFields<T>::ElementFields(const std::vector<Element>& elements, const Wave& wave)
    : elements(elements) {
    std::map<std::pair<double, double>, std::size_t> known;
    for (const Element& element : elements) {
        const auto [shape, isNew] =
            known.try_emplace({element.piston.width, element.piston.height}, faces.size());
        if (isNew) {
            faces.push_back(pistonfield::faceOf(element.piston, wave));
            fields.push_back(std::make_unique<const RectangleField<T>>(faces.back()));
        }
        shapes.push_back(shape->second);
    }
}

template <class T>
void ElementFields<T>::placeIn(std::size_t element, const GroupPlaces& places,
                               GroupPoints& points) const {
    const Pose& pose = elements[element].pose;
    const Pose::Vector& c = pose.centre;
    const auto fold = [&](const Pose::Vector& along, double* to) {
        for (int i = 0; i < groupSize; ++i)
            to[i] = std::abs((places.x[i] - c[0]) * along[0] + (places.y[i] - c[1]) * along[1] +
                             (places.z[i] - c[2]) * along[2]);
    };
    fold(pose.alongWidth, points.x);
    fold(pose.alongHeight, points.y);
    fold(pose.normal(), points.z);
    findPlace(points, faceOf(element).k);
}

template <class T>
int ElementFields<T>::compute(std::size_t element, const GroupPlaces& places,
                              const ErrorLimit& limit, GroupValues<T>& values) const {
    GroupPoints points;
    placeIn(element, places, points);
    return fields[shapes[element]]->compute(points, limit, values);
}

template <class T>
int ElementFields<T>::alike(std::size_t first) const noexcept {
    std::size_t last = first;
    while (last < count() && last < first + groupSize && shapes[last] == shapes[first]) ++last;
    return static_cast<int>(last - first);
}

template <class T>
void ElementFields<T>::computeAt(const Pose::Vector& point, std::size_t first, int count,
                                 const ErrorLimit& limit, GroupValues<T>& values) const {
    GroupPoints points;
    for (int i = 0; i < groupSize; ++i) {
        const auto element = first + static_cast<std::size_t>(std::min(i, count - 1));
        const Pose::Vector place = elements[element].pose.placeOf(point);
        points.x[i] = std::abs(place[0]);
        points.y[i] = std::abs(place[1]);
        points.z[i] = std::abs(place[2]);
    }
    findPlace(points, faceOf(first).k);
    fields[shapes[first]]->compute(points, limit, values);
}

template <class T>
int ElementFields<T>::evaluationsOf(std::size_t element, const GroupPlaces& places,
                                    const ErrorLimit& limit) const {
    GroupPoints points;
    placeIn(element, places, points);
    return fields[shapes[element]]->orders().inParts(points, limit,
                                                     [](const GroupPart& /*part*/) {});
}

template class ElementFields<float>;
template class ElementFields<double>;

}  // namespace pistonfield
