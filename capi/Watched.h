// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <string>
#include <utility>

#include "capi/outcome.h"
#include "capi/pistonfield.h"
#include "capi/structSizes.h"
#include "field/Plan.h"
#include "parallel/threads.h"

namespace pistonfield {

inline constexpr std::array<std::size_t, 2> conductSizes{32, 40};
static_assert(offsetof(pistonfield_conduct, to_next_field) == conductSizes[0]);
static_assert(sizeof(pistonfield_conduct) == conductSizes.back());

/// A caller's wishes, in the library's terms.
class Watched {
  public:
    explicit Watched(const pistonfield_conduct* given) {
        if (given == nullptr) return;
        const auto wishes = completed(given, conductSizes, "conduct");
        if (wishes.threads < 0 || wishes.threads > mostThreads)
            throw InvalidArgument("threads", std::to_string(wishes.threads) +
                                                 " is not within 0 to " +
                                                 std::to_string(mostThreads));
        conduct.threads = static_cast<unsigned>(wishes.threads);
        fieldsApart = wishes.to_next_field;
        if (wishes.progress != nullptr) watch(wishes.progress, wishes.user);
    }

    const Conduct& get() const noexcept { return conduct; }

    /// Elements from a weighting's values to those of the next one, or 0.
    std::int64_t toNextField() const noexcept { return fieldsApart; }

  private:
    void watch(pistonfield_progress progress, void* user) {
        std::stop_source source;
        conduct.stop = source.get_token();
        conduct.progress = [progress, user,
                            source = std::move(source)](std::int64_t points) mutable {
            if (progress(points, user) != 0) source.request_stop();
        };
    }

    Conduct conduct;
    std::int64_t fieldsApart = 0;
};

}  // namespace pistonfield
