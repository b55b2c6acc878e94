// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "capi/pistonfield.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
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

#include "capi/elements.h"
#include "capi/outcome.h"
#include "core/limits.h"
#include "field/Plan.h"
#include "parallel/threads.h"

struct pistonfield_plan {
    pistonfield::Plan plan;
    std::string engine;
};

namespace {

using namespace pistonfield;

/// A struct grows at its end: the sizes that it has had.
using Sizes = std::span<const std::size_t>;

constexpr std::array<std::size_t, 5> requestSizes{200, 216, 248, 280, 320};
constexpr std::array<std::size_t, 2> conductSizes{32, 40};
static_assert(offsetof(pistonfield_request, tolerance) == requestSizes[0]);
static_assert(offsetof(pistonfield_request, x) == requestSizes[1]);
static_assert(offsetof(pistonfield_request, array) == requestSizes[2]);
static_assert(offsetof(pistonfield_request, attenuation) == requestSizes[3]);
static_assert(sizeof(pistonfield_request) == requestSizes.back());
static_assert(offsetof(pistonfield_conduct, to_next_field) == conductSizes[0]);
static_assert(sizeof(pistonfield_conduct) == conductSizes.back());

static_assert(PISTONFIELD_CPU == static_cast<int>(Mode::cpu));
static_assert(PISTONFIELD_CPUSP == static_cast<int>(Mode::cpusp));
static_assert(PISTONFIELD_CUDA == static_cast<int>(Mode::cuda));
static_assert(PISTONFIELD_CUDADP == static_cast<int>(Mode::cudadp));

static_assert(PISTONFIELD_LARGEST == static_cast<int>(Tolerance::Of::largest));
static_assert(PISTONFIELD_LOCAL == static_cast<int>(Tolerance::Of::local));

static_assert(PISTONFIELD_RIGID == static_cast<int>(Baffle::rigid));
static_assert(PISTONFIELD_SOFT == static_cast<int>(Baffle::soft));
static_assert(PISTONFIELD_FREE == static_cast<int>(Baffle::free));

static_assert(PISTONFIELD_PRESSURE == static_cast<int>(Quantity::pressure));
static_assert(PISTONFIELD_VELOCITY == static_cast<int>(Quantity::velocity));
static_assert(PISTONFIELD_INTENSITY == static_cast<int>(Quantity::intensity));

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
    request.points = pointsFrom(given.x, given.y, given.z, given.points);
    request.lattice.sizes = {given.points, 1, 1};
}

void takeLattice(Request& request, const pistonfield_request& given) {
    std::copy(std::begin(given.transform), std::end(given.transform),
              request.lattice.transform.begin());
    std::copy(std::begin(given.sizes), std::end(given.sizes), request.lattice.sizes.begin());
}

bool hasArray(const pistonfield_request& given) {
    return given.array != nullptr || given.elements != 0 || given.weights != nullptr ||
           given.weightings != 0;
}

std::vector<std::complex<double>> weightsOf(const pistonfield_request& given) {
    std::vector<std::complex<double>> weights(static_cast<std::size_t>(given.elements), 1);
    if (given.weights == nullptr) {
        if (given.weightings != 0 && given.weightings != 1)
            throw InvalidRequest("weights", "null is one weighting, all 1");
        return weights;
    }
    constexpr auto most = static_cast<std::int64_t>(Array::mostWeightings);
    if (given.weightings < 1 || given.weightings > most)
        throw InvalidRequest("weightings", std::to_string(given.weightings) +
                                               " are not within 1 to " + std::to_string(most));
    weights.resize(weights.size() * static_cast<std::size_t>(given.weightings));
    for (std::size_t i = 0; i < weights.size(); ++i)
        weights[i] = {given.weights[2 * i], given.weights[2 * i + 1]};
    return weights;
}

