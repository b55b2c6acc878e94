// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "capi/pistonfield.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "capi/outcome.h"
#include "core/limits.h"
#include "field/Plan.h"
#include "parallel/threads.h"

struct pistonfield_plan {
    pistonfield::Plan plan;
};

namespace {

using namespace pistonfield;

/// A struct grows at its end: the sizes that it has had.
using Sizes = std::span<const std::size_t>;

constexpr std::array<std::size_t, 3> requestSizes{200, 216, 248};
constexpr std::array<std::size_t, 1> conductSizes{32};
static_assert(offsetof(pistonfield_request, tolerance) == requestSizes[0]);
static_assert(offsetof(pistonfield_request, x) == requestSizes[1]);
static_assert(sizeof(pistonfield_request) == requestSizes.back());
static_assert(sizeof(pistonfield_conduct) == conductSizes.back());

static_assert(PISTONFIELD_CPU == static_cast<int>(Mode::cpu));
static_assert(PISTONFIELD_CPUSP == static_cast<int>(Mode::cpusp));
static_assert(PISTONFIELD_CUDA == static_cast<int>(Mode::cuda));
static_assert(PISTONFIELD_CUDADP == static_cast<int>(Mode::cudadp));

static_assert(PISTONFIELD_LARGEST == static_cast<int>(Tolerance::Of::largest));
static_assert(PISTONFIELD_LOCAL == static_cast<int>(Tolerance::Of::local));

/// @param hint what to do about it
/// @throws InvalidArgument unless a struct of that size is one that this library knows
void requireKnown(std::size_t size, Sizes known, const char* argument,
                  const std::string& hint = {}) {
    if (std::find(known.begin(), known.end(), size) == known.end())
        throw InvalidArgument(argument, "a size of " + std::to_string(size) +
                                            " bytes is not that of interface 1 to " +
                                            std::to_string(PISTONFIELD_INTERFACE) + hint);
}

/// A caller's struct with all members that this library knows.
template <class T>
T completed(const T* given, Sizes known, const char* argument) {
    const std::size_t size = required(given, argument).size;
    requireKnown(size, known, argument,
                 std::string("; call pistonfield_") + argument + "_init first");
    T all{};
    std::memcpy(&all, given, size);
    return all;
}

/// Fills as much of a caller's struct as the caller knows.
template <class T>
void initialise(T* given, std::size_t size, T defaults, Sizes known, const char* argument) {
    requireGiven(given, argument);
    requireKnown(size, known, argument);
    defaults.size = size;
    std::memcpy(given, &defaults, size);
}

std::optional<Mode> modeNumbered(std::int32_t number) noexcept {
    if (number < 0 || static_cast<std::size_t>(number) >= modes.size()) return std::nullopt;
    return modes[static_cast<std::size_t>(number)];
}

/// What a function says of a mode, or 0 where there is no such mode.
template <class Value>
Value ofMode(std::int32_t number, Value (*function)(Mode)) noexcept {
    const std::optional<Mode> mode = modeNumbered(number);
    return mode ? function(*mode) : Value{0};
}

Mode requiredMode(std::int32_t number) {
    const std::optional<Mode> mode = modeNumbered(number);
    if (!mode)
        throw InvalidRequest("mode", std::to_string(number) + " is none of 0 to " +
                                         std::to_string(modes.size() - 1));
    return *mode;
}

Tolerance toleranceOf(const pistonfield_request& given) {
    if (given.tolerance_of != PISTONFIELD_LARGEST && given.tolerance_of != PISTONFIELD_LOCAL)
        throw InvalidRequest("tolerance_of",
                             std::to_string(given.tolerance_of) + " is none of 0 to 1");
    return {given.tolerance, static_cast<Tolerance::Of>(given.tolerance_of)};
}

void takeRule(Request& request, const pistonfield_request& given) {
    request.rule.order = given.order;
    // The order says how many numbers the table has, and so is checked before they are read.
    check(request);
    if (given.table != nullptr)
        request.rule.table.assign(given.table, given.table + 2 * std::ptrdiff_t{given.order});
}

bool hasPoints(const pistonfield_request& given) {
    return given.x != nullptr || given.y != nullptr || given.z != nullptr || given.points != 0;
}

void takePoints(Request& request, const pistonfield_request& given) {
    // Before memory is taken for them.
    if (given.tolerance == 0) throw InvalidRequest("points", "a list takes a tolerance");
    if (given.x == nullptr || given.y == nullptr || given.z == nullptr)
        throw InvalidRequest("points", "none of x, y and z may be null");
    if (given.points < 1) throw InvalidRequest("points", "must be 1 or more");
    constexpr std::int64_t most = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(double);
    if (given.points > most)
        throw InvalidRequest("points",
                             std::to_string(given.points) + " positions have no place in memory");
    const auto copied = [&given](const double* positions) {
        return std::vector<double>(positions, positions + given.points);
    };
    request.points = PointList{copied(given.x), copied(given.y), copied(given.z)};
    request.lattice.sizes = {given.points, 1, 1};
}

void takeLattice(Request& request, const pistonfield_request& given) {
    std::copy(std::begin(given.transform), std::end(given.transform),
              request.lattice.transform.begin());
    std::copy(std::begin(given.sizes), std::end(given.sizes), request.lattice.sizes.begin());
}

Request requestOf(const pistonfield_request& given) {
    Request request;
    request.piston = {.width = given.width, .height = given.height};
    request.wave.wavenumber = given.wavenumber;
    if (hasPoints(given))
        takePoints(request, given);
    else
        takeLattice(request, given);
    request.mode = requiredMode(given.mode);
    request.behind = given.behind != 0;
    if (given.tolerance != 0)
        request.tolerance = toleranceOf(given);
    else
        takeRule(request, given);
    return request;
}

pistonfield_request defaultRequest() {
    const Request defaults;
    pistonfield_request request{};
    request.mode = static_cast<std::int32_t>(defaults.mode);
    request.order = defaults.rule.order;
    return request;
}

LatticeBox boxOf(const pistonfield_box* given) {
    const pistonfield_box& box = required(given, "box");
    return {{box.first[0], box.first[1], box.first[2]}, {box.size[0], box.size[1], box.size[2]}};
}

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
        if (wishes.progress != nullptr) watch(wishes.progress, wishes.user);
    }

    const Conduct& get() const noexcept { return conduct; }

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
};

