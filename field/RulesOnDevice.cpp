// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/RulesOnDevice.h"

#include <utility>
#include <vector>

#include "method/Orders.h"

namespace pistonfield {

namespace {

template <std::size_t rungs>
std::size_t nodesOf(const std::bitset<rungs>& used) noexcept {
    std::size_t count = 0;
    for (std::size_t rung = 0; rung < rungs; ++rung)
        if (used[rung])
            count += static_cast<std::size_t>(OrderLadder::nodesOf(static_cast<int>(rung)));
    return count;
}

}  // namespace

template <class T>
const Nodes<T>* RulesOnDevice<T>::table(const Rungs& used) {
    if (!nodes || (used & ~there).any()) {
        requireSuccess(cuda_runtime::cudaThreadSynchronize(), "cudaThreadSynchronize");
        nodes.reset();
        numbers.reset();
        there |= used;
        upload();
    }
    return nodes->get();
}

template <class T>
void RulesOnDevice<T>::upload() {
    auto newNumbers = std::make_unique<const DeviceArray<T>>(2 * nodesOf(there));
    auto newNodes = std::make_unique<const DeviceArray<Nodes<T>>>(there.size());
    std::vector<T> all;
    std::vector<Nodes<T>> table(there.size(), Nodes<T>{nullptr, nullptr, 0});
    for (std::size_t rung = 0; rung < there.size(); ++rung) {
        if (!there[rung]) continue;
        rules.require(static_cast<int>(rung));
        const auto [abscissas, weights, count] = rules.table()[rung];
        const T* const at = newNumbers->get() + all.size();
        table[rung] = {at, at + count, count};
        all.insert(all.end(), abscissas, abscissas + count);
        all.insert(all.end(), weights, weights + count);
    }
    newNumbers->upload(all, "cudaMemcpy of the rules");
    newNodes->upload(table, "cudaMemcpy of the rules' table");
    // Streams do not wait for these copies.
    requireSuccess(cuda_runtime::cudaThreadSynchronize(), "cudaThreadSynchronize");
    numbers = std::move(newNumbers);
    nodes = std::move(newNodes);
}

template <class T>
std::int64_t RulesOnDevice<T>::mostBytes() noexcept {
    const std::size_t numbers = 2 * nodesOf(Rungs().set());
    return static_cast<std::int64_t>(numbers * sizeof(T) + Rungs().size() * sizeof(Nodes<T>));
}

template class RulesOnDevice<float>;
template class RulesOnDevice<double>;

}  // namespace pistonfield
