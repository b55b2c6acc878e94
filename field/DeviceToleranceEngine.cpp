// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <array>
#include <memory>
#include <span>

#include "field/DeviceBatch.h"
#include "field/DeviceThread.h"
#include "field/GroupToleranceEngine.h"
#include "field/KeptOnDevice.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

template <class T>
class DeviceToleranceEngine : public GroupToleranceEngine<T> {
  public:
    /// The device is brought up for a field that can be computed.
    explicit DeviceToleranceEngine(const Request& request)
        : GroupToleranceEngine<T>(ToleranceTerms(request)), groupOrders(terms.face()) {}

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        const GroupRuns runs(box, terms.latticeSizes());
        const std::int64_t most = std::min(runs.count(), mostGroups);
        const std::int64_t batches = (runs.count() + most - 1) / most;
        const auto countOf = [&](std::int64_t batch) {
            return std::min(most, runs.count() - batch * most);
        };
        typename KeptOnDevice<OnDevice>::Use use(onDevice);
        for (std::int64_t i = 0; i <= batches; ++i) {
            // The host prepares one batch and reads another while the device computes a third.
            if (i < batches) {
                const auto groupAt = [&](std::int64_t number) -> Asked {
                    const GroupRuns::Piece piece = runs.piece(i * most + number);
                    Members members;
                    for (std::int64_t point = piece.first; point < piece.last; ++point)
                        members.set(static_cast<std::size_t>(point - piece.beginOfGroup()));
                    return {piece.group, members};
                };
                prepare(batchFor(use, i, most), countOf(i), groupAt,
                        this->threadsFor(countOf(i), threads));
            }
            device.run([&] {
                if (i < batches) begin(*use.get(), i);
                if (i > 0) use.get()->batch(i - 1)->wait();
            });
            if (i == 0) continue;
            const DeviceBatch<T>& done = *use.get()->batch(i - 1);
            inParallel(countOf(i - 1), this->piecesOfATurn,
                       this->threadsFor(countOf(i - 1), threads),
                       [&](std::int64_t first, std::int64_t last) {
                           for (std::int64_t number = first; number < last; ++number)
                               this->store(runs.piece((i - 1) * most + number),
                                           done.values(static_cast<std::size_t>(number)), to);
                       });
        }
        use.finish();
    }

    std::int64_t memoryOf(const LatticeBox& box) const noexcept override {
        return batchesOf(box) * DeviceBatch<T>::memoryOf(groupsAtATime(box)) +
               RulesOnDevice<T>::mostBytes();
    }

    std::int64_t deviceMemoryOf(const LatticeBox& box) const noexcept override {
        return batchesOf(box) * DeviceBatch<T>::deviceMemoryOf(groupsAtATime(box)) +
               RulesOnDevice<T>::mostBytes();
    }

  protected:
    void compute(std::span<const std::int64_t> groups,
                 std::span<GroupValues<T>> values) const override {
        typename KeptOnDevice<OnDevice>::Use use(onDevice);
        const auto groupAt = [&](std::int64_t i) -> Asked {
            return {groups[static_cast<std::size_t>(i)], Members().set()};
        };
        const auto count = static_cast<std::int64_t>(groups.size());
        DeviceBatch<T>& batch = batchFor(use, 0, count);
        prepare(batch, count, groupAt, 1);
        device.run([&] {
            begin(*use.get(), 0);
            batch.wait();
        });
        for (std::size_t i = 0; i < groups.size(); ++i) values[i] = batch.values(i);
        use.finish();
    }

    const GroupOrders& orders() const noexcept override { return groupOrders; }

  private:
    using GroupToleranceEngine<T>::terms;

    /// Points of a group that are asked for.
    struct Asked {
        std::int64_t group;
        Members members;
    };

    /// What the device has of a computation: of two batches each is prepared, and computed, beside
    /// the other.
    struct OnDevice {
        explicit OnDevice(const Rules<T>& rules) noexcept : rules(rules) {}

        std::unique_ptr<DeviceBatch<T>>& batch(std::int64_t number) {
            return batches[static_cast<std::size_t>(number) % batches.size()];
        }

        RulesOnDevice<T> rules;
        std::array<std::unique_ptr<DeviceBatch<T>>, 2> batches;
    };

    /// Some 2^17 points: two batches fill a GPU.
    static constexpr std::int64_t mostGroups = 1 << 13;

    std::int64_t batchesOf(const LatticeBox& box) const noexcept {
        return GroupRuns(box, terms.latticeSizes()).count() > mostGroups ? 2 : 1;
    }

    /// A batch with room for so many groups, which nothing is under way of.
    DeviceBatch<T>& batchFor(typename KeptOnDevice<OnDevice>::Use& use, std::int64_t number,
                             std::int64_t most) const {
        const auto room = static_cast<std::size_t>(most);
        if (!use.get() || !use.get()->batch(number) || use.get()->batch(number)->room() < room)
            device.run([&] {
                if (!use.get()) use.get() = std::make_unique<OnDevice>(rules);
                auto& batch = use.get()->batch(number);
                batch.reset();
                batch = std::make_unique<DeviceBatch<T>>(room);
            });
        return *use.get()->batch(number);
    }

    /// Begins to compute a batch and to bring its values.
    void begin(OnDevice& of, std::int64_t number) const {
        of.batch(number)->begin(terms.face(), of.rules);
        of.batch(number)->bring();
    }

    std::int64_t groupsAtATime(const LatticeBox& box) const noexcept {
        return std::min(GroupRuns(box, terms.latticeSizes()).count(), mostGroups);
    }

    /// Prepares a batch of groups, number i being groupAt(i).
    template <class GroupAt>
    void prepare(DeviceBatch<T>& batch, std::int64_t count, GroupAt groupAt,
                 unsigned threads) const {
        batch.clear(static_cast<std::size_t>(count));
        inParallel(count, this->piecesOfATurn, threads, [&](std::int64_t first, std::int64_t last) {
            typename DeviceBatch<T>::Turn turn(batch);
            GroupPoints points;
            for (std::int64_t i = first; i < last; ++i) {
                const Asked asked = groupAt(i);
                if (asked.members.none()) continue;
                terms.positions().group(asked.group, points);
                turn.add(static_cast<std::size_t>(i), points, asked.members, terms.face(),
                         groupOrders, terms.limit());
            }
            turn.finish();
        });
    }

    GroupOrders groupOrders;
    Rules<T> rules;
    mutable DeviceThread device;
    mutable KeptOnDevice<OnDevice> onDevice{device};
};

}  // namespace

template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeDeviceToleranceEngine(const Request& request) {
    return std::make_unique<const DeviceToleranceEngine<T>>(request);
}

template std::unique_ptr<const ToleranceEngine<float>> makeDeviceToleranceEngine(const Request&);
template std::unique_ptr<const ToleranceEngine<double>> makeDeviceToleranceEngine(const Request&);

}  // namespace pistonfield
