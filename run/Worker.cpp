// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/Worker.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "run/Evaluation.h"
#include "run/Interruption.h"
#include "run/Progress.h"

namespace run {

Worker::Worker(Team& team, FieldFile& file)
    : team(team), file(file), slabs(file.layout().slabs()), values(file.layout()) {}

SlabNumbers Worker::findChanged(const std::vector<SlabRecord>& records) {
    SlabNumbers changed;
    const SlabNumbers finished = shareOf(numbersOf(records, /*finished=*/true));
    workOn("verifying", finished, [&](std::int64_t number) {
        const LatticeBox box = slabs.slab(number);
        values.read(file, box);
        if (values.checksum(box) != records[static_cast<std::size_t>(number)].checksum)
            changed.push_back(number);
    });
    return changed;
}

void Worker::compute(const SlabNumbers& numbers) {
    std::unique_ptr<Evaluation> evaluation;
    team.together([&] { evaluation = evaluationOf(file.layout().request); });
    workOn("computing", numbers, [&](std::int64_t number) {
        const LatticeBox box = slabs.slab(number);
        values.compute(*evaluation, box);
        values.write(file, box);
        file.record(number, values.checksum(box));
    });
}

SlabNumbers Worker::shareOf(const SlabNumbers& numbers) const {
    SlabNumbers share;
    for (auto i = static_cast<std::size_t>(team.rank()); i < numbers.size();
         i += static_cast<std::size_t>(team.size()))
        share.push_back(numbers[i]);
    return share;
}

void Worker::workOn(const char* what, const SlabNumbers& numbers,
                    const std::function<void(std::int64_t)>& work) {
    if (stopped) return;
    const std::int64_t all = file.layout().box.points();
    const auto todo =
        static_cast<std::int64_t>(team.sum(static_cast<double>(pointsOf(slabs, numbers))));
    std::optional<Progress> progress;
    if (team.isFirst()) progress.emplace(what, all, all - todo);
    Conversation conversation(team, [&](std::int64_t points) { progress->add(points); });
    for (const std::int64_t number : numbers) {
        if (signalled() != 0) conversation.tellStop();
        if (conversation.stopped()) break;
        try {
            work(number);
        } catch (const std::exception& error) {
            conversation.tellFailure(error.what());
            break;
        }
        conversation.tellPoints(slabs.slab(number).points());
    }
    const std::optional<std::string> failure = conversation.finish();
    progress.reset();
    team.first([&] {
        if (failure) throw std::runtime_error(*failure);
    });
    stopped = team.largest(signalled()) != 0;
}

}  // namespace run
