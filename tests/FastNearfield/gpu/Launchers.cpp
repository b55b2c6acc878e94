// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/FastNearfield/gpu/Launchers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "tests/support/Captured.h"

namespace {

using namespace cuda_runtime;
using namespace script;

// The inputs, all exact in single precision. No point lies in a plane through a side of the piston.

/// The fourth row is not used.
constexpr std::array<double, 16> transform{0.25,   0.0625,   0.125, -1.53125,  //
                                           -0.125, 0.375,    0.25,  0.28125,   //
                                           0.0625, -0.03125, 0.5,   1.75,      //
                                           7,      8,        9,     10};
constexpr const char* printedTransform = "0.25 0.0625 0.125 -1.53125 -0.125";
constexpr Point spacings{0.28125, 0.34375, 0.4375};

Point transformed(int ix, int iy, int iz) {
    const auto row = [=](std::size_t r) {
        return transform[4 * r] * ix + transform[4 * r + 1] * iy + transform[4 * r + 2] * iz +
               transform[4 * r + 3];
    };
    return {row(0), row(1), row(2)};
}

Point spaced(int ix, int iy, int iz) { return {spacings.x * ix, spacings.y * iy, spacings.z * iz}; }

/// Coordinates without a common spacing.
Point tabled(int ix, int iy, int iz) {
    return {-1.3125 + 0.28125 * ix + 0.0625 * (ix % 3), 0.71875 - 0.46875 * iy,
            0.5 + 0.625 * iz + 0.25 * (iz % 2)};
}

Point listed(int index, int /*iy*/, int /*iz*/) {
    return {0.015625 + 0.375 * (index % 11) - 2.0, 0.046875 + 0.25 * (index % 7) - 0.75,
            0.25 + 0.125 * (index % 23)};
}

/// How many values a test's array has for a size or product that no array can have.
constexpr std::int64_t capacity = 4 << 20;

std::size_t arraySize(std::int64_t wanted) {
    return static_cast<std::size_t>(wanted < 1 || wanted > capacity ? 64 : wanted);
}

std::size_t pointsOf(const Sizes& n) {
    const auto fits = [](int size) { return size >= 1 && size <= capacity; };
    if (!fits(n.x) || !fits(n.y) || !fits(n.z)) return arraySize(0);
    const std::int64_t layers = std::int64_t{n.y} * n.z;
    return arraySize(layers > capacity ? 0 : layers * n.x);
}

template <class T>
std::array<T, 16> transformOf() {
    std::array<T, 16> values{};
    std::transform(transform.begin(), transform.end(), values.begin(),
                   [](double value) { return static_cast<T>(value); });
    return values;
}

std::vector<float> tableOf(int size, double Point::*coordinate) {
    std::vector<float> table(arraySize(size));
    for (std::size_t i = 0; i < table.size(); ++i) {
        const int index = static_cast<int>(i);
        table[i] = static_cast<float>(tabled(index, index, index).*coordinate);
    }
    return table;
}

std::vector<float> listOf(int size) {
    std::vector<float> list;
    for (std::size_t i = 0; i < arraySize(size); ++i) {
        const Point p = listed(static_cast<int>(i), 0, 0);
        for (const double value : {p.x, p.y, p.z}) list.push_back(static_cast<float>(value));
    }
    return list;
}

std::complex<double> valueOf(const Complex& pair) { return {pair.re, pair.im}; }
std::complex<double> valueOf(const Complexd& pair) { return {pair.re, pair.im}; }
template <class Real>
std::complex<double> valueOf(Real re, Real im) {
    return {re, im};
}

template <class Element>
constexpr Element unwritten() {
    if constexpr (std::is_floating_point_v<Element>) {
        return std::numeric_limits<Element>::quiet_NaN();
    } else {
        constexpr auto nan = unwritten<decltype(Element::re)>();
        return {nan, nan};
    }
}

/// Not a number equals itself.
template <class T>
bool sameBytes(std::span<const T> a, std::span<const T> b) {
    return std::ranges::equal(std::as_bytes(a), std::as_bytes(b));
}

/// An array of the launcher's caller, on the host or on the device, with some room behind it.
template <class Element, bool onDevice>
class Array {
  public:
    explicit Array(std::size_t size) : size(size), host(size + behind, unwritten<Element>()) {
        if constexpr (onDevice) {
            void* address = nullptr;
            require(cudaMalloc(&address, bytes()));
            device = static_cast<Element*>(address);
            require(cudaMemcpy(device, host.data(), bytes(), cudaMemcpyHostToDevice));
        }
    }

