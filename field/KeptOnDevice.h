// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "field/DeviceThread.h"

namespace pistonfield {

/// What a plan has on a device from one computation to the next: memory, streams, tables. Each of
/// the computations that go on at the same time has its own, and of those that are over one is
/// kept. All are made and ended in the device's thread.
template <class T>
class KeptOnDevice {
  public:
    /// @param device outlives this
    explicit KeptOnDevice(DeviceThread& device) : device(device), idle(std::make_shared<Idle>()) {
        device.keep(idle);
    }

    /// One computation's. Where it fails or is stopped, what it has on the device is waited for and
    /// ended. A child forked meanwhile leaves it as it is: there it is the parent's.
    class Use {
      public:
        /// @throws DeviceFailure in a forked child
        explicit Use(KeptOnDevice& kept) : kept(kept), own(kept.take()) {}
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;
        ~Use() {
            if (kept.device.isForked())
                static_cast<void>(own.release());
            else if (own)
                kept.device.run([this] { own.reset(); });
        }

        /// What a computation has, to be made in the device's thread where it is null.
        std::unique_ptr<T>& get() noexcept { return own; }

        /// Nothing of it is under way, and the next computation may have it.
        void finish() noexcept { own = kept.idle->exchange(std::move(own)); }

      private:
        KeptOnDevice& kept;
        std::unique_ptr<T> own;
    };

  private:
    class Idle {
      public:
        std::unique_ptr<T> exchange(std::unique_ptr<T> by) noexcept {
            const std::lock_guard lock(mutex);
            return std::exchange(one, std::move(by));
        }

      private:
        std::mutex mutex;
        std::unique_ptr<T> one;
    };

    std::unique_ptr<T> take() {
        device.requireOwnProcess();
        return idle->exchange(nullptr);
    }

    DeviceThread& device;
    std::shared_ptr<Idle> idle;
};

}  // namespace pistonfield
