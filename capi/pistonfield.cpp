// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "capi/pistonfield.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "capi/Watched.h"
#include "capi/devices.h"
#include "capi/outcome.h"
#include "capi/requests.h"
#include "capi/structSizes.h"
#include "core/limits.h"
#include "field/Plan.h"
#include "parallel/threads.h"

struct pistonfield_plan {
    pistonfield::Plan plan;
    std::string engine;
};

namespace {

using namespace pistonfield;

/// What a function says of a mode, or 0 where there is no such mode.
template <class Value>
Value ofMode(std::int32_t number, Value (*function)(Mode)) noexcept {
    const std::optional<Mode> mode = modeNumbered(number);
    return mode ? function(*mode) : Value{0};
}

LatticeBox boxOf(const pistonfield_box* given) {
    const pistonfield_box& box = required(given, "box");
    return {{box.first[0], box.first[1], box.first[2]}, {box.size[0], box.size[1], box.size[2]}};
}

template <class T>
std::uintptr_t addressOf(const T* pointer, const char* argument) {
    requireGiven(pointer, argument);
    const auto address = reinterpret_cast<std::uintptr_t>(pointer);
    if (address % alignof(T) != 0)
        throw InvalidArgument(argument, "is not aligned for its elements");
    return address;
}

/// Values of a box in an array: of so many fields so many points each, in elements or bytes.
struct Layout {
    std::uintptr_t points;
    std::uintptr_t fields;
    std::uintptr_t stride;
    std::uintptr_t toNextField;
};

/// How values of a box are laid out, where numbers of a type have so many places.
/// @throws InvalidArgument where there are not that many
Layout layoutOf(std::int64_t points, std::int64_t fields, std::int64_t stride,
                std::int64_t toNextField, std::int64_t places) {
    if (stride < 1) throw InvalidArgument("stride", std::to_string(stride) + " is not 1 or more");
    if (toNextField < 0)
        throw InvalidArgument("to_next_field", std::to_string(toNextField) + " is not 0 or more");
    const bool isDense = toNextField == 0;
    const std::int64_t inARow = isDense ? points * fields : points;
    std::int64_t taken = 0;
    if (__builtin_mul_overflow(inARow, stride, &taken) || taken > places)
        throw InvalidArgument("stride", std::to_string(inARow) + " values that are " +
                                            std::to_string(stride) +
                                            " elements apart have no place in memory");
    const std::int64_t apart = isDense ? points * stride : toNextField;
    const std::int64_t others = isDense ? 0 : fields - 1;
    std::int64_t before = 0;
    if (__builtin_mul_overflow(others, apart, &before) || before > places - taken)
        throw InvalidArgument("to_next_field", std::to_string(fields) + " fields that are " +
                                                   std::to_string(apart) +
                                                   " elements apart have no place in memory");
    return {static_cast<std::uintptr_t>(points), static_cast<std::uintptr_t>(fields),
            static_cast<std::uintptr_t>(stride), static_cast<std::uintptr_t>(apart)};
}

/// Whether two fields that start so far apart have a place in common.
bool meet(const Layout& layout, std::uintptr_t apart) {
    return apart % layout.stride == 0 && apart / layout.stride < layout.points;
}

/// Whether two values of an array have the same place.
bool meetsItself(const Layout& layout) {
    for (std::uintptr_t field = 1; field < layout.fields; ++field)
        if (meet(layout, field * layout.toNextField)) return true;
    return false;
}

/// Whether two arrays that start so far apart have a place in common.
bool meetEachOther(const Layout& layout, std::uintptr_t apart) {
    for (std::uintptr_t field = 0; field < layout.fields; ++field) {
        const std::uintptr_t further = field * layout.toNextField;
        if (meet(layout, apart + further) ||
            meet(layout, apart < further ? further - apart : apart - further))
            return true;
    }
    return false;
}

/// Where values of a box go, when they can: each has a place of its own in the address space.
template <class T>
Destination<T> destinationOf(T* re, T* im, std::int64_t stride, std::int64_t toNextField,
                             const LatticeBox& box, std::int64_t fields) {
    const std::uintptr_t reAddress = addressOf(re, "re");
    const std::uintptr_t imAddress = addressOf(im, "im");
    constexpr std::int64_t places =
        std::numeric_limits<std::ptrdiff_t>::max() / static_cast<std::int64_t>(sizeof(T));
    const Layout inElements = layoutOf(box.points(), fields, stride, toNextField, places);
    if (meetsItself(inElements))
        throw InvalidArgument("to_next_field", "puts values of two weightings into one place");
    const Layout inBytes{inElements.points, inElements.fields, inElements.stride * sizeof(T),
                         inElements.toNextField * sizeof(T)};
    if (meetEachOther(inBytes,
                      reAddress < imAddress ? imAddress - reAddress : reAddress - imAddress))
        throw InvalidArgument("im", "has elements that are those of re");
    return {re, im, static_cast<std::ptrdiff_t>(stride),
            static_cast<std::ptrdiff_t>(inElements.toNextField)};
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
        const Watched watched(conduct);
        const Destination<T> destination =
            destinationOf(re, im, stride, watched.toNextField(), box, plan.request().fields());
        plan.compute(box, destination, watched.get());
    });
}

