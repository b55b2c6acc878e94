// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/DeviceBatch.h"

#include <algorithm>
#include <span>

#include "core/CudaCheck.h"

namespace pistonfield {

namespace {

/// Some rules of the ladder of orders in device memory.
template <class T>
class RulesOnDevice {
  public:
    static constexpr auto rungs = static_cast<std::size_t>(Rules<T>::rungs);

    RulesOnDevice(const Rules<T>& rules, const std::bitset<rungs>& used)
        : numbers(2 * nodesOf(used)), nodes(rungs) {
        std::vector<T> all;
        std::vector<Nodes<T>> table(rungs, Nodes<T>{nullptr, nullptr, 0});
        for (std::size_t rung = 0; rung < rungs; ++rung) {
            if (!used[rung]) continue;
            rules.require(static_cast<int>(rung));
            const auto [abscissas, weights, count] = rules.table()[rung];
            const T* const at = numbers.get() + all.size();
            table[rung] = {at, at + count, count};
            all.insert(all.end(), abscissas, abscissas + count);
            all.insert(all.end(), weights, weights + count);
        }
        numbers.upload(all, "cudaMemcpy of the rules");
        nodes.upload(table, "cudaMemcpy of the rules' table");
    }

    /// The rules by their rungs.
    const Nodes<T>* table() const noexcept { return nodes.get(); }

    /// The most bytes that they take.
    static std::int64_t mostBytes() noexcept {
        const std::size_t numbers = 2 * nodesOf(std::bitset<rungs>().set());
        return static_cast<std::int64_t>(numbers * sizeof(T) + rungs * sizeof(Nodes<T>));
    }

  private:
    static std::size_t nodesOf(const std::bitset<rungs>& used) noexcept {
        std::size_t count = 0;
        for (std::size_t rung = 0; rung < rungs; ++rung)
            if (used[rung])
                count += static_cast<std::size_t>(OrderLadder::nodesOf(static_cast<int>(rung)));
        return count;
    }

    DeviceArray<T> numbers;
    DeviceArray<Nodes<T>> nodes;
};

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
DeviceBatch<T>::DeviceBatch(std::size_t most) : numbers(most), computed(most) {
    parts.reserve(most);
}

template <class T>
std::int64_t DeviceBatch<T>::memoryOf(std::int64_t most) noexcept {
    // Each point may be a part, and a growing vector takes half as much again.
    constexpr std::int64_t parts = groupSize + groupSize / 2;
    return most * (bytesOfAGroup<T> + parts * static_cast<std::int64_t>(sizeof(PartOnDevice))) +
           RulesOnDevice<T>::mostBytes();
}

template <class T>
std::int64_t DeviceBatch<T>::deviceMemoryOf(std::int64_t most) noexcept {
    return most * (bytesOfAGroup<T> + static_cast<std::int64_t>(sizeof(PartOnDevice))) +
           RulesOnDevice<T>::mostBytes();
}

template <class T>
void DeviceBatch<T>::clear() noexcept {
    parts.clear();
}

template <class T>
void DeviceBatch<T>::Turn::add(std::size_t place, const GroupPoints& points, Members asked,
                               const Face& face, const GroupOrders& orders,
                               const ErrorLimit& limit) {
    const auto findNumbers = groupFields().in<T>().findNumbers;
    GroupNumbers<T>& to = batch.numbers[place];
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
void DeviceBatch<T>::compute(const Face& face, const Rules<T>& rules) {
    if (parts.empty()) return;
    const DeviceArray<GroupValues<T>> field(computed.size());
    compute(face, rules, field);
    field.download(computed, "cudaMemcpy of the field");
}

template <class T>
void DeviceBatch<T>::compute(const Face& face, const Rules<T>& rules,
                             const DeviceArray<GroupValues<T>>& field) const {
    const RulesOnDevice<T> onDevice(rules, usedRungs());
    const DeviceArray<GroupNumbers<T>> points(numbers.size());
    points.upload(numbers, "cudaMemcpy of the points");
    const std::size_t most = std::min(parts.size(), numbers.size());
    const DeviceArray<PartOnDevice> some(most);
    const auto [halfX, halfY] = halfSidesOf<T>(face);
    for (std::size_t first = 0; first < parts.size(); first += most) {
        const std::size_t count = std::min(most, parts.size() - first);
        some.upload(std::span(parts).subspan(first, count), "cudaMemcpy of the orders");
        constexpr int partsOfABlock = 8;
        const auto blocks = static_cast<unsigned>(iDivUp(static_cast<int>(count), partsOfABlock));
        requireSuccess(groupModule(T()).compute.launch(
                           {blocks}, {partsOfABlock * groupSize}, field.get(), points.get(),
                           some.get(), static_cast<int>(count), onDevice.table(), halfX, halfY),
                       "the launch of the kernel");
    }
}

template class DeviceBatch<float>;
template class DeviceBatch<double>;

}  // namespace pistonfield
