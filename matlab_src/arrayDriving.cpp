// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/arrayDriving.h"

#include <chrono>
#include <complex>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "arrays/Foci.h"
#include "arrays/RadiatedPower.h"
#include "arrays/Window.h"
#include "arrays/elementPressures.h"
#include "arrays/quantised.h"
#include "arrays/steering.h"
#include "field/Request.h"
#include "matlab_src/ThreadLimit.h"
#include "matlab_src/arrayArguments.h"
#include "matlab_src/questionArguments.h"

namespace questions {

using namespace pistonfield;

namespace {

using Weights = std::vector<std::complex<double>>;

/// Elements, and the arguments behind them.
struct Asked {
    std::vector<Element> elements;
    Arguments others;
};

/// @param others the number of arguments behind the elements
Asked read(Arguments arguments, std::size_t others) {
    expectArguments(arguments, 1 + elementArguments + others);
    return {elementsOf(arguments.subspan(1)), arguments.subspan(1 + elementArguments)};
}

PointList pointsOf(Arguments arguments) {
    return {numbersOf(arguments[0], "points"), numbersOf(arguments[1], "points"),
            numbersOf(arguments[2], "points")};
}

bool behindOf(const host::Array* array) { return wholeWithin(0, 1, array, "behind") != 0; }

host::Array* columnsOf(const Weights& values, std::size_t rows) {
    host::Array* const result = host::createResult(rows, values.size() / rows, 1);
    double* re = host::resultReal(result);
    double* im = host::resultImaginary(result);
    for (const std::complex<double>& value : values) {
        *re++ = value.real();
        *im++ = value.imag();
    }
    return result;
}

host::Array* columnOf(const Weights& weights) { return columnsOf(weights, weights.size()); }

WindowAlong alongOf(const host::Array* array) {
    const std::string word = textOf(array, "along");
    if (word == "x") return WindowAlong::x;
    if (word == "y") return WindowAlong::y;
    if (word == "radius") return WindowAlong::radius;
    throw InvalidRequest("along", "'" + word + "' is none of x, y, radius");
}

}  // namespace

host::Array* weightsOfFocus(Arguments arguments) {
    const auto [elements, all] = read(arguments, mediumArguments + 6);
    const auto [wave, baffle] = mediumOf(all);
    const Arguments others = all.subspan(mediumArguments);
    const ThreadLimit limit(others[5]);
    const Pose::Vector focus{numberOf(others[0], "points"), numberOf(others[1], "points"),
                             numberOf(others[2], "points")};
    return columnOf(focusWeights(elements, wave, focus, numberOf(others[3], "tolerance"),
                                 behindOf(others[4]), baffle));
}

host::Array* weightsOfFoci(Arguments arguments) {
    const auto [elements, all] = read(arguments, mediumArguments + 11);
    const auto [wave, baffle] = mediumOf(all);
    const Arguments others = all.subspan(mediumArguments);
    const ThreadLimit limit(others[10]);
    Foci foci;
    foci.points = pointsOf(others);
    foci.pressures = complexNumbersOf(others[3], others[4], "pressures");
    foci.tolerance = numberOf(others[5], "tolerance");
    foci.leastRatio = numberOf(others[6], "leastRatio");
    const double largest = numberOf(others[7], "largestWeight");
    if (largest != 0) foci.largestWeight = largest;
    foci.iterations = wholeWithin(0, 1000000, others[8], "iterations");
    foci.behind = behindOf(others[9]);
    foci.baffle = baffle;
    const FociWeights found = weightsOf(foci, elements, wave);
    std::vector<double> answer{
        static_cast<double>(found.dropped),    found.leastKept, found.efficiency,
        static_cast<double>(found.iterations), found.scale,     found.residual};
    for (const std::complex<double>& weight : found.weights) answer.push_back(weight.real());
    for (const std::complex<double>& weight : found.weights) answer.push_back(weight.imag());
    return rowOf(answer);
}

host::Array* weightsOfPlaneWave(Arguments arguments) {
    const auto [elements, others] = read(arguments, 2);
    const Wave wave{numberOf(others[0], "wavenumber")};
    return columnOf(planeWaveWeights(elements, wave, numbersOf<3>(others[1], "direction")));
}

host::Array* directionOfAngles(Arguments arguments) {
    expectArguments(arguments, 3);
    const Pose::Vector direction =
        directionOf(numberOf(arguments[1], "azimuth"), numberOf(arguments[2], "elevation"));
    return rowOf({direction.begin(), direction.end()});
}

host::Array* pressuresOfElements(Arguments arguments) {
    const auto [elements, all] = read(arguments, mediumArguments + 6);
    const auto [wave, baffle] = mediumOf(all);
    const Arguments others = all.subspan(mediumArguments);
    const ThreadLimit limit(others[5]);
    return columnsOf(
        elementPressures(elements, wave, pointsOf(others), numberOf(others[3], "tolerance"),
                         behindOf(others[4]), baffle),
        elements.size());
}

host::Array* valuesOfWindow(Arguments arguments) {
    const auto [elements, others] = read(arguments, 3);
    const Window window{windowCalled(textOf(others[0], "window")), numberOf(others[1], "window")};
    return rowOf(windowValues(window, alongOf(others[2]), elements));
}

host::Array* quantisedWeights(Arguments arguments) {
    if (arguments.size() < 5) throw InvalidRequest("arguments", "too few");
    const Weights weights = complexNumbersOf(arguments[1], arguments[2], "weights");
    const std::string what = textOf(arguments[3], "quantised");
    expectArguments(arguments, what == "delays" ? 6 : 5);
    if (what == "delays")
        return columnOf(withQuantisedDelays(weights, numberOf(arguments[5], "frequency"),
                                            numberOf(arguments[4], "step")));
    if (what == "phases")
        return columnOf(withQuantisedPhases(weights, wholeWithin(1, 32, arguments[4], "bits")));
    if (what == "amplitudes")
        return columnOf(
            withQuantisedAmplitudes(weights, wholeWithin(2, 1 << 30, arguments[4], "levels")));
    throw InvalidRequest("quantised", "'" + what + "' is none of delays, phases, amplitudes");
}

host::Array* powerOfArray(Arguments arguments) {
    const auto [elements, all] = read(arguments, mediumArguments + 4);
    Weights weights = complexNumbersOf(all[0], all[1], "weights");
    const auto [wave, baffle] = mediumOf(all.subspan(2));
    const Arguments others = all.subspan(2 + mediumArguments);
    const auto from = numbersOf<4>(others[0], "state");
    const ThreadLimit limit(others[1]);
    const PowerState state{static_cast<int>(whole(from[0], "state")), whole(from[1], "state"),
                           from[2], from[3]};
    PowerSearch search(elements, std::move(weights), wave, usualWay(elements), state, baffle);
    // So long that what a call takes beside it means little, and a user who stops it does not wait.
    constexpr std::chrono::milliseconds most(500);
    const auto end = std::chrono::steady_clock::now() + most;
    std::optional<RadiatedPower> power;
    while (!power && std::chrono::steady_clock::now() < end) power = search.step();
    const PowerState& at = search.state();
    std::vector<double> answer{static_cast<double>(at.refinement), static_cast<double>(at.parts),
                               at.sum, at.coarser};
    if (power) answer.insert(answer.end(), {power->value, power->change});
    return rowOf(answer);
}

}  // namespace questions