std::complex<double> finiteFactor(const double* parts) {
    if (!std::isfinite(parts[0]) || !std::isfinite(parts[1]))
        throw InvalidArgument("factor", "both of its parts must be finite");
    return {parts[0], parts[1]};
}

template <class T>
pistonfield_status computeOn(const pistonfield_plan* given, const pistonfield_box* givenBox,
                             T* values, const pistonfield_device* givenDevice, const double* factor,
                             const pistonfield_conduct* conduct,
                             pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        const Plan& plan = required(given, "plan").plan;
        const LatticeBox box = boxOf(givenBox);
        plan.require(box);
        static_cast<void>(addressOf(values, "values"));
        const CallersDevice device = deviceOf(givenDevice);
        const Watched watched(conduct);
        if (watched.toNextField() != 0)
            throw InvalidArgument("to_next_field", "has to be 0 in the memory of a device");
        constexpr std::int64_t places =
            std::numeric_limits<std::ptrdiff_t>::max() / static_cast<std::int64_t>(sizeof(T));
        const Layout layout = layoutOf(box.points(), plan.request().fields(), 2, 0, places);
        requireOnDevice(device, values, layout.points * layout.fields * sizeof(std::complex<T>),
                        "values");
        DeviceDestination<T> destination{reinterpret_cast<std::complex<T>*>(values), device};
        if (factor != nullptr) destination.factor = finiteFactor(factor);
        plan.computeOnDevice(box, destination, watched.get());
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
    return pistonfield_plan_create_watched(request, nullptr, plan, message);
}

pistonfield_status pistonfield_plan_create_watched(const pistonfield_request* request,
                                                   const pistonfield_conduct* conduct,
                                                   pistonfield_plan** plan,
                                                   pistonfield_message* message) noexcept {
    return outcomeOf(message, [&] {
        required(plan, "plan") = nullptr;
        const Watched watched(conduct);
        pistonfield_plan made{Plan(requestOf(request), watched.get()), {}};
        made.engine = made.plan.engine();
        *plan = std::make_unique<pistonfield_plan>(std::move(made)).release();
    });
}

void pistonfield_plan_destroy(pistonfield_plan* plan) noexcept { delete plan; }

const char* pistonfield_plan_engine(const pistonfield_plan* plan) noexcept {
    return plan != nullptr ? plan->engine.c_str() : nullptr;
}

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

pistonfield_status pistonfield_plan_compute_double_on(const pistonfield_plan* plan,
                                                      const pistonfield_box* box, double* values,
                                                      const pistonfield_device* device,
                                                      const double* factor,
                                                      const pistonfield_conduct* conduct,
                                                      pistonfield_message* message) noexcept {
    return computeOn(plan, box, values, device, factor, conduct, message);
}

pistonfield_status pistonfield_plan_compute_float_on(const pistonfield_plan* plan,
                                                     const pistonfield_box* box, float* values,
                                                     const pistonfield_device* device,
                                                     const double* factor,
                                                     const pistonfield_conduct* conduct,
                                                     pistonfield_message* message) noexcept {
    return computeOn(plan, box, values, device, factor, conduct, message);
}
