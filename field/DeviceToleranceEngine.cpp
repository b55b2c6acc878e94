// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>

#include "field/DeviceBatch.h"
#include "field/DeviceThread.h"
#include "field/GroupToleranceEngine.h"
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
        DeviceBatch<T> batch(static_cast<std::size_t>(most));
        for (std::int64_t begin = 0; begin < runs.count(); begin += most) {
            const std::int64_t count = std::min(most, runs.count() - begin);
            const unsigned helpers = this->threadsFor(count, threads);
            const auto groupAt = [&](std::int64_t i) -> Asked {
                const GroupRuns::Piece piece = runs.piece(begin + i);
                Members members;
                for (std::int64_t point = piece.first; point < piece.last; ++point)
                    members.set(static_cast<std::size_t>(point - piece.beginOfGroup()));
                return {piece.group, members};
            };
            compute(batch, count, groupAt, helpers);
            inParallel(count, this->piecesOfATurn, helpers,
                       [&](std::int64_t first, std::int64_t last) {
                           for (std::int64_t i = first; i < last; ++i)
                               this->store(runs.piece(begin + i),
                                           batch.values(static_cast<std::size_t>(i)), to);
                       });
        }
    }

    std::int64_t memoryOf(const LatticeBox& box) const noexcept override {
        return DeviceBatch<T>::memoryOf(groupsAtATime(box));
    }

    std::int64_t deviceMemoryOf(const LatticeBox& box) const noexcept override {
        return DeviceBatch<T>::deviceMemoryOf(groupsAtATime(box));
    }

  protected:
    void compute(std::span<const std::int64_t> groups,
                 std::span<GroupValues<T>> values) const override {
        DeviceBatch<T> batch(groups.size());
        const auto groupAt = [&](std::int64_t i) -> Asked {
            return {groups[static_cast<std::size_t>(i)], Members().set()};
        };
        compute(batch, static_cast<std::int64_t>(groups.size()), groupAt, 1);
        for (std::size_t i = 0; i < groups.size(); ++i) values[i] = batch.values(i);
    }

    const GroupOrders& orders() const noexcept override { return groupOrders; }

  private:
    using GroupToleranceEngine<T>::terms;

    /// Points of a group that are asked for.
    struct Asked {
        std::int64_t group;
        Members members;
    };

    /// Some 2^18 points, which fill a GPU.
    static constexpr std::int64_t mostGroups = 1 << 14;

    std::int64_t groupsAtATime(const LatticeBox& box) const noexcept {
        return std::min(GroupRuns(box, terms.latticeSizes()).count(), mostGroups);
    }

    /// Computes the first groups of a batch, number i being groupAt(i).
    template <class GroupAt>
    void compute(DeviceBatch<T>& batch, std::int64_t count, GroupAt groupAt,
                 unsigned threads) const {
        batch.clear();
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
        device.run([&] { batch.compute(terms.face(), rules); });
    }

    GroupOrders groupOrders;
    Rules<T> rules;
    mutable DeviceThread device;
};

}  // namespace

template <class T>
std::unique_ptr<const ToleranceEngine<T>> makeDeviceToleranceEngine(const Request& request) {
    return std::make_unique<const DeviceToleranceEngine<T>>(request);
}

template std::unique_ptr<const ToleranceEngine<float>> makeDeviceToleranceEngine(const Request&);
template std::unique_ptr<const ToleranceEngine<double>> makeDeviceToleranceEngine(const Request&);

}  // namespace pistonfield
