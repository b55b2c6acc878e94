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
#include "arrays/arrangement.h"
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

Wave waveOf(const host::Array* wavenumber) { return {numberOf(wavenumber, "wavenumber")}; }

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
    const auto [elements, others] = read(arguments, 7);
    const ThreadLimit limit(others[6]);
    const Pose::Vector focus{numberOf(others[1], "points"), numberOf(others[2], "points"),
                             numberOf(others[3], "points")};
    return columnOf(focusWeights(elements, waveOf(others[0]), focus,
                                 numberOf(others[4], "tolerance"), behindOf(others[5])));
}

host::Array* weightsOfFoci(Arguments arguments) {
    const auto [elements, others] = read(arguments, 12);
    const ThreadLimit limit(others[11]);
    Foci foci;
    foci.points = pointsOf(others.subspan(1));
    foci.pressures = complexNumbersOf(others[4], others[5], "pressures");
    foci.tolerance = numberOf(others[6], "tolerance");
    foci.leastRatio = numberOf(others[7], "leastRatio");
    const double largest = numberOf(others[8], "largestWeight");
    if (largest != 0) foci.largestWeight = largest;
    foci.iterations = wholeWithin(0, 1000000, others[9], "iterations");
    foci.behind = behindOf(others[10]);
    const FociWeights found = weightsOf(foci, elements, waveOf(others[0]));
    std::vector<double> answer{
        static_cast<double>(found.dropped),    found.leastKept, found.efficiency,
        static_cast<double>(found.iterations), found.scale,     found.residual};
    for (const std::complex<double>& weight : found.weights) answer.push_back(weight.real());
    for (const std::complex<double>& weight : found.weights) answer.push_back(weight.imag());
    return rowOf(answer);
}

host::Array* weightsOfPlaneWave(Arguments arguments) {
    const auto [elements, others] = read(arguments, 2);
    return columnOf(
        planeWaveWeights(elements, waveOf(others[0]), numbersOf<3>(others[1], "direction")));
}

host::Array* directionOfAngles(Arguments arguments) {
    expectArguments(arguments, 3);
    const Pose::Vector direction =
        directionOf(numberOf(arguments[1], "azimuth"), numberOf(arguments[2], "elevation"));
    return rowOf({direction.begin(), direction.end()});
}

host::Array* pressuresOfElements(Arguments arguments) {
    const auto [elements, others] = read(arguments, 7);
    const ThreadLimit limit(others[6]);
    return columnsOf(elementPressures(elements, waveOf(others[0]), pointsOf(others.subspan(1)),
                                      numberOf(others[4], "tolerance"), behindOf(others[5])),
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
    const auto [elements, others] = read(arguments, 5);
    Weights weights = complexNumbersOf(others[0], others[1], "weights");
    const auto from = numbersOf<4>(others[3], "state");
    const ThreadLimit limit(others[4]);
    const PowerBy way = areCoplanar(elements) ? PowerBy::faces : PowerBy::farField;
    PowerSearch search(
        elements, std::move(weights), waveOf(others[2]), way,
        {static_cast<int>(whole(from[0], "state")), whole(from[1], "state"), from[2], from[3]});
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
