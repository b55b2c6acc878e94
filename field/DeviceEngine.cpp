// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <iterator>
#include <span>
#include <vector>

#include "field/BoxOnDevice.h"
#include "field/DeviceThread.h"
#include "field/Engine.h"
#include "field/KeptOnDevice.h"
#include "field/engineRule.h"
#include "field/pieces.h"

namespace pistonfield {

namespace {

template <class T>
BoxNumbers<T> numbersOf(const Request& request) {
    GaussLegendre<T> rule;
    setRule(rule, request.rule);
    BoxNumbers<T> numbers{{},
                          {},
                          rule.order,
                          static_cast<T>(0.5) * static_cast<T>(request.piston.width),
                          static_cast<T>(0.5) * static_cast<T>(request.piston.height),
                          static_cast<T>(request.wave.wavenumber)};
    const auto& values = request.lattice.transform;
    std::transform(values.begin(), values.end(), numbers.transform.begin(),
                   [](double value) { return static_cast<T>(value); });
    for (int i = 0; i < (rule.order + 1) / 2; ++i) {
        numbers.rule.push_back(rule.abscissas[i]);
        numbers.rule.push_back(rule.weights[i]);
    }
    return numbers;
}

/// Computes boxes in slabs, of which the device computes the next one while the host reads one.
template <class T>
class DeviceEngine : public Engine<T> {
  public:
    explicit DeviceEngine(const Request& request) : numbers(numbersOf<T>(request)) {}

    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const override {
        fillWatched(box, to, {{}, {}, threads});
    }
    void fillWatched(const LatticeBox& box, const Destination<T>& to,
                     const Conduct& conduct) const override {
        compute(box, to, conduct);
    }
    void fillConverted(const LatticeBox& box, const Destination<typename Engine<T>::Other>& to,
                       const Conduct& conduct) const override {
        compute(box, to, conduct);
    }
    bool converts() const noexcept override { return true; }

    std::int64_t pieceToWatch(unsigned /*threads*/) const override { return largestPiece(); }
    double evaluationsOfAPoint() const override { return 4.0 * numbers.order; }
    std::int64_t largestPiece() const noexcept override { return std::int64_t{1} << 30; }
    std::int64_t memoryOf(const LatticeBox& box) const noexcept override {
        const std::int64_t slabs = std::min<std::int64_t>(
            OnDevice::slabs, (box.points() + slabPoints() - 1) / slabPoints());
        return slabs * BoxOnDevice<T>::bytesOf(std::min(box.points(), slabPoints()));
    }
    std::int64_t deviceMemoryOf(const LatticeBox& box) const noexcept override {
        const std::size_t tables = numbers.transform.size() + numbers.rule.size();
        return memoryOf(box) + static_cast<std::int64_t>(tables * sizeof(T));
    }

  private:
    using OnDevice = BoxOnDevice<T>;

    /// Enough to fill a large GPU, and on the emulation device, which takes about a nanosecond for
    /// an evaluation, worth watching.
    std::int64_t slabPoints() const noexcept {
        constexpr std::int64_t evaluations = 1 << 26;
        constexpr std::int64_t most = 1 << 18;
        return std::clamp<std::int64_t>(evaluations / (4 * numbers.order), 1, most);
    }

    template <class U>
    void compute(const LatticeBox& box, const Destination<U>& to, const Conduct& conduct) const {
        std::vector<LatticeBox> slabs;
        inPieces(box, slabPoints(), [&slabs](const LatticeBox& slab) { slabs.push_back(slab); });
        typename KeptOnDevice<OnDevice>::Use use(onDevice);
        auto next = slabs.begin();
        std::int64_t done = 0;
        for (std::ptrdiff_t i = 0; i < std::ssize(slabs); ++i) {
            if (conduct.stop.stop_requested()) throw Stopped();
            std::span<const typename OnDevice::Value> values;
            device.run([&] {
                if (!use.get()) use.get() = std::make_unique<OnDevice>(numbers);
                for (; next != slabs.end() && next - slabs.begin() < i + OnDevice::slabs; ++next)
                    use.get()->begin(slabOf(next - slabs.begin()), *next);
                values = use.get()->wait(slabOf(i));
            });
            store(values, to.from(done));
            done += std::ssize(values);
            if (conduct.progress) conduct.progress(done);
        }
        use.finish();
    }

    static int slabOf(std::ptrdiff_t number) { return static_cast<int>(number % OnDevice::slabs); }

    template <class U>
    static void store(std::span<const typename OnDevice::Value> values, const Destination<U>& to) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            const auto at = static_cast<std::ptrdiff_t>(i) * to.stride;
            to.re[at] = static_cast<U>(values[i].re);
            to.im[at] = static_cast<U>(values[i].im);
        }
    }

    BoxNumbers<T> numbers;
    mutable DeviceThread device;
    mutable KeptOnDevice<OnDevice> onDevice{device};
};

}  // namespace

template <class T>
std::unique_ptr<const Engine<T>> makeDeviceEngine(const Request& request) {
    return std::make_unique<const DeviceEngine<T>>(request);
}

template std::unique_ptr<const Engine<float>> makeDeviceEngine(const Request&);
template std::unique_ptr<const Engine<double>> makeDeviceEngine(const Request&);

}  // namespace pistonfield