OutlineEdge edgeOf(const pistonfield_edge& given) {
    const PlaneVector from{given.from[0], given.from[1]};
    const PlaneVector to{given.to[0], given.to[1]};
    if (given.sweep == 0) return StraightEdge{from, to};
    const double x = from[0] - to[0];
    const double y = from[1] - to[1];
    return Arc{to, std::hypot(x, y), std::atan2(y, x), given.sweep};
}

std::shared_ptr<const Outline> outlineOf(const pistonfield_outline& given) {
    constexpr auto most = static_cast<std::int64_t>(Array::mostEdges);
    if (given.edges == nullptr || given.count < 1 || given.count > most)
        throw InvalidRequest("outlines", "each must have 1 to " + std::to_string(most) + " edges");
    Outline outline;
    for (std::int64_t i = 0; i < given.count; ++i) {
        if (i == 0 || given.edges[i].loop != given.edges[i - 1].loop) outline.loops.emplace_back();
        outline.loops.back().push_back(edgeOf(given.edges[i]));
    }
    return std::make_shared<const Outline>(std::move(outline));
}

bool hasOutlines(const pistonfield_request& given) {
    return given.outlines != nullptr || given.outline_of != nullptr || given.outline_count != 0;
}

void takeOutlines(Array& array, const pistonfield_request& given) {
    constexpr auto most = static_cast<std::int64_t>(Array::mostShapes);
    if (given.outlines == nullptr || given.outline_of == nullptr)
        throw InvalidRequest("outlines", "none of outlines and outline_of may be null");
    if (given.outline_count < 1 || given.outline_count > most)
        throw InvalidRequest("outlines", std::to_string(given.outline_count) +
                                             " are not within 1 to " + std::to_string(most));
    std::vector<std::shared_ptr<const Outline>> outlines;
    std::transform(given.outlines, given.outlines + given.outline_count,
                   std::back_inserter(outlines), outlineOf);
    for (std::size_t i = 0; i < array.elements.size(); ++i) {
        const std::int64_t number = given.outline_of[i];
        if (number < -1 || number >= given.outline_count)
            throw InvalidRequest("outline_of", "element " + std::to_string(i + 1) +
                                                   " has the number " + std::to_string(number) +
                                                   ", which is no outline's");
        if (number >= 0) array.elements[i].outline = outlines[static_cast<std::size_t>(number)];
    }
}

template <class Value>
Value valueNumbered(std::int32_t number, Value last, const char* field) {
    const auto most = static_cast<std::int32_t>(last);
    if (number < 0 || number > most)
        throw InvalidRequest(field,
                             std::to_string(number) + " is none of 0 to " + std::to_string(most));
    return static_cast<Value>(number);
}

Array arrayOf(const pistonfield_request& given) {
    // Before memory is taken for it.
    if (given.tolerance == 0) throw InvalidRequest("elements", "an array takes a tolerance");
    Array array;
    array.elements = elementsFrom(given.array, given.elements);
    array.weights = weightsOf(given);
    if (hasOutlines(given)) takeOutlines(array, given);
    return array;
}

void takeSource(Request& request, const pistonfield_request& given) {
    if (hasArray(given))
        request.array = arrayOf(given);
    else if (hasOutlines(given))
        throw InvalidRequest("outlines", "are those of an array's elements");
    else
        request.piston = {.width = given.width, .height = given.height};
}

Request requestOf(const pistonfield_request& given) {
    Request request;
    takeSource(request, given);
    request.wave = {given.wavenumber, given.attenuation};
    request.baffle = valueNumbered(given.baffle, Baffle::free, "baffle");
    request.quantity = valueNumbered(given.quantity, Quantity::intensity, "quantity");
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
        fieldsApart = wishes.to_next_field;
        if (wishes.progress != nullptr) watch(wishes.progress, wishes.user);
    }

    const Conduct& get() const noexcept { return conduct; }

    /// Elements from a weighting's values to those of the next one, or 0.
    std::int64_t toNextField() const noexcept { return fieldsApart; }

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
    std::int64_t fieldsApart = 0;
};

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
        pistonfield_plan made{Plan(requestOf(asked)), {}};
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
