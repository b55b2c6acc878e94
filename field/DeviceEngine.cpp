// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>
#include <vector>

#include "FastNearfield/BoxModules.h"
#include "core/CudaCheck.h"
#include "field/DeviceArray.h"
#include "field/DeviceThread.h"
#include "field/Engine.h"
#include "field/engineRule.h"

namespace pistonfield {

namespace {

using namespace cuda_runtime;

template <class T>
class DeviceEngine : public Engine<T> {
  public:
    explicit DeviceEngine(const Request& request)
        : a(static_cast<T>(0.5) * static_cast<T>(request.piston.width)),
          b(static_cast<T>(0.5) * static_cast<T>(request.piston.height)),
          k(static_cast<T>(request.wave.wavenumber)) {
        const auto& values = request.lattice.transform;
        std::transform(values.begin(), values.end(), transform.begin(),
                       [](double value) { return static_cast<T>(value); });
        setRule(rule, request.rule);
    }

    void fill(const LatticeBox& box, const Destination<T>& to,
              unsigned /*threads*/) const override {
        const auto points = static_cast<std::size_t>(box.points());
        std::vector<Pair> values(points);
        device.run([&] { compute(box, values); });
        for (std::size_t i = 0; i < points; ++i) {
            const auto at = static_cast<std::ptrdiff_t>(i) * to.stride;
            to.re[at] = values[i].re;
            to.im[at] = values[i].im;
        }
    }

    std::int64_t pieceToWatch(unsigned /*threads*/) const override {
        // At about a nanosecond each, which the emulation device takes; a GPU takes less.
        constexpr std::int64_t evaluations = 1 << 26;
        return std::clamp<std::int64_t>(evaluations / (4 * rule.order), 1, largestPiece());
    }
    double evaluationsOfAPoint() const override { return 4.0 * rule.order; }
    std::int64_t largestPiece() const noexcept override { return 1 << 20; }
    std::int64_t memoryOf(const LatticeBox& box) const noexcept override {
        return std::min(box.points(), largestPiece()) * static_cast<std::int64_t>(sizeof(Pair));
    }
    std::int64_t deviceMemoryOf(const LatticeBox& box) const noexcept override {
        return memoryOf(box);
    }

  private:
    using Module = std::remove_cvref_t<decltype(boxModule(T()))>;
    using Pair = std::conditional_t<std::is_same_v<T, float>, Complex, Complexd>;

    void compute(const LatticeBox& box, std::vector<Pair>& values) const {
        const Module& module = boxModule(T());
        uploadRule(module);
        const DeviceArray<T> matrix(transform.size());
        matrix.upload(transform, "cudaMemcpy of the transform");
        const DeviceArray<Pair> field(values.size());
        const auto points = static_cast<int>(values.size());
        constexpr int blockSize = 128;
        requireSuccess(
            module.box.launch({static_cast<unsigned>(iDivUp(points, blockSize))}, {blockSize},
                              field.get(), points, static_cast<T>(box.first[0]),
                              static_cast<T>(box.first[1]), static_cast<T>(box.first[2]),
                              static_cast<int>(box.size[0]), static_cast<int>(box.size[1]),
                              matrix.get(), a, b, k),
            "the launch of the kernel");
        field.download(values, "cudaMemcpy of the field");
    }

    /// Before every launch: on the emulation device plans share the constants.
    void uploadRule(const Module& module) const {
        const auto half = static_cast<std::size_t>(rule.order + 1) / 2 * sizeof(T);
        upload(module.constants[0].name, rule.abscissas, half);
        upload(module.constants[1].name, rule.weights, half);
        upload(module.constants[2].name, &rule.order, sizeof rule.order);
    }

    static void upload(const char* constant, const void* from, std::size_t bytes) {
        requireSuccess(cudaMemcpyToSymbol(constant, from, bytes), "cudaMemcpyToSymbol of the rule");
    }

    std::array<T, 16> transform{};
    T a, b, k;
    GaussLegendre<T> rule;
    mutable DeviceThread device;
};

}  // namespace

template <class T>
std::unique_ptr<const Engine<T>> makeDeviceEngine(const Request& request) {
    return std::make_unique<const DeviceEngine<T>>(request);
}

template std::unique_ptr<const Engine<float>> makeDeviceEngine(const Request&);
template std::unique_ptr<const Engine<double>> makeDeviceEngine(const Request&);

}  // namespace pistonfield
