// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Watch.h"

#include "parallel/threads.h"

namespace pistonfield {

void Watch::look() const {
    if (conduct == nullptr) return;
    if (conduct->progress && std::this_thread::get_id() == worker) {
        constexpr std::chrono::milliseconds often(50);
        const auto now = std::chrono::steady_clock::now();
        if (now - told >= often) {
            told = now;
            conduct->progress(0);
        }
    }
    if (conduct->stop.stop_requested()) throw Stopped();
}

unsigned Watch::threads() const {
    return conduct != nullptr && conduct->threads != 0 ? conduct->threads : threadCount();
}

}  // namespace pistonfield
