// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "field/DeviceArray.h"
#include "method/Rules.h"

namespace pistonfield {

/// Rules of the ladder of orders in device memory, each from the first time that it is used on. It
/// is used in the thread that has the device.
template <class T>
class RulesOnDevice {
  public:
    using Rungs = std::bitset<static_cast<std::size_t>(Rules<T>::rungs)>;

    /// @param rules outlive this
    explicit RulesOnDevice(const Rules<T>& rules) noexcept : rules(rules) {}

    /// The rules by their rungs, with those that are used at least. Where some are new, all work on
    /// the device is waited for, and an earlier table is no more.
    /// @throws DeviceFailure, std::bad_alloc
    const Nodes<T>* table(const Rungs& used);

    /// The most bytes that they take.
    static std::int64_t mostBytes() noexcept;

  private:
    void upload();

    const Rules<T>& rules;
    Rungs there;
    std::unique_ptr<const DeviceArray<T>> numbers;
    std::unique_ptr<const DeviceArray<Nodes<T>>> nodes;
};

}  // namespace pistonfield
