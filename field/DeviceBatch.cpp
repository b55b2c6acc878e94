// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/DeviceBatch.h"

#include <algorithm>
#include <span>

#include "core/CudaCheck.h"

namespace pistonfield {

namespace {

/// Puts the numbers of some points beside those of others.
template <class T>
void put(const GroupNumbers<T>& from, Members members, GroupNumbers<T>& to) {
    for (std::size_t i = 0; i < groupSize; ++i) {
        if (!members[i]) continue;
        to.x[i] = from.x[i];
        to.y[i] = from.y[i];
        to.nearX[i] = from.nearX[i];
        to.nearY[i] = from.nearY[i];
        to.zz[i] = from.zz[i];
        to.reference[i] = from.reference[i];
        to.cosine[i] = from.cosine[i];
        to.sine[i] = from.sine[i];
    }
}

template <class T>
constexpr auto bytesOfAGroup = static_cast<std::int64_t>(sizeof(GroupNumbers<T>) +
                                                         sizeof(GroupValues<T>));

}  // namespace

template <class T>
DeviceBatch<T>::DeviceBatch(std::size_t most, Streams streams)
    : numbers(most), onDevice(most), field(most), some(most), stream(streams) {
    // Also those that nobody asks for are read.
    std::fill(numbers.all().begin(), numbers.all().end(), GroupNumbers<T>{});
}

template <class T>
std::int64_t DeviceBatch<T>::memoryOf(std::int64_t most) noexcept {
    // Each point may be a part, which is put beside the others once more, and a growing vector
    // takes half as much again.
    constexpr std::int64_t parts = 2 * groupSize + groupSize / 2;
    return most * (bytesOfAGroup<T> + parts * static_cast<std::int64_t>(sizeof(PartOnDevice)));
}

template <class T>
std::int64_t DeviceBatch<T>::deviceMemoryOf(std::int64_t most) noexcept {
    return most * (bytesOfAGroup<T> + static_cast<std::int64_t>(sizeof(PartOnDevice)));
}

template <class T>
void DeviceBatch<T>::clear(std::size_t groups) noexcept {
    count = groups;
    parts.clear();
}

template <class T>
void DeviceBatch<T>::Turn::add(std::size_t place, const GroupPoints& points, Members asked,
                               const Face& face, const GroupOrders& orders,
                               const ErrorLimit& limit) {
    const auto findNumbers = groupFields().in<T>().findNumbers;
    GroupNumbers<T>& to = batch.numbers.all()[place];
    orders.inParts(points, limit, [&](const GroupPart& part) {
        const Members members = part.members & asked;
        if (members.none()) return;
        parts.push_back({static_cast<std::int32_t>(place),
                         static_cast<std::uint16_t>(members.to_ulong()), part.orders});
        if (part.members.all()) return findNumbers(face, part.orders.formula, points, to);
        GroupNumbers<T> all;
        findNumbers(face, part.orders.formula, points, all);
        put(all, part.members, to);
    });
}

template <class T>
void DeviceBatch<T>::Turn::finish() {
    const std::lock_guard lock(batch.finishing);
    batch.parts.insert(batch.parts.end(), parts.begin(), parts.end());
    parts.clear();
}

template <class T>
auto DeviceBatch<T>::usedRungs() const -> Rungs {
    Rungs used;
    for (const PartOnDevice& part : parts)
        forEachRung(part.orders, [&used](Rung rung) { used.set(rung); });
    return used;
}

template <class T>
std::span<const PartOnDevice> DeviceBatch<T>::staged() {
    if (!staging || staging->all().size() < parts.size()) {
        staging.reset();
        staging = std::make_unique<const PinnedArray<PartOnDevice>>(parts.size());
    }
    std::copy(parts.begin(), parts.end(), staging->all().begin());
    return staging->all().first(parts.size());
}

template <class T>
void DeviceBatch<T>::begin(const Face& face, RulesOnDevice<T>& rules) {
    if (parts.empty()) return;
    const Nodes<T>* const table = rules.table(usedRungs());
    onDevice.upload(numbers.all().first(count), stream, "cudaMemcpyAsync of the points");
    const std::span<const PartOnDevice> all = staged();
    const auto [halfX, halfY] = halfSidesOf<T>(face);
    for (std::size_t first = 0; first < all.size(); first += numbers.all().size()) {
        const auto next = all.subspan(first, std::min(numbers.all().size(), all.size() - first));
        some.upload(next, stream, "cudaMemcpyAsync of the orders");
        constexpr int partsOfABlock = 8;
        const auto partCount = static_cast<int>(next.size());
        requireSuccess(groupModule(T()).compute.launchOn(
                           stream.get(), {static_cast<unsigned>(iDivUp(partCount, partsOfABlock))},
                           {partsOfABlock * groupSize}, field.get(), onDevice.get(), some.get(),
                           partCount, table, halfX, halfY),
                       "the launch of the kernel");
    }
}

template <class T>
void DeviceBatch<T>::bring() {
    if (!computed) computed = std::make_unique<const PinnedArray<GroupValues<T>>>(room());
    if (!parts.empty())
        field.download(computed->all().first(count), stream, "cudaMemcpyAsync of the field");
}

template class DeviceBatch<float>;
template class DeviceBatch<double>;

}  // namespace pistonfield
