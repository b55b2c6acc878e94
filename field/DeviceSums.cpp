// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/DeviceSums.h"

#include <algorithm>
#include <bitset>
#include <numbers>
#include <numeric>

namespace pistonfield {

namespace {

/// The weightings that are computed: those of an array, filled up to what threads take.
std::size_t filledUp(std::size_t weightings) noexcept {
    constexpr std::size_t width = ArrayModule<float>::widthOfMany;
    return weightings == 1 ? 1 : (weightings + width - 1) / width * width;
}

/// A number in two parts; in double the second one is 0.
template <class T>
void split(double number, T& high, T& low) {
    high = static_cast<T>(number);
    low = static_cast<T>(number - static_cast<double>(high));
}

template <class T>
std::vector<ElementNumbers<T>> numbersOf(const ElementRounds& rounds,
                                         const std::vector<Element>& elements,
                                         double perWavelength) {
    std::vector<ElementNumbers<T>> numbers(elements.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const Pose& pose = elements[rounds.order()[i]].pose;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            split(pose.centre[axis] * perWavelength, numbers[i].centre[axis],
                  numbers[i].rest[axis]);
            numbers[i].alongX[axis] = static_cast<T>(pose.alongWidth[axis]);
            numbers[i].alongY[axis] = static_cast<T>(pose.alongHeight[axis]);
        }
    }
    return numbers;
}

template <class T>
std::vector<T> weightsOf(const ElementRounds& rounds, const Array& array, std::size_t weightings) {
    const std::size_t count = array.elements.size();
    std::vector<T> weights(2 * count * weightings);
    T* to = weights.data();
    for (std::size_t w = 0; w < array.weightings(); ++w)
        for (const std::size_t element : rounds.order()) {
            const std::complex<double> weight = array.weights[w * count + element];
            *to++ = static_cast<T>(weight.real());
            *to++ = static_cast<T>(weight.imag());
        }
    return weights;
}

template <class T>
void setSite(const GroupPlaces& places, double perWavelength, SiteNumbers<T>& to) {
    for (std::size_t i = 0; i < groupSize; ++i) {
        const double place[]{places.x[i], places.y[i], places.z[i]};
        for (std::size_t axis = 0; axis < 3; ++axis)
            split(place[axis] * perWavelength, to.place[axis][i], to.rest[axis][i]);
    }
}

/// The numbers of polynomials and coefficients of a directivity.
template <class T>
std::size_t columnsOf(const DirectivityTerms<T>& terms) {
    return static_cast<std::size_t>(std::accumulate(terms.columns, terms.columns + terms.rows, 0));
}

template <class T>
std::size_t coefficientsOf(const DirectivityTerms<T>& terms) {
    return static_cast<std::size_t>(
        std::accumulate(terms.powers, terms.powers + columnsOf(terms), 0));
}

template <class T>
constexpr std::int64_t mostBytesOfDirectivities() {
    constexpr std::int64_t most = Directivity<T>::most;
    constexpr auto ofNumber = static_cast<std::int64_t>(sizeof(int));
    constexpr auto ofCoefficient = static_cast<std::int64_t>(2 * sizeof(T));
    constexpr auto ofTerms = static_cast<std::int64_t>(sizeof(DirectivityOnDevice<T>));
    return FarFace<T>::mostShells *
           (most * (1 + most) * ofNumber + most * most * most * ofCoefficient + ofTerms);
}

/// The threads of a block, of a GPU's kernels.
constexpr unsigned threadsOfABlock = 128;

cuda_runtime::dim3 blocksFor(std::size_t runs) {
    constexpr std::size_t runsOfABlock = threadsOfABlock / groupSize;
    return {static_cast<unsigned>((runs + runsOfABlock - 1) / runsOfABlock)};
}

}  // namespace

template <class T>
template <class N>
const N* DeviceSums<T>::Replaced<N>::replace(std::span<const N> by, const char* operation) {
    if (room < by.size() || !numbers) {
        numbers.reset();
        numbers = std::make_unique<const DeviceArray<N>>(std::max<std::size_t>(1, by.size()));
        room = by.size();
    }
    if (!by.empty()) numbers->upload(by, operation);
    return numbers->get();
}

template <class T>
DeviceSums<T>::DeviceSums(const ElementRounds& rounds, const Array& array, const Wave& wave)
    : perWavelength(wave.wavenumber / (2 * std::numbers::pi)),
      weightings(filledUp(array.weightings())),
      elements(array.elements.size()),
      weights(2 * array.elements.size() * weightings),
      toNextWeights(static_cast<std::int64_t>(2 * array.elements.size())) {
    elements.upload(numbersOf<T>(rounds, array.elements, perWavelength),
                    "cudaMemcpy of the elements");
    weights.upload(weightsOf<T>(rounds, array, weightings), "cudaMemcpy of the weights");
}

template <class T>
void DeviceSums<T>::begin(std::span<const GroupSites> of) {
    groups = of.size();
    sites.resize(groups);
    for (std::size_t i = 0; i < groups; ++i) setSite(of[i].places, perWavelength, sites[i]);
    sitesOnDevice.replace(sites, "cudaMemcpy of the points");
    sums.assign(groups * weightings, GroupSums<T>{});
    sumsOnDevice.replace(sums, "cudaMemcpy of the sums");
}

