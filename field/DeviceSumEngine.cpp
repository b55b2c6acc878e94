// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

#include "field/ArrayEngine.h"
#include "field/DeviceBatch.h"
#include "field/DeviceSums.h"
#include "field/DeviceThread.h"
#include "field/GroupRuns.h"
#include "field/KeptOnDevice.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"

namespace pistonfield {

namespace {

/// Sums up the elements' fields on a device: in rounds of equal elements, those that are far by
/// their directivity, and the near ones by the integrals along their edges.
template <class T>
class DeviceSumEngine : public ArrayEngine<T> {
  public:
    using Index = ArrayTerms::Index;

    /// The device is brought up for a field that can be computed.
    explicit DeviceSumEngine(std::shared_ptr<const ArrayTerms> asked)
        : ArrayEngine<T>(asked),
          terms(std::move(asked)),
          fields(terms->array().elements, terms->request().wave),
          rounds(terms->array().elements,
                 [this](std::size_t element) { return fields.shapeOf(element); }) {
        for (const Face& face : fields.differentFaces()) {
            limits.push_back(terms->limitOf(face));
            farFaces.push_back(std::make_unique<const FarFace<T>>(face, limits.back()));
        }
    }

    std::string_view name() const noexcept override { return "sum"; }

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        const GroupRuns runs(box, terms->request().lattice.sizes);
        const unsigned most = threads == 0 ? threadCount() : std::min(threads, mostThreads);
        const auto groupAt = [&](std::int64_t i) -> AskedGroup {
            const GroupRuns::Piece piece = runs.piece(i);
            Members members;
            for (std::int64_t point = piece.first; point < piece.last; ++point)
                members.set(static_cast<std::size_t>(point - piece.beginOfGroup()));
            return {piece.group, members};
        };
        compute(runs.count(), groupAt, runs.count() > groupsOfATurn ? most : 1,
                [&](std::int64_t i, const DeviceSums<T>& sums, std::size_t group) {
                    store(runs.piece(i), sums, group, to);
                });
    }

    std::int64_t pieceToWatch(unsigned threads) const override {
        // Elements at points: of the emulation device some nanoseconds each, in double precision
        // four times as long; of a GPU thousands of threads at a time.
        constexpr double ofACore = sizeof(T) == 4 ? 1e7 : 2.5e6;
        constexpr double ofAGpu = 200 * ofACore;
        const auto elements = static_cast<double>(terms->array().elements.size());
        const auto weightings = static_cast<double>(terms->array().weightings());
        const unsigned cores =
            std::min(threads == 0 ? threadCount() : threads, static_cast<unsigned>(usableCores()));
        const double points =
            (isEmulated ? ofACore * cores : ofAGpu) / (elements * (1 + weightings / 8));
        return std::clamp<std::int64_t>(static_cast<std::int64_t>(points), 1 << 10, 1 << 24);
    }

    double meanEvaluations(const std::vector<Index>& points) const override {
        std::vector<GroupSites> sites;
        for (const AskedGroup& group : groupsOf(points))
            sites.emplace_back(terms->positions(), AskedGroup{group.group, Members().set()});
        double sum = 0;
        for (const ElementRounds::Round& round : rounds.all()) {
            const NearElements near = findNear(round, sites, 1);
            sum += static_cast<double>(round.count * sites.size());
            for (std::size_t group = 0; group < sites.size(); ++group)
                for (auto i = near.first[group]; i < near.first[group + 1]; ++i)
                    sum += fields.evaluationsOf(
                        elementOf(round, near.all[static_cast<std::size_t>(i)]),
                        sites[group].places, limits[round.shape]);
        }
        return sum / static_cast<double>(points.size());
    }

    std::int64_t memoryOf(const LatticeBox& box) const noexcept override {
        return rounds.memory() + DeviceSums<T>::memoryOf(terms->array(), groupsAtATime(box)) +
               DeviceBatch<T>::memoryOf(nearAtATime(box)) + RulesOnDevice<T>::mostBytes();
    }

    std::int64_t deviceMemoryOf(const LatticeBox& box) const noexcept override {
        return DeviceSums<T>::deviceMemoryOf(terms->array(), groupsAtATime(box)) +
               DeviceBatch<T>::deviceMemoryOf(nearAtATime(box)) + RulesOnDevice<T>::mostBytes();
    }