    Element* address() { return onDevice ? device : host.data(); }

    /// The elements on the host.
    const std::vector<Element>& fetched() {
        if constexpr (onDevice)
            require(cudaMemcpy(host.data(), device, bytes(), cudaMemcpyDeviceToHost));
        return host;
    }

    bool keptToItself() {
        const std::vector<Element> room(behind, unwritten<Element>());
        return sameBytes(std::span(fetched()).subspan(size), std::span(room));
    }

  private:
    static constexpr std::size_t behind = 32;

    std::size_t bytes() const { return host.size() * sizeof(Element); }

    static void require(cudaError_t status) {
        if (status != cudaSuccess) throw std::runtime_error(cudaGetErrorString(status));
    }

    std::size_t size;
    std::vector<Element> host;
    Element* device = nullptr;
};

/// One array of complex elements.
template <class Element, bool onDevice, class Start>
class InterleavedLaunch : public LaunchOfLauncher {
  public:
    InterleavedLaunch(const Sizes& n, Start start)
        : points(pointsOf(n)), array(points), startInto(std::move(start)) {}

    void start() override { startInto(array.address()); }

    Field field() override {
        const std::vector<Element>& pairs = array.fetched();
        Field values(points);
        std::transform(pairs.begin(), pairs.begin() + static_cast<std::ptrdiff_t>(points),
                       values.begin(), [](const Element& pair) { return valueOf(pair); });
        return values;
    }

    bool keptToItsArrays() override { return array.keptToItself(); }

  private:
    std::size_t points;
    Array<Element, onDevice> array;
    Start startInto;
};

/// An array of real parts and one of imaginary parts.
template <class Element, bool onDevice, class Start>
class SplitLaunch : public LaunchOfLauncher {
  public:
    SplitLaunch(const Sizes& n, Start start)
        : points(pointsOf(n)), re(points), im(points), startInto(std::move(start)) {}

    void start() override { startInto(re.address(), im.address()); }

    Field field() override {
        const std::vector<Element>& reals = re.fetched();
        Field values(points);
        std::transform(reals.begin(), reals.begin() + static_cast<std::ptrdiff_t>(points),
                       im.fetched().begin(), values.begin(),
                       [](Element real, Element imaginary) { return valueOf(real, imaginary); });
        return values;
    }

    bool keptToItsArrays() override { return re.keptToItself() && im.keptToItself(); }