template <class T>
void DeviceSums<T>::upload(const FarFace<T>& far, const std::vector<std::uint8_t>& used) {
    std::bitset<FarFace<T>::mostShells> shells;
    for (const std::uint8_t number : used)
        if (number != noDirectivity) shells.set(number);
    std::vector<DirectivityOnDevice<T>> table(shells.size());
    std::vector<int> allCounts;
    std::vector<T> allCoefficients;
    for (std::size_t number = 0; number < table.size(); ++number) {
        if (!shells[number]) continue;
        const DirectivityTerms<T> terms = far.shell(static_cast<int>(number)).directivity;
        table[number] = {terms, static_cast<T>(terms.least * perWavelength)};
        allCounts.insert(allCounts.end(), terms.columns, terms.columns + terms.rows);
        allCounts.insert(allCounts.end(), terms.powers, terms.powers + columnsOf(terms));
        allCoefficients.insert(allCoefficients.end(), terms.re, terms.re + coefficientsOf(terms));
        allCoefficients.insert(allCoefficients.end(), terms.im, terms.im + coefficientsOf(terms));
    }
    const int* count = counts.replace(allCounts, "cudaMemcpy of the directivities' counts");
    const T* coefficient =
        coefficients.replace(allCoefficients, "cudaMemcpy of the directivities' coefficients");
    for (auto& [terms, least] : table) {
        if (terms.rows == 0) continue;
        const std::size_t ofColumns = columnsOf(terms);
        const std::size_t ofEach = coefficientsOf(terms);
        terms.columns = count;
        terms.powers = count + terms.rows;
        terms.re = coefficient;
        terms.im = coefficient + ofEach;
        count += static_cast<std::size_t>(terms.rows) + ofColumns;
        coefficient += 2 * ofEach;
    }
    directivities.replace(table, "cudaMemcpy of the directivities");
}

template <class T>
void DeviceSums<T>::addFar(const ElementRounds::Round& round, const NearElements& of,
                           const FarFace<T>& far) {
    firstNear.replace(of.first, "cudaMemcpy of the near elements' numbers");
    near.replace(of.all, "cudaMemcpy of the near elements");
    const auto isFar = [](std::uint8_t number) { return number != noDirectivity; };
    if (std::none_of(of.directivities.begin(), of.directivities.end(), isFar)) return;
    directivityNumbers.replace(of.directivities, "cudaMemcpy of the directivities' numbers");
    upload(far, of.directivities);
    const auto& module = arrayModule(T());
    const auto& addFarOf = weightings == 1 ? module.addFarOfOne : module.addFarOfMany;
    const std::size_t width = weightings == 1 ? 1 : ArrayModule<T>::widthOfMany;
    requireSuccess(
        addFarOf.launch(
            blocksFor(groups * (weightings / width)), {threadsOfABlock}, sumsOnDevice.get(),
            sitesOnDevice.get(), firstNear.get(), near.get(), directivityNumbers.get(),
            static_cast<int>(groups), elements.get() + round.first, static_cast<int>(round.count),
            directivities.get(), static_cast<T>(far.amplitude() / (2 * std::numbers::pi)),
            weights.get() + 2 * round.first, toNextWeights, static_cast<int>(weightings)),
        "the launch of the kernel for far elements");
}

template <class T>
void DeviceSums<T>::addNear(const ElementRounds::Round& round, std::size_t begin, std::size_t end,
                            const DeviceArray<GroupValues<T>>& values) {
    requireSuccess(
        arrayModule(T()).addNear.launch(blocksFor(groups * weightings), {threadsOfABlock},
                                        sumsOnDevice.get(), values.get(), firstNear.get(),
                                        near.get(), static_cast<int>(begin), static_cast<int>(end),
                                        static_cast<int>(groups), weights.get() + 2 * round.first,
                                        toNextWeights, static_cast<int>(weightings)),
        "the launch of the kernel for near elements");
}

template <class T>
void DeviceSums<T>::finish() {
    sumsOnDevice.download(sums, "cudaMemcpy of the field");
}

template <class T>
std::int64_t DeviceSums<T>::mostGroups(std::size_t weightings) noexcept {
    constexpr std::size_t most = 1 << 12;
    constexpr std::size_t mostSums = 1 << 16;
    return static_cast<std::int64_t>(
        std::clamp<std::size_t>(mostSums / filledUp(weightings), 1, most));
}

template <class T>
std::int64_t DeviceSums<T>::deviceMemoryOf(const Array& array, std::int64_t most) noexcept {
    const std::size_t weightings = filledUp(array.weightings());
    const std::size_t count = array.elements.size();
    const std::size_t ofARound = std::min(count, ElementRounds::mostInARound);
    const std::size_t ofAGroup = sizeof(SiteNumbers<T>) + weightings * sizeof(GroupSums<T>) +
                                 sizeof(std::int32_t) + ElementRounds::blocksOfARound +
                                 ofARound * sizeof(NearElement);
    return static_cast<std::int64_t>(
               count * (sizeof(ElementNumbers<T>) + 2 * weightings * sizeof(T)) +
               static_cast<std::size_t>(most) * ofAGroup + sizeof(std::int32_t)) +
           mostBytesOfDirectivities<T>();
}

template <class T>
std::int64_t DeviceSums<T>::memoryOf(const Array& array, std::int64_t most) noexcept {
    // Near elements are listed once more where they are found, and growing vectors take half as
    // much again.
    const std::size_t ofARound = std::min(array.elements.size(), ElementRounds::mostInARound);
    const std::size_t ofAGroup = sizeof(GroupSites) + 2 * ofARound * sizeof(NearElement);
    return deviceMemoryOf(array, most) +
           static_cast<std::int64_t>(static_cast<std::size_t>(most) * ofAGroup);
}

template class DeviceSums<float>;
template class DeviceSums<double>;

}  // namespace pistonfield