  protected:
    std::vector<std::complex<double>> valuesAt(const std::vector<Index>& points) const override {
        const std::vector<AskedGroup> groups = groupsOf(points);
        const std::size_t weightings = terms->array().weightings();
        std::vector<std::complex<double>> values(points.size() * weightings);
        compute(
            static_cast<std::int64_t>(groups.size()),
            [&](std::int64_t i) { return groups[static_cast<std::size_t>(i)]; }, threadCount(),
            [&](std::int64_t i, const DeviceSums<T>& sums, std::size_t group) {
                const auto number = static_cast<std::size_t>(i);
                for (std::size_t w = 0; w < weightings; ++w)
                    values[number * weightings + w] = sums.at(w, group, laneOf(points[number]));
            });
        return values;
    }

  private:
    static constexpr std::int64_t groupsOfATurn = 16;
    static constexpr std::size_t mostNear = 1 << 14;

    /// What the device has of a computation.
    struct OnDevice {
        OnDevice(const Rules<T>& rules, const ElementRounds& rounds, const Array& array,
                 const Wave& wave)
            : rules(rules), sums(rounds, array, wave) {}

        /// A batch of so many groups. What was under way is waited for.
        DeviceBatch<T>& batchFor(std::size_t groups) {
            if (batch) batch->wait();
            if (!batch || batch->room() < groups) {
                batch.reset();
                batch = std::make_unique<DeviceBatch<T>>(groups, DeviceBatch<T>::Streams::usual);
            }
            batch->clear(groups);
            return *batch;
        }

        RulesOnDevice<T> rules;
        DeviceSums<T> sums;
        std::unique_ptr<DeviceBatch<T>> batch;
    };

    std::size_t laneOf(const Index& point) const {
        return static_cast<std::size_t>(terms->numberOf(point) % groupSize);
    }

    /// The group of each point, of which that point is asked for.
    std::vector<AskedGroup> groupsOf(const std::vector<Index>& points) const {
        std::vector<AskedGroup> groups(points.size());
        std::transform(points.begin(), points.end(), groups.begin(), [this](const Index& point) {
            return AskedGroup{terms->numberOf(point) / groupSize, Members().set(laneOf(point))};
        });
        return groups;
    }

    std::int64_t groupsAtATime(const LatticeBox& box) const noexcept {
        return std::min(GroupRuns(box, terms->request().lattice.sizes).count(),
                        DeviceSums<T>::mostGroups(terms->array().weightings()));
    }

    std::int64_t nearAtATime(const LatticeBox& box) const noexcept {
        const std::size_t inARound =
            std::min(terms->array().elements.size(), ElementRounds::mostInARound);
        return std::min(groupsAtATime(box) * static_cast<std::int64_t>(inARound),
                        static_cast<std::int64_t>(mostNear));
    }

    std::size_t elementOf(const ElementRounds::Round& round, const NearElement& near) const {
        return rounds.order()[round.first + static_cast<std::size_t>(near.element)];
    }

    /// Computes groups, number i being groupAt(i), and does a work with each that is asked for, its
    /// sums and its number among these.
    template <class GroupAt, class Work>
    void compute(std::int64_t count, GroupAt groupAt, unsigned threads, Work work) const {
        const std::int64_t most =
            std::min(count, DeviceSums<T>::mostGroups(terms->array().weightings()));
        typename KeptOnDevice<OnDevice>::Use use(onDevice);
        device.run([&] {
            if (!use.get())
                use.get() = std::make_unique<OnDevice>(rules, rounds, terms->array(),
                                                       terms->request().wave);
            DeviceSums<T>& sums = use.get()->sums;
            std::vector<GroupSites> sites;
            std::vector<std::int64_t> numbers;
            for (std::int64_t next = 0; next < count;) {
                sites.clear();
                numbers.clear();
                for (; next < count && std::ssize(sites) < most; ++next) {
                    const AskedGroup asked = groupAt(next);
                    if (asked.members.none()) continue;
                    sites.emplace_back(terms->positions(), asked);
                    numbers.push_back(next);
                }
                if (sites.empty()) break;
                sums.begin(sites);
                for (const ElementRounds::Round& round : rounds.all())
                    add(round, sites, threads, *use.get());
                sums.finish();
                for (std::size_t i = 0; i < sites.size(); ++i) work(numbers[i], sums, i);
            }
        });
        use.finish();
    }

    void add(const ElementRounds::Round& round, const std::vector<GroupSites>& sites,
             unsigned threads, OnDevice& to) const {
        const NearElements near = findNear(round, sites, threads);
        to.sums.addFar(round, near, *farFaces[round.shape]);
        for (std::size_t begin = 0; begin < near.all.size(); begin += mostNear) {
            const std::size_t end = std::min(near.all.size(), begin + mostNear);
            DeviceBatch<T>& batch = to.batchFor(end - begin);
            inParallel(static_cast<std::int64_t>(end - begin), groupsOfATurn, threads,
                       [&](std::int64_t from, std::int64_t to) {
                           prepare(round, sites, near, begin,
                                   {begin + static_cast<std::size_t>(from),
                                    begin + static_cast<std::size_t>(to)},
                                   batch);
                       });
            batch.begin(fields.differentFaces()[round.shape], to.rules);
            to.sums.addNear(round, begin, end, batch.values());
        }
    }