  private:
    std::size_t points;
    Array<Element, onDevice> re;
    Array<Element, onDevice> im;
    Start startInto;
};

template <class Element, bool onDevice = false, class Start>
std::unique_ptr<LaunchOfLauncher> interleaved(const Sizes& n, Start start) {
    return std::make_unique<InterleavedLaunch<Element, onDevice, Start>>(n, std::move(start));
}

template <class Element, bool onDevice = false, class Start>
std::unique_ptr<LaunchOfLauncher> split(const Sizes& n, Start start) {
    return std::make_unique<SplitLaunch<Element, onDevice, Start>>(n, std::move(start));
}

// The scripts.

constexpr std::size_t beyondAnyDevice = std::size_t{1} << 60;

/// Bytes of a field's elements, or what launchers ask for where they do not fit 31 bits.
std::size_t elements(const Sizes& n, int bytes) {
    __int128 product = bytes;
    product = product * n.x * n.y * n.z;
    return product < 0 || product > INT32_MAX ? beyondAnyDevice : static_cast<std::size_t>(product);
}

Print allocating(const Sizes& n) {
    const auto wrapped = static_cast<std::uint32_t>(n.x) * static_cast<std::uint32_t>(n.y) *
                         static_cast<std::uint32_t>(n.z) * 4U;
    return {"allocating " + std::to_string(static_cast<std::int32_t>(wrapped)) + " bytes"};
}

unsigned blocks(double covered, double each) {
    return static_cast<unsigned>(static_cast<std::int64_t>(std::ceil(covered / each)));
}

/// A launch over a regular grid.
Launch overGrid(const Sizes& n, std::vector<Arguments> arguments, std::vector<std::string> buffers,
                bool timed = true) {
    return {blocks(n.x, 16), blocks(double{1} * n.y * n.z, 8), std::move(arguments),
            std::move(buffers), timed};
}

constexpr const char* mallocArray = "cudaMalloc((void**)&d_array, datasize)";
constexpr const char* mallocRe = "cudaMalloc((void**)&d_arrayr, datasize)";
constexpr const char* mallocIm = "cudaMalloc((void**)&d_arrayi, datasize)";
constexpr const char* fetchArray =
    "cudaMemcpy( &data[0], d_array, datasize, cudaMemcpyDeviceToHost )";
constexpr const char* fetchRe =
    "cudaMemcpy( &datar[0], d_arrayr, datasize, cudaMemcpyDeviceToHost )";
constexpr const char* fetchIm =
    "cudaMemcpy( &datai[0], d_arrayi, datasize, cudaMemcpyDeviceToHost )";
constexpr const char* mallocDouble = "cudaMalloc((void**)&d_arrayr, datasize*2)";
constexpr const char* fetchDouble =
    "cudaMemcpy( &data[0], d_arrayr, datasize*2, cudaMemcpyDeviceToHost )";

Script floatTransform() {
    return {Allocate{"d_transform", 64, "cudaMalloc((void**)&d_transform, 16*sizeof(float))"},
            ToDevice{"d_transform", 64,
                     "cudaMemcpy( d_transform, transform, 16*sizeof(float), "
                     "cudaMemcpyHostToDevice )"}};
}

Script doubleTransform() {
    return {Allocate{"d_transform", 128, "cudaMalloc((void**)&d_transform, 16*sizeof(double))"},
            ToDevice{"d_transform", 128,
                     "cudaMemcpy( d_transform, transform, 16*sizeof(double), "
                     "cudaMemcpyHostToDevice )"}};
}

Free free(const std::string& buffer) { return {buffer, "cudaFree(" + buffer + ")"}; }

Script deviceScript(const Sizes& n) {
    return inTurn(
        {{Check{"pre RectangularPison_func_device"},
          Print{std::string(" _device transform: ") + printedTransform}},
         floatTransform(),
         {overGrid(n, {{8, 0, 1}, {4, 8, 3}, {8, 24, 1}, {4, 32, 3}}, {"d_array", "d_transform"}),
          Check{"RectangularPiston_func_device"}, free("d_transform")}});
}

Script hostScript(const Sizes& n) {
    return inTurn(
        {{Check{"pre RectangularPiston_func"}, Allocate{"d_array", elements(n, 8), mallocArray},
          Print{std::string(" transform: ") + printedTransform}},
         deviceScript(n),
         {ToHost{"d_array", elements(n, 8), fetchArray}, free("d_array")}});
}

Script device2Script(const Sizes& n) {
    return inTurn({{Check{"pre RectangularPiston_func2_device"}},
                   floatTransform(),
                   {overGrid(n, {{8, 0, 2}, {4, 16, 3}, {8, 32, 1}, {4, 40, 3}},
                             {"d_arrayr", "d_arrayi", "d_transform"}),
                    Check{"RectangularPiston_func2_device"}, free("d_transform")}});
}

Script host2Script(const Sizes& n) {
    const std::size_t bytes = elements(n, 4);
    return inTurn({{Check{"pre do_calculate_grid"}, allocating(n),
                    Allocate{"d_arrayr", bytes, mallocRe}, Allocate{"d_arrayi", bytes, mallocIm}},
                   device2Script(n),
                   {ToHost{"d_arrayr", bytes, fetchRe}, ToHost{"d_arrayi", bytes, fetchIm},
                    free("d_arrayr"), free("d_arrayi")}});
}

/// The kernel reads the caller's coordinates.
Script structuredDeviceScript(const Sizes& n, const std::string& array = "d_array") {
    return {Check{"pre RectangularPison_func_device"},
            overGrid(n, {{8, 0, 1}, {4, 8, 3}, {8, 24, 3}, {4, 48, 3}}, {array}),
            Check{"RectangularPiston_func_device"}};
}

Script structuredScript(const Sizes& n) {
    const std::size_t bytes = 2 * elements(n, 4);
    const std::size_t x = std::size_t{4} * static_cast<std::size_t>(n.x);
    const std::size_t y = std::size_t{4} * static_cast<std::size_t>(n.y);
    const std::size_t z = std::size_t{4} * static_cast<std::size_t>(n.z);
    return inTurn(
        {{Check{"pre do_calculate_grid"}, allocating(n), Allocate{"d_arrayr", bytes, mallocDouble},
          Allocate{"d_posx", x, "cudaMalloc((void**)&d_posx, sx * sizeof(float))"},
          Allocate{"d_posy", y, "cudaMalloc((void**)&d_posy, sy * sizeof(float))"},
          Allocate{"d_posz", z, "cudaMalloc((void**)&d_posz, sz * sizeof(float))"},
          ToDevice{"d_posx", x,
                   "cudaMemcpy(&d_posx[0], &posx[0], sx*sizeof(float), cudaMemcpyHostToDevice)"},
          ToDevice{"d_posy", y,
                   "cudaMemcpy(&d_posy[0], &posy[0], sy*sizeof(float), cudaMemcpyHostToDevice)"},
          ToDevice{"d_posz", z,
                   "cudaMemcpy(&d_posz[0], &posz[0], sz*sizeof(float), cudaMemcpyHostToDevice)"}},
         structuredDeviceScript(n, "d_arrayr"),
         {ToHost{"d_arrayr", bytes, fetchDouble}, free("d_posz"), free("d_posy"), free("d_posx"),
          free("d_arrayr")}});
}

Script unstructuredDeviceScript(const Sizes& n, const std::string& array = "d_array",
                                const std::string& points = "pos") {
    const unsigned gx = blocks(blocks(n.x, 128), 64);
    return {Check{"pre RectangularPison_func_device"},
            Print{"nbPos" + std::to_string(n.x)},
            Print{"grid: " + std::to_string(gx) + " 64 1"},
            Print{std::to_string(8192 * gx)},
            Launch{gx, 64, {{8, 0, 1}, {4, 8, 1}, {8, 16, 1}, {4, 24, 3}}, {array, points}, true},
            Check{"RectangularPiston_func_device"}};
}

Script unstructuredScript(const Sizes& n) {
    const std::size_t bytes = 2 * elements(n, 4);
    const std::size_t positions = 12 * static_cast<std::size_t>(n.x);
    return inTurn(
        {{Check{"pre do_calculate_grid"}, allocating(n), Allocate{"d_arrayr", bytes, mallocDouble},
          Allocate{"d_pos", positions, "cudaMalloc((void**)&d_pos, nbPositions*3*sizeof(float))"},
          ToDevice{"d_pos", positions,
                   "cudaMemcpy(&d_pos[0], &pos[0], nbPositions*3*sizeof(float), "
                   "cudaMemcpyHostToDevice)"}},
         unstructuredDeviceScript(n, "d_arrayr", "d_pos"),
         {ToHost{"d_arrayr", bytes, fetchDouble}, free("d_pos"), free("d_arrayr")}});
}

/// The launchers that pass everything but the field by value.
Script byValueScript(std::size_t bytes, const std::string& before, const std::string& afterwards,
                     Launch launch) {
    return {Check{before},     Allocate{"d_array", bytes, mallocArray}, std::move(launch),
            Check{afterwards}, ToHost{"d_array", bytes, fetchArray},    free("d_array")};
}

Script gridByValueScript(const Sizes& n) {
    return byValueScript(elements(n, 8), "pre do_calculate_grid", "calculate_grid",
                         overGrid(n, {{8, 0, 1}, {4, 8, 3}, {4, 20, 15}}, {"d_array"}));
}

Script spacingsScript(const Sizes& n) {
    return byValueScript(elements(n, 8), "pre do_calculate", "calculate",
                         overGrid(n, {{8, 0, 1}, {4, 8, 3}, {4, 20, 6}}, {"d_array"}, false));
}

Script doubleGridByValueScript(const Sizes& n) {
    return byValueScript(elements(n, 16), "pre do_calculate_grid", "calculate_grid",
                         overGrid(n, {{8, 0, 1}, {4, 8, 3}, {8, 24, 15}}, {"d_array"}));
}

Script doubleSpacingsScript(const Sizes& n) {
    return byValueScript(elements(n, 16), "pre do_calculate", "calculate",
                         overGrid(n, {{8, 0, 1}, {4, 8, 3}, {8, 24, 6}}, {"d_array"}, false));
}

Script doubleScript(const Sizes& n) {
    const std::size_t bytes = elements(n, 16);
    return inTurn(
        {{Check{"pre do_calculate_grid"}, Allocate{"d_array", bytes, mallocArray}},
         doubleTransform(),
         {overGrid(n, {{8, 0, 1}, {4, 8, 3}, {8, 24, 1}, {8, 32, 3}}, {"d_array", "d_transform"}),
          Check{"calculate_grid"}, ToHost{"d_array", bytes, fetchArray}, free("d_array"),
          free("d_transform")}});
}

Script double2Script(const Sizes& n) {
    const std::size_t bytes = elements(n, 8);
    return inTurn({{Check{"pre do_calculate_grid"}, Allocate{"d_arrayr", bytes, mallocRe},
                    Allocate{"d_arrayi", bytes, mallocIm}},
                   doubleTransform(),
                   {overGrid(n, {{8, 0, 2}, {4, 16, 3}, {8, 32, 1}, {8, 40, 3}},
                             {"d_arrayr", "d_arrayi", "d_transform"}),
                    Check{"calculate_grid"}, ToHost{"d_arrayr", bytes, fetchRe},
                    ToHost{"d_arrayi", bytes, fetchIm}, free("d_arrayr"), free("d_arrayi"),
                    free("d_transform")}});
}

// The calls.

using Prepared = std::unique_ptr<LaunchOfLauncher>;

constexpr auto l = static_cast<float>(pistonL);
constexpr auto s = static_cast<float>(pistonS);
constexpr auto k = static_cast<float>(pistonK);

Prepared func(const Sizes& n) {
    return interleaved<Complex>(n, [n, m = transformOf<float>()](Complex* data) {
        RectangularPiston_func(data, n.x, n.y, n.z, m.data(), l, s, k);
    });
}

Prepared funcDevice(const Sizes& n) {
    return interleaved<Complex, true>(n, [n, m = transformOf<float>()](Complex* data) {
        RectangularPiston_func_device(data, n.x, n.y, n.z, m.data(), l, s, k);
    });
}

Prepared func2(const Sizes& n) {
    return split<float>(n, [n, m = transformOf<float>()](float* re, float* im) {
        RectangularPiston_func2(re, im, n.x, n.y, n.z, m.data(), l, s, k);
    });
}

Prepared func2Device(const Sizes& n) {
    return split<float, true>(n, [n, m = transformOf<float>()](float* re, float* im) {
        RectangularPiston_func2_device(re, im, n.x, n.y, n.z, m.data(), l, s, k);
    });
}

/// The three coordinate tables.
struct Tables {
    explicit Tables(const Sizes& n)
        : x(tableOf(n.x, &Point::x)), y(tableOf(n.y, &Point::y)), z(tableOf(n.z, &Point::z)) {}
    std::vector<float> x, y, z;
};

Prepared structured(const Sizes& n) {
    return interleaved<Complex>(n, [n, at = Tables(n)](Complex* data) {
        RectangularPiston_func_structured(data, n.x, n.y, n.z, at.x.data(), at.y.data(),
                                          at.z.data(), l, s, k);
    });
}

Prepared structuredDevice(const Sizes& n) {
    return interleaved<Complex, true>(n, [n, at = Tables(n)](Complex* data) {
        RectangularPiston_func_structured_device(data, n.x, n.y, n.z, at.x.data(), at.y.data(),
                                                 at.z.data(), l, s, k);
    });
}

Prepared unstructured(const Sizes& n) {
    return interleaved<Complex>(n, [n, at = listOf(n.x)](Complex* data) {
        RectangularPiston_func_unstructured(data, n.x, at.data(), l, s, k);
    });
}

Prepared unstructuredDevice(const Sizes& n) {
    // Device memory of the emulation device is the host's.
    return interleaved<Complex, true>(n, [n, at = listOf(n.x)](Complex* data) {
        RectangularPiston_func_unstructured_device(data, n.x, at.data(), l, s, k);
    });
}

Prepared gridByValue(const Sizes& n) {
    return interleaved<Complex>(n, [n, m = transformOf<float>()](Complex* data) {
        do_calculate_grid(data, n.x, n.y, n.z, m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8],
                          m[9], m[10], m[11], l, s, k);
    });
}

