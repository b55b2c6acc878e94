// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/arrayArguments.h"

#include <cmath>
#include <string>

#include "field/Request.h"
#include "matlab_src/outlineTables.h"
#include "matlab_src/questionArguments.h"

namespace questions {

using namespace pistonfield;

namespace {

[[noreturn]] void refuse(const std::string& reason) { throw InvalidRequest("elements", reason); }

/// Numbers of which each element has so many; one number may do for all elements.
std::vector<double> eachOf(const host::Array* array, std::size_t each, std::size_t count,
                           const char* name) {
    std::vector<double> numbers = numbersOf(array, "elements");
    if (each == 1 && numbers.size() == 1) numbers.assign(count, numbers.front());
    if (numbers.size() != each * count)
        refuse(std::string(name) + " has " + std::to_string(numbers.size()) + " numbers, not " +
               std::to_string(each * count) + " of " + std::to_string(count) + " elements");
    return numbers;
}

Pose::Vector vectorAt(const std::vector<double>& numbers, std::size_t first) {
    return {numbers[first], numbers[first + 1], numbers[first + 2]};
}

/// Two directions say where an element points to; the third column is to say the same.
void expectNormal(const Pose& pose, const Pose::Vector& given, std::size_t i) {
    constexpr double rounding = 1e-9;
    const Pose::Vector normal = pose.normal();
    for (std::size_t axis = 0; axis < normal.size(); ++axis)
        if (!(std::abs(normal[axis] - given[axis]) <= rounding))
            refuse("element " + std::to_string(i + 1) +
                   ": the columns of the orientation must be of length 1, at right angles, the "
                   "third the cross product of the others");
}

/// Gives each element its sides.
void takeSides(Arguments arguments, std::vector<Element>& elements) {
    const auto widths = eachOf(arguments[0], 1, elements.size(), "width");
    const auto heights = eachOf(arguments[1], 1, elements.size(), "height");
    for (std::size_t i = 0; i < elements.size(); ++i) elements[i].piston = {widths[i], heights[i]};
}

/// Gives each element its outline.
void takeOutlines(Arguments arguments, std::vector<Element>& elements) {
    const Outlines outlines = outlinesOf(arguments[0]);
    const auto numbers = eachOf(arguments[1], 1, elements.size(), "outline");
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const std::int64_t number = whole(numbers[i], "elements");
        if (number < 1 || number > static_cast<std::int64_t>(outlines.size()))
            refuse("element " + std::to_string(i + 1) + ": there is no outline " +
                   std::to_string(number));
        elements[i].outline = outlines[static_cast<std::size_t>(number - 1)];
    }
}

}  // namespace

std::vector<Element> elementsOf(Arguments arguments) {
    const auto centres = numbersOf(arguments[2], "elements");
    if (centres.empty() || centres.size() % 3 != 0) refuse("the centres must be 3 by N numbers");
    const std::size_t count = centres.size() / 3;
    const auto turns = eachOf(arguments[3], 9, count, "orientation");
    std::vector<Element> elements(count);
    for (std::size_t i = 0; i < count; ++i) {
        elements[i].pose = {vectorAt(centres, 3 * i), vectorAt(turns, 9 * i),
                            vectorAt(turns, 9 * i + 3)};
        expectNormal(elements[i].pose, vectorAt(turns, 9 * i + 6), i);
    }
    if (isOutlineTable(arguments[0]))
        takeOutlines(arguments, elements);
    else
        takeSides(arguments, elements);
    return elements;
}

Array arrayOf(Arguments arguments) {
    Array array{elementsOf(arguments), {}};
    array.weights =
        complexNumbersOf(arguments[elementArguments], arguments[elementArguments + 1], "weights");
    return array;
}

}  // namespace questions