    /// Adds near elements to a batch that begins with number `begin`.
    void prepare(const ElementRounds::Round& round, const std::vector<GroupSites>& sites,
                 const NearElements& near, std::size_t begin,
                 const std::pair<std::size_t, std::size_t>& range, DeviceBatch<T>& batch) const {
        typename DeviceBatch<T>::Turn turn(batch);
        GroupPoints points;
        auto next = std::upper_bound(near.first.begin(), near.first.end(),
                                     static_cast<std::int32_t>(range.first));
        for (std::size_t i = range.first; i < range.second; ++i) {
            while (*next <= static_cast<std::int32_t>(i)) ++next;
            const auto group = static_cast<std::size_t>(next - near.first.begin()) - 1;
            fields.placeIn(elementOf(round, near.all[i]), sites[group].places, points);
            turn.add(i - begin, points, near.all[i].members, fields.differentFaces()[round.shape],
                     fields.ordersOf(round.shape), limits[round.shape]);
        }
        turn.finish();
    }

    NearElements findNear(const ElementRounds::Round& round, const std::vector<GroupSites>& sites,
                          unsigned threads) const {
        const FarFace<T>& far = *farFaces[round.shape];
        NearElements found;
        found.directivities.resize(sites.size() * round.blocks());
        found.first.resize(sites.size() + 1);
        const auto count = static_cast<std::int64_t>(sites.size());
        std::vector<std::vector<NearElement>> ofTurns(
            static_cast<std::size_t>((count + groupsOfATurn - 1) / groupsOfATurn));
        inParallel(count, groupsOfATurn, threads, [&](std::int64_t begin, std::int64_t end) {
            auto& near = ofTurns[static_cast<std::size_t>(begin / groupsOfATurn)];
            std::array<double, ElementRounds::blocksOfARound> nearest{};
            for (auto i = static_cast<std::size_t>(begin); i < static_cast<std::size_t>(end); ++i) {
                const std::size_t before = near.size();
                rounds.findNear(round, sites[i], far.least(), near, nearest);
                found.first[i + 1] = static_cast<std::int32_t>(near.size() - before);
                for (std::size_t block = 0; block < round.blocks(); ++block)
                    found.directivities[i * round.blocks() + block] =
                        nearest[block] > 0 ? static_cast<std::uint8_t>(far.shellAt(nearest[block]))
                                           : noDirectivity;
            }
        });
        std::partial_sum(found.first.begin(), found.first.end(), found.first.begin());
        found.all.reserve(static_cast<std::size_t>(found.first.back()));
        for (const auto& near : ofTurns)
            found.all.insert(found.all.end(), near.begin(), near.end());
        return found;
    }

    void store(const GroupRuns::Piece& piece, const DeviceSums<T>& sums, std::size_t group,
               const Destination<T>& to) const {
        for (std::size_t w = 0; w < terms->array().weightings(); ++w) {
            const Destination<T> of = to.field(static_cast<std::int64_t>(w));
            for (std::int64_t i = piece.first; i < piece.last; ++i) {
                const Destination<T> at = of.from(piece.to + (i - piece.first));
                const std::complex<T> value =
                    sums.at(w, group, static_cast<std::size_t>(i - piece.beginOfGroup()));
                *at.re = value.real();
                *at.im = value.imag();
            }
        }
    }

    std::shared_ptr<const ArrayTerms> terms;
    ElementFields<T> fields;
    ElementRounds rounds;
    std::vector<ErrorLimit> limits;  ///< of each face
    std::vector<std::unique_ptr<const FarFace<T>>> farFaces;
    Rules<T> rules;
    mutable DeviceThread device;
    mutable KeptOnDevice<OnDevice> onDevice{device};
    bool isEmulated = device.isEmulated();
};

}  // namespace

template <class T>
std::unique_ptr<const ArrayEngine<T>> makeDeviceSumEngine(std::shared_ptr<const ArrayTerms> terms) {
    return std::make_unique<const DeviceSumEngine<T>>(std::move(terms));
}

template std::unique_ptr<const ArrayEngine<float>> makeDeviceSumEngine(
    std::shared_ptr<const ArrayTerms>);
template std::unique_ptr<const ArrayEngine<double>> makeDeviceSumEngine(
    std::shared_ptr<const ArrayTerms>);

}  // namespace pistonfield
