// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "field/DeviceArray.h"
#include "method/GroupModules.h"
#include "method/GroupOrders.h"
#include "method/Rules.h"

namespace pistonfield {

/// Groups of points on their way to a device and back. Orders are chosen on the CPU, and so is
/// formed there what double precision is needed for: in single precision the device has no
/// arithmetic in double, which most GPUs are slow at.
template <class T>
class DeviceBatch {
  public:
    /// @param most the most groups
    /// @throws std::bad_alloc
    explicit DeviceBatch(std::size_t most);

    /// The most bytes that one takes, of the process and of the device.
    static std::int64_t memoryOf(std::int64_t most) noexcept;
    static std::int64_t deviceMemoryOf(std::int64_t most) noexcept;

    /// Forgets all groups.
    void clear() noexcept;

    /// The groups that a thread adds.
    class Turn {
      public:
        explicit Turn(DeviceBatch& batch) noexcept : batch(batch) {}

        /// Adds a group, of which some points are asked for.
        /// @param place its number in the batch, which no other group has
        /// @throws std::bad_alloc
        void add(std::size_t place, const GroupPoints& points, Members asked, const Face& face,
                 const GroupOrders& orders, const ErrorLimit& limit);

        /// Hands them over, from any thread.
        /// @throws std::bad_alloc
        void finish();

      private:
        DeviceBatch& batch;
        std::vector<PartOnDevice> parts;
    };

    /// Computes their pressure, in the thread that has the device.
    /// @param rules has those of all orders afterwards
    /// @throws DeviceFailure, std::bad_alloc
    void compute(const Face& face, const Rules<T>& rules);

    /// The same, into device memory alone, which has room for `most` groups.
    /// @throws DeviceFailure, std::bad_alloc
    void compute(const Face& face, const Rules<T>& rules,
                 const DeviceArray<GroupValues<T>>& field) const;

    /// The pressure of a group at the points that were asked for.
    const GroupValues<T>& values(std::size_t place) const { return computed[place]; }

  private:
    using Rungs = std::bitset<static_cast<std::size_t>(Rules<T>::rungs)>;

    Rungs usedRungs() const;

    std::vector<GroupNumbers<T>> numbers;
    std::vector<GroupValues<T>> computed;
    std::vector<PartOnDevice> parts;
    std::mutex finishing;
};

}  // namespace pistonfield
