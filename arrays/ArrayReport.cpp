// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/ArrayReport.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "arrays/BoxTree.h"
#include "arrays/arrangement.h"
#include "arrays/arrayRequests.h"
#include "arrays/faces.h"

namespace pistonfield {

namespace {

using Pair = ArrayReport::Pair;

BoxTree treeOf(const std::vector<Element>& elements) {
    std::vector<Box> boxes;
    boxes.reserve(elements.size());
    for (const Element& element : elements) boxes.push_back(boxOf(element));
    return BoxTree(std::move(boxes));
}

/// The elements that overlap a given one, of those with higher numbers, in rising order.
std::vector<std::size_t> overlapping(const std::vector<Element>& elements, const BoxTree& tree,
                                     std::size_t i) {
    std::vector<std::size_t> found;
    tree.forEach([&](const Box& box) { return box.distanceTo(tree[i]) == 0; },
                 [&](std::size_t j) {
                     if (j > i && facesOverlap(elements[i], elements[j])) found.push_back(j);
                 });
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<Pair> overlapsOf(const std::vector<Element>& elements, const BoxTree& tree) {
    std::vector<Pair> overlaps;
    for (std::size_t i = 0; i < elements.size(); ++i)
        for (const std::size_t j : overlapping(elements, tree, i)) {
            overlaps.emplace_back(i, j);
            if (overlaps.size() == ArrayReport::mostListed) return overlaps;
        }
    return overlaps;
}

/// Finds the least distance between elements that do not overlap.
void findGap(const std::vector<Element>& elements, const BoxTree& tree, ArrayReport& report) {
    double least = HUGE_VAL;
    const auto compare = [&](std::size_t i, std::size_t j) {
        const double centres = lengthOf(minus(elements[i].pose.centre, elements[j].pose.centre));
        if (centres - reachOfFace(elements[i]) - reachOfFace(elements[j]) >= least) return;
        const double distance = distanceBetweenFaces(elements[i], elements[j]);
        if (distance >= least) return;
        least = distance;
        report.closest = {std::min(i, j), std::max(i, j)};
    };
    for (std::size_t i = 0; i < elements.size(); ++i)
        tree.forEach([&](const Box& box) { return box.distanceTo(tree[i]) < least; },
                     [&](std::size_t j) {
                         if (j > i) compare(i, j);
                     });
    report.smallestGap = least;
}

/// Whether each of two elements has its centre before the other's face, and their normals are
/// opposed.
bool areOpposed(const Pose& a, const Pose& b) {
    const Vector3 between = minus(b.centre, a.centre);
    return dot(a.normal(), b.normal()) < 0 && dot(between, a.normal()) > 0 &&
           dot(between, b.normal()) < 0;
}

std::vector<Pair> facingOf(const std::vector<Element>& elements, const BoxTree& tree) {
    // Within a cone of 45 degrees about a direction no normals are opposed.
    const auto mean = meanNormal(elements);
    if (mean && std::all_of(elements.begin(), elements.end(), [&](const Element& element) {
            return dot(element.pose.normal(), *mean) > 0.71;
        }))
        return {};
    std::set<Pair> facing;
    for (std::size_t i = 0; i < elements.size() && facing.size() < ArrayReport::mostListed; ++i) {
        const Pose& pose = elements[i].pose;
        const Vector3 normal = pose.normal();
        tree.forEach([&](const Box& box) { return box.isMetBy(pose.centre, normal); },
                     [&](std::size_t j) {
                         if (areOpposed(pose, elements[j].pose) &&
                             meetsFace(pose.centre, normal, elements[j]))
                             facing.emplace(std::min(i, j), std::max(i, j));
                     });
    }
    std::vector<Pair> list(facing.begin(), facing.end());
    list.resize(std::min(list.size(), ArrayReport::mostListed));
    return list;
}

using Flat = std::array<double, 2>;

/// Twice the area of the triangle of three points, above 0 where it is turned to the left.
double turn(const Flat& a, const Flat& b, const Flat& c) {
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

/// The area of the convex hull of points (Andrew, Inf. Process. Lett. 9, 216, 1979).
double areaOfHull(std::vector<Flat> points) {
    std::sort(points.begin(), points.end());
    double area = 0;
    // The lower chain from left to right, then the upper one back.
    for (int chain = 0; chain < 2; ++chain) {
        std::vector<Flat> hull;
        for (const Flat& point : points) {
            while (hull.size() > 1 && turn(hull[hull.size() - 2], hull.back(), point) <= 0)
                hull.pop_back();
            hull.push_back(point);
        }
        for (std::size_t i = 1; i < hull.size(); ++i)
            area += (hull[i - 1][0] * hull[i][1] - hull[i][0] * hull[i - 1][1]) / 2;
        std::reverse(points.begin(), points.end());
    }
    return area;
}

double fillFactorOf(const std::vector<Element>& elements, const Vector3& along) {
    const Vector3 across =
        unitOf(cross(along, std::abs(along[0]) < 0.5 ? Vector3{1, 0, 0} : Vector3{0, 1, 0}));
    const Vector3 other = cross(along, across);
    std::vector<Flat> points;
    double area = 0;
    for (const Element& element : elements) {
        area += areaOfFace(element) * std::abs(dot(element.pose.normal(), along));
        for (const Vector3& corner : cornersOfFace(element)) {
            const Vector3 from = minus(corner, elements.front().pose.centre);
            points.push_back({dot(from, across), dot(from, other)});
        }
    }
    return area / areaOfHull(std::move(points));
}

}  // namespace

ArrayReport survey(const std::vector<Element>& elements) {
    requireElements(elements);
    const BoxTree tree = treeOf(elements);
    ArrayReport report;
    report.elements = elements.size();
    report.overlaps = overlapsOf(elements, tree);
    if (!report.overlaps.empty()) {
        report.smallestGap = 0;
        report.closest = report.overlaps.front();
    } else if (elements.size() > 1) {
        findGap(elements, tree, report);
    }
    report.facing = facingOf(elements, tree);
    report.extent = {tree.whole().least, tree.whole().most};
    for (const Element& element : elements) report.area += areaOfFace(element);
    report.isCoplanar = areCoplanar(elements);
    if (const auto normal = meanNormal(elements))
        report.fillFactor = fillFactorOf(elements, *normal);
    return report;
}

}  // namespace pistonfield