template <class T>
std::uintptr_t addressOf(const T* pointer, const char* argument) {
    requireGiven(pointer, argument);
    const auto address = reinterpret_cast<std::uintptr_t>(pointer);
    if (address % alignof(T) != 0)
        throw InvalidArgument(argument, "is not aligned for its elements");
    return address;
}

/// Where values of a box go, when they can: each has a place of its own in the address space.
template <class T>
Destination<T> destinationOf(T* re, T* im, std::int64_t stride, std::int64_t points) {
    const std::uintptr_t reAddress = addressOf(re, "re");
    const std::uintptr_t imAddress = addressOf(im, "im");
    if (stride < 1) throw InvalidArgument("stride", std::to_string(stride) + " is not 1 or more");
    constexpr std::int64_t most =
        std::numeric_limits<std::ptrdiff_t>::max() / static_cast<std::int64_t>(sizeof(T));
    if (stride > most / points)
        throw InvalidArgument("stride", std::to_string(points) + " values that are " +
                                            std::to_string(stride) +
                                            " elements apart have no place in memory");
    const std::uintptr_t apart =
        reAddress < imAddress ? imAddress - reAddress : reAddress - imAddress;
    const std::uintptr_t step = sizeof(T) * static_cast<std::uintptr_t>(stride);
    if (apart % step == 0 && apart / step < static_cast<std::uintptr_t>(points))
        throw InvalidArgument("im", "has elements that are those of re");
    return {re, im, static_cast<std::ptrdiff_t>(stride)};
}

