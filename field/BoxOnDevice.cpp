// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/BoxOnDevice.h"

#include "FastNearfield/BoxModules.h"
#include "core/CudaCheck.h"

namespace pistonfield {

template <class T>
BoxOnDevice<T>::BoxOnDevice(const BoxNumbers<T>& numbers)
    : numbers(numbers), transform(numbers.transform.size()), rule(numbers.rule.size()) {
    transform.upload(numbers.transform, "cudaMemcpy of the transform");
    rule.upload(numbers.rule, "cudaMemcpy of the rule");
    // The streams of the slabs do not wait for these copies.
    requireSuccess(cuda_runtime::cudaThreadSynchronize(), "cudaThreadSynchronize");
}

template <class T>
auto BoxOnDevice<T>::slabFor(int number, std::size_t points) -> const Slab& {
    auto& slab = all[static_cast<std::size_t>(number)];
    if (!slab || slab->values.all().size() < points) {
        slab.reset();
        slab = std::make_unique<Slab>(points);
    }
    slab->points = points;
    return *slab;
}

template <class T>
void BoxOnDevice<T>::begin(int slab, const LatticeBox& box) {
    const auto points = static_cast<int>(box.points());
    const Slab& of = slabFor(slab, static_cast<std::size_t>(points));
    constexpr int blockSize = 128;
    requireSuccess(boxModule(T()).box.launchOn(
                       of.stream.get(), {static_cast<unsigned>(iDivUp(points, blockSize))},
                       {blockSize}, of.field.get(), points, static_cast<T>(box.first[0]),
                       static_cast<T>(box.first[1]), static_cast<T>(box.first[2]),
                       static_cast<int>(box.size[0]), static_cast<int>(box.size[1]),
                       transform.get(), rule.get(), numbers.order, numbers.a, numbers.b, numbers.k),
                   "the launch of the kernel");
    of.field.download(of.values.all().first(of.points), of.stream, "cudaMemcpyAsync of the field");
}

template <class T>
auto BoxOnDevice<T>::wait(int slab) const -> std::span<const Value> {
    const Slab& of = *all[static_cast<std::size_t>(slab)];
    of.stream.wait();
    return of.values.all().first(of.points);
}

template class BoxOnDevice<float>;
template class BoxOnDevice<double>;

}  // namespace pistonfield