Prepared spacingsByValue(const Sizes& n) {
    return interleaved<Complex>(n, [n](Complex* data) {
        do_calculate(data, n.x, n.y, n.z, static_cast<float>(spacings.x),
                     static_cast<float>(spacings.y), static_cast<float>(spacings.z), l, s, k);
    });
}

Prepared doubleFunc(const Sizes& n) {
    return interleaved<Complexd>(n, [n](Complexd* data) {
        RectangularPiston_func_d(data, n.x, n.y, n.z, transform.data(), l, s, k);
    });
}

Prepared doubleFunc2(const Sizes& n) {
    return split<double>(n, [n](double* re, double* im) {
        RectangularPiston_func2_d(re, im, n.x, n.y, n.z, transform.data(), l, s, k);
    });
}

Prepared doubleGridByValue(const Sizes& n) {
    return interleaved<Complexd>(n, [n, m = transform](Complexd* data) {
        do_calculate_grid_d(data, n.x, n.y, n.z, m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7],
                            m[8], m[9], m[10], m[11], l, s, k);
    });
}

Prepared doubleSpacings(const Sizes& n) {
    return interleaved<Complexd>(n, [n](Complexd* data) {
        do_calculate_d(data, n.x, n.y, n.z, spacings.x, spacings.y, spacings.z, l, s, k);
    });
}

