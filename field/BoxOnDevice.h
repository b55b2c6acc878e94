// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

#include "FastNearfield/Complex.h"
#include "core/LatticeBox.h"
#include "field/DeviceArray.h"
#include "field/DeviceStream.h"
#include "field/PinnedArray.h"

namespace pistonfield {

/// What the kernel of boxes takes beside a box.
template <class T>
struct BoxNumbers {
    std::array<T, 16> transform;
    std::vector<T> rule;  ///< half a symmetric rule: each abscissa before its weight
    int order;
    T a, b;  ///< half the sides
    T k;
};

/// The numbers of a plan's boxes in device memory, and two slabs of a field on their way from
/// there, each on a stream of its own: while one is computed the other one is copied and read. It
/// is used in the thread that has the device.
template <class T>
class BoxOnDevice {
  public:
    using Value = std::conditional_t<std::is_same_v<T, float>, Complex, Complexd>;
    static constexpr int slabs = 2;

    /// @param numbers outlive this
    /// @throws DeviceFailure
    explicit BoxOnDevice(const BoxNumbers<T>& numbers);

    /// Begins to compute a box and to copy its field to the host.
    /// @param slab one whose field is not needed any more, from 0 on
    /// @throws DeviceFailure
    void begin(int slab, const LatticeBox& box);

    /// Waits for the field of a slab, which stays until the slab begins again.
    /// @throws DeviceFailure
    std::span<const Value> wait(int slab) const;

    /// The bytes of a slab of so many points, of the host and of the device.
    static std::int64_t bytesOf(std::int64_t points) noexcept {
        return points * static_cast<std::int64_t>(sizeof(Value));
    }

  private:
    /// Its stream goes first, and waits for what is under way.
    struct Slab {
        explicit Slab(std::size_t room) : field(room), values(room) {}

        DeviceArray<Value> field;
        PinnedArray<Value> values;
        std::size_t points = 0;
        DeviceStream stream;
    };

    const Slab& slabFor(int number, std::size_t points);

    const BoxNumbers<T>& numbers;
    DeviceArray<T> transform;
    DeviceArray<T> rule;
    std::array<std::unique_ptr<Slab>, slabs> all;
};

}  // namespace pistonfield