template <class T>
pistonfield_status compute(const pistonfield_plan* given, const pistonfield_box* givenBox, T* re,
                           T* im, std::int64_t stride, const pistonfield_conduct* conduct,
                           pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const Plan& plan = required(given, "plan").plan;
        const LatticeBox box = boxOf(givenBox);
        // Refuses a box beyond the lattice, whose points may have no number.
        plan.require(box);
        const Destination<T> destination = destinationOf(re, im, stride, box.points());
        plan.compute(box, destination, Watched(conduct).get());
    });
}

}  // namespace

const char* pistonfield_version() noexcept { return PISTONFIELD_VERSION; }

std::int32_t pistonfield_interface() noexcept { return PISTONFIELD_INTERFACE; }

std::int32_t pistonfield_mode_count() noexcept { return static_cast<std::int32_t>(modes.size()); }

const char* pistonfield_mode_name(std::int32_t mode) noexcept {
    const std::optional<Mode> found = modeNumbered(mode);
    return found ? nameOf(*found) : nullptr;
}

std::int32_t pistonfield_mode_called(const char* name) noexcept {
    if (name == nullptr) return -1;
    const std::optional<Mode> found = findMode(name);
    return found ? static_cast<std::int32_t>(*found) : -1;
}

std::int64_t pistonfield_mode_value_bytes(std::int32_t mode) noexcept {
    return ofMode<std::int64_t>(mode, [](Mode of) {
        Request request;
        request.mode = of;
        return request.valueBytes();
    });
}

std::int32_t pistonfield_mode_largest_order(std::int32_t mode) noexcept {
    return ofMode<std::int32_t>(mode, largestOrder);
}

std::int64_t pistonfield_mode_most_points_in_a_row(std::int32_t mode) noexcept {
    return ofMode<std::int64_t>(mode, mostPointsInARow);
}

std::int32_t pistonfield_most_threads() noexcept { return mostThreads; }

pistonfield_status pistonfield_request_init(pistonfield_request* request, std::size_t size,
                                            pistonfield_message* message) noexcept {
    return outcomeOf(message,
                     [&] { initialise(request, size, defaultRequest(), requestSizes, "request"); });
}

pistonfield_status pistonfield_conduct_init(pistonfield_conduct* conduct, std::size_t size,
                                            pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] { initialise(conduct, size, {}, conductSizes, "conduct"); });
}

pistonfield_status pistonfield_plan_create(const pistonfield_request* request,
                                           pistonfield_plan** plan,
                                           pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        required(plan, "plan") = nullptr;
        const auto asked = completed(request, requestSizes, "request");
        pistonfield_plan made{Plan(requestOf(asked))};
        *plan = std::make_unique<pistonfield_plan>(std::move(made)).release();
    });
}

void pistonfield_plan_destroy(pistonfield_plan* plan) noexcept { delete plan; }

pistonfield_status pistonfield_plan_cost(const pistonfield_plan* plan, const pistonfield_box* box,
                                         pistonfield_cost* cost,
                                         pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const Cost taken = required(plan, "plan").plan.cost(boxOf(box));
        required(cost, "cost") = {taken.evaluations, taken.memory, taken.deviceMemory};
    });
}

pistonfield_status pistonfield_plan_accuracy(const pistonfield_plan* plan,
                                             pistonfield_accuracy* accuracy,
                                             pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const Plan& asked = required(plan, "plan").plan;
        requireGiven(accuracy, "accuracy");
        const std::optional<Accuracy> measured = asked.accuracy();
        if (!measured) throw InvalidArgument("plan", "its request has no tolerance");
        *accuracy = {measured->bound, measured->error, measured->evaluations, measured->points};
    });
}

pistonfield_status pistonfield_plan_compute_double(const pistonfield_plan* plan,
                                                   const pistonfield_box* box, double* re,
                                                   double* im, std::int64_t stride,
                                                   const pistonfield_conduct* conduct,
                                                   pistonfield_message* message) noexcept {
    return compute(plan, box, re, im, stride, conduct, message);
}

pistonfield_status pistonfield_plan_compute_float(const pistonfield_plan* plan,
                                                  const pistonfield_box* box, float* re, float* im,
                                                  std::int64_t stride,
                                                  const pistonfield_conduct* conduct,
                                                  pistonfield_message* message) noexcept {
    return compute(plan, box, re, im, stride, conduct, message);
}
