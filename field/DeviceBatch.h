// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "field/DeviceArray.h"
#include "field/PinnedArray.h"
#include "field/RulesOnDevice.h"
#include "method/GroupModules.h"
#include "method/GroupOrders.h"

namespace pistonfield {

/// Groups of points on their way to a device and back. Orders are chosen on the CPU, and so is
/// formed there what double precision is needed for: in single precision the device has no
/// arithmetic in double, which most GPUs are slow at. It is used again for other groups.
template <class T>
class DeviceBatch {
  public:
    using Streams = DeviceStream::Kind;

    /// Made and ended in the thread that has the device.
    /// @param most    the most groups
    /// @param streams a stream of its own, or the default one
    /// @throws DeviceFailure
    explicit DeviceBatch(std::size_t most, Streams streams = Streams::own);

    std::size_t room() const noexcept { return numbers.all().size(); }

    /// The most bytes that one takes beside the rules, of the process and of the device.
    static std::int64_t memoryOf(std::int64_t most) noexcept;
    static std::int64_t deviceMemoryOf(std::int64_t most) noexcept;

    /// Begins anew, with so many groups. Nothing is under way.
    void clear(std::size_t groups) noexcept;

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

    /// Begins to compute their pressure in device memory, behind the work of the stream; in the
    /// thread that has the device, as what follows.
    /// @throws DeviceFailure, std::bad_alloc
    void begin(const Face& face, RulesOnDevice<T>& rules);

    /// Begins to bring it to the host behind that.
    /// @throws DeviceFailure
    void bring();

    /// Waits for both.
    /// @throws DeviceFailure
    void wait() const { stream.wait(); }

    /// The pressure of all groups in device memory.
    const DeviceArray<GroupValues<T>>& values() const noexcept { return field; }

    /// That of a group at the points that were asked for, once it is here.
    const GroupValues<T>& values(std::size_t place) const { return computed->all()[place]; }

  private:
    using Rungs = typename RulesOnDevice<T>::Rungs;

    Rungs usedRungs() const;
    std::span<const PartOnDevice> staged();

    PinnedArray<GroupNumbers<T>> numbers;
    std::size_t count = 0;
    std::vector<PartOnDevice> parts;
    std::unique_ptr<const PinnedArray<PartOnDevice>> staging;
    std::unique_ptr<const PinnedArray<GroupValues<T>>> computed;
    DeviceArray<GroupNumbers<T>> onDevice;
    DeviceArray<GroupValues<T>> field;
    DeviceArray<PartOnDevice> some;
    std::mutex finishing;
    DeviceStream stream;  ///< goes first, and waits for what is under way
};

}  // namespace pistonfield