/// A launcher of the single-precision unit; its `_device` half where the name says so.
Launcher single(const std::string& name, std::function<Script(const Sizes&)> script,
                Prepared (*prepare)(const Sizes&), Point (*place)(int, int, int)) {
    const auto has = [&name](const char* word) { return name.find(word) != std::string::npos; };
    return {name,
            "FastNearfield/RectangularPistonCuda",
            name != "do_calculate",
            has("_device"),
            has("unstructured"),
            std::move(script),
            prepare,
            place};
}

Launcher twin(const std::string& name, Script (*script)(const Sizes&),
              Prepared (*prepare)(const Sizes&), Point (*place)(int, int, int)) {
    return {name,
            "FastNearfield/RectangularPistonCuda.dp",
            name != "do_calculate_d",
            false,
            false,
            script,
            prepare,
            place};
}

std::vector<Launcher> makeLaunchers() {
    return {
        single("RectangularPiston_func", hostScript, func, transformed),
        single("RectangularPiston_func_device", deviceScript, funcDevice, transformed),
        single("RectangularPiston_func2", host2Script, func2, transformed),
        single("RectangularPiston_func2_device", device2Script, func2Device, transformed),
        single("RectangularPiston_func_structured", structuredScript, structured, tabled),
        single(
            "RectangularPiston_func_structured_device",
            [](const Sizes& n) { return structuredDeviceScript(n); }, structuredDevice, tabled),
        single("RectangularPiston_func_unstructured", unstructuredScript, unstructured, listed),
        single(
            "RectangularPiston_func_unstructured_device",
            [](const Sizes& n) { return unstructuredDeviceScript(n); }, unstructuredDevice, listed),
        single("do_calculate_grid", gridByValueScript, gridByValue, transformed),
        single("do_calculate", spacingsScript, spacingsByValue, spaced),
        twin("RectangularPiston_func_d", doubleScript, doubleFunc, transformed),
        twin("RectangularPiston_func2_d", double2Script, doubleFunc2, transformed),
        twin("do_calculate_grid_d", doubleGridByValueScript, doubleGridByValue, transformed),
        twin("do_calculate_d", doubleSpacingsScript, doubleSpacings, spaced),
    };
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Sizes& n) {
    return out << n.x << " by " << n.y << " by " << n.z;
}

std::ostream& operator<<(std::ostream& out, const Launcher& launcher) {
    return out << launcher.name;
}

const std::vector<Launcher>& launchers() {
    static const std::vector<Launcher> all = makeLaunchers();
    return all;
}

const Launcher& launcherNamed(const std::string& name) {
    return *std::find_if(launchers().begin(), launchers().end(),
                         [&name](const Launcher& launcher) { return launcher.name == name; });
}

void uploadRule() {
    static_cast<void>(
        captured([] { setCudaIntegratorParameters("RectangularPiston", ruleOrder); }));
}

std::vector<Point> positions(const Launcher& launcher, const Sizes& n) {
    std::vector<Point> points;
    for (int iz = 0; iz < n.z; ++iz)
        for (int iy = 0; iy < n.y; ++iy)
            for (int ix = 0; ix < n.x; ++ix) points.push_back(launcher.place(ix, iy, iz));
    return points;
}

Field fieldOf(const Launcher& launcher, const Sizes& n) {
    const auto launch = launcher.prepare(n);
    static_cast<void>(captured([&] { launch->start(); }));
    return launch->field();
}

bool identical(const Field& a, const Field& b) { return sameBytes(std::span(a), std::span(b)); }
