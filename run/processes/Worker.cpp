// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/processes/Worker.h"

#include <future>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "field/Plan.h"
#include "run/formatting.h"
#include "run/pointwise.h"
#include "run/processes/Interruption.h"
#include "run/processes/Progress.h"

namespace run {

Worker::Worker(Ranks& ranks, FieldFile& file)
    : ranks(ranks),
      file(file),
      slabs(file.layout().slabs()),
      values(file.layout()),
      ready(file.layout()) {}

SlabNumbers Worker::findChanged(const std::vector<SlabRecord>& records) {
    SlabNumbers changed;
    const SlabNumbers finished = shareOf(numbersOf(records, /*finished=*/true));
    workOn(
        "verifying", finished,
        [&](std::int64_t number) {
            const LatticeBox box = slabs.slab(number);
            values.read(file, box);
            if (values.match(records[static_cast<std::size_t>(number)], box)) return;
            changed.push_back(number);
        },
        [] {});
    return changed;
}

void Worker::compute(const SlabNumbers& numbers) {
    std::optional<pistonfield::Plan> plan;
    std::optional<std::int64_t> numberOfReady;
    ranks.together([&] { plan.emplace(file.layout().request); });
    const Computation computation = [&](const LatticeBox& box, void* to) {
        computePointwise(*plan, box, to);
    };
    const auto writeReady = [&] {
        if (!numberOfReady) return;
        const LatticeBox box = slabs.slab(*numberOfReady);
        ready.write(file, box);
        file.record(*numberOfReady, ready.record(box));
        numberOfReady.reset();
    };
    const std::launch launch = ranks.takesTurns() ? std::launch::async : std::launch::deferred;
    workOn(
        "computing", numbers,
        [&](std::int64_t number) {
            // Over before this thread calls HDF5 or MPI again, which may take only one at a time.
            std::future<void> writing = std::async(launch, writeReady);
            values.compute(computation, slabs.slab(number));
            writing.get();
            std::swap(values, ready);
            numberOfReady = number;
        },
        writeReady);
}

void Worker::forget(const SlabNumbers& numbers) {
    for (const std::int64_t number : numbers) file.record(number, {});
}

SlabNumbers Worker::shareOf(const SlabNumbers& numbers) const {
    SlabNumbers share;
    for (auto i = static_cast<std::size_t>(ranks.rank()); i < numbers.size();
         i += static_cast<std::size_t>(ranks.size()))
        share.push_back(numbers[i]);
    return share;
}

void Worker::workOn(const char* what, const SlabNumbers& numbers,
                    const std::function<void(std::int64_t)>& work,
                    const std::function<void()>& last) {
    if (wasStopped) return;
    bool early = false;
    const std::int64_t all = file.layout().box.points();
    const auto todo =
        static_cast<std::int64_t>(ranks.sum(static_cast<double>(pointsOf(slabs, numbers))));
    std::optional<Progress> progress;
    if (ranks.isFirst()) progress.emplace(what, all, all - todo);
    ProgressMessages messages(ranks, [&](std::int64_t points) { progress->add(points); });
    try {
        for (const std::int64_t number : numbers) {
            if (signalled() != 0) messages.tellStop();
            early = signalled() != 0 || messages.stopped();
            if (early) break;
            work(number);
            messages.tellPoints(slabs.slab(number).points());
        }
        last();
    } catch (const std::exception& error) {
        messages.tellFailure(formatting::reason(error));
    }
    const std::optional<std::string> failure = messages.finish();
    progress.reset();
    ranks.first([&] {
        if (failure) throw std::runtime_error(*failure);
    });
    wasStopped = ranks.largest(early ? 1 : 0) != 0;
}

}  // namespace run
