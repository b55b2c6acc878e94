// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/metadata.h"

#include <algorithm>
#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "run/file/arrayDatasets.h"
#include "run/file/attributes.h"
#include "run/file/joinedParts.h"
#include "run/file/outlineDataset.h"
#include "run/file/revision.h"
#include "run/requestNames.h"
#include "run/shapedPiston.h"

namespace run::metadata {

using hdf5::checked;
using hdf5::Dataset;
using hdf5::Space;
using pistonfield::Accuracy;

namespace {

constexpr const char* creator = "pistonfield-run";
constexpr std::int64_t ruleFormat = 2;
/// Of fields with a tolerance, so that programs that know none refuse them.
constexpr std::int64_t toleranceFormat = 3;
/// Of fields of arrays, which have a tolerance too; likewise.
constexpr std::int64_t arrayFormat = 4;
/// Of fields, maybe of arrays, in a medium with losses or in another baffle than a rigid one, or of
/// pistons of other shapes; likewise.
constexpr std::int64_t contourFormat = 5;
/// Of velocities and intensities, and of arrays whose elements have outlines; likewise.
constexpr std::int64_t quantityFormat = 6;
constexpr const char* tableName = "table";
constexpr const char* digestName = "digest";

/// An attribute of numbers, and its sizes.
struct Numbers {
    const char* name;
    attributes::Dimensions dimensions;
};

// All that a file says, in the order in which the digest takes it.
const std::vector<Numbers>& reals() {
    static const std::vector<Numbers> all{
        {"transform", {4, 4}}, {"l", {}}, {"s", {}}, {"k", {}}, {"seconds", {}}};
    return all;
}

const std::vector<Numbers>& integers() {
    static const std::vector<Numbers> all{
        {"format", {}},       {"sizes", {3}},      {"order", {}},
        {"first_point", {3}}, {"slab_sizes", {3}}, {"complete", {}},
        {"processes", {}},    {"peak_memory", {}}, {"undefined", {}}};
    return all;
}

constexpr std::array texts{"creator", "version", "identity", "mode",    "conventions",
                           "units",   "axes",    "host",     "started", "finished"};

// What a file says besides where the field has a tolerance.
constexpr std::array toleranceReals{"tolerance", "error_bound", "error", "evaluations"};
constexpr std::array toleranceIntegers{"behind", "error_points"};
constexpr const char* relativeName = "relative";

// Where it is that of an array, or of a piston with an outline.
constexpr const char* engineName = "engine";

// And where the format is `contourFormat` or more.
constexpr const char* attenuationName = "attenuation";
constexpr const char* baffleName = "baffle";

// And where it is `quantityFormat`.
constexpr const char* quantityName = "quantity";

/// Whether the format is `quantityFormat`.
bool takesQuantity(const pistonfield::Request& request) {
    return request.quantity != pistonfield::Quantity::pressure ||
           (hasElements(request) && arrayDatasets::haveOutlines(request.array->elements));
}

std::int64_t formatFor(const pistonfield::Request& request) {
    if (takesQuantity(request)) return quantityFormat;
    if (takesContours(request)) return contourFormat;
    if (request.array) return arrayFormat;
    return request.tolerance ? toleranceFormat : ruleFormat;
}

bool hasQuantity(hid_t file) { return attributes::readInteger(file, "format") >= quantityFormat; }

bool hasContours(hid_t file) { return attributes::readInteger(file, "format") >= contourFormat; }

bool hasArray(hid_t file) {
    return attributes::readInteger(file, "format") == arrayFormat ||
           (hasContours(file) && arrayDatasets::areIn(file));
}

bool hasOutline(hid_t file) { return hasContours(file) && outlineDataset::isIn(file); }

bool hasEngine(hid_t file) { return hasArray(file) || hasOutline(file); }

bool hasTolerance(hid_t file) { return attributes::readInteger(file, "format") != ruleFormat; }

/// The rule as files have it: none where a tolerance decides.
pistonfield::Rule ruleOf(const pistonfield::Request& request) {
    if (request.tolerance) return {.order = 0, .table = {}};
    return request.rule;
}

std::vector<double> readTable(hid_t file, std::int64_t order) {
    if (checked(H5Lexists(file, tableName, H5P_DEFAULT), tableName) == 0) return {};
    const Dataset dataset(H5Dopen2(file, tableName, H5P_DEFAULT), tableName);
    const std::vector<hsize_t> sizes{static_cast<hsize_t>(order), 2};
    if (hdf5::dimensionsOf(dataset, H5T_IEEE_F64LE, tableName) != sizes)
        throw std::runtime_error("table has another size");
    std::vector<double> table(static_cast<std::size_t>(2 * order));
    checked(H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, table.data()),
            tableName);
    return table;
}

/// Whether a file was written before texts had any length.
bool isOfFirstFormat(hid_t file) {
    const hdf5::Attribute attribute(H5Aopen(file, "creator", H5P_DEFAULT), "creator");
    hdf5::Type type(H5Tcopy(H5T_C_S1), "the type of texts");
    std::array<char, 16> text{};
    checked(H5Tset_size(type, text.size()), "the size of texts");
    const hdf5::Type stored(H5Aget_type(attribute), "creator");
    const Space space(H5Aget_space(attribute), "creator");
    return checked(H5Tequal(stored, type), "creator") > 0 && hdf5::dimensionsOf(space).empty() &&
           H5Aread(attribute, type, text.data()) >= 0 && std::string(text.data()) == creator;
}

/// The format of a file that this program wrote, none of another.
std::optional<std::int64_t> formatOf(hid_t file) {
    try {
        if (!isOfFirstFormat(file) && attributes::readText(file, "creator") != creator)
            return std::nullopt;
        return attributes::readInteger(file, "format");
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

template <class T, std::size_t n>
std::array<T, n> arrayOf(const std::vector<T>& values) {
    std::array<T, n> array{};
    std::copy(values.begin(), values.end(), array.begin());
    return array;
}

std::array<std::int64_t, 3> readThree(hid_t file, const char* name) {
    return arrayOf<std::int64_t, 3>(attributes::readIntegers(file, name, {3}));
}

pistonfield::Request readRequest(hid_t file) {
    pistonfield::Request request;
    request.lattice.transform =
        arrayOf<double, 16>(attributes::readReals(file, "transform", {4, 4}));
    request.lattice.sizes = readThree(file, "sizes");
    request.piston.height = attributes::readReal(file, "l");
    request.piston.width = attributes::readReal(file, "s");
    request.wave.wavenumber = attributes::readReal(file, "k");
    request.mode = pistonfield::modeCalled(attributes::readText(file, "mode"));
    if (hasTolerance(file)) {
        request.tolerance = {attributes::readReal(file, "tolerance"),
                             relativeCalled(attributes::readText(file, relativeName))};
        request.behind = attributes::readInteger(file, "behind") != 0;
        if (hasArray(file)) request.array = arrayDatasets::read(file);
        if (hasOutline(file)) request.array = shapedPiston(outlineDataset::read(file));
        if (hasContours(file)) {
            request.wave.attenuation = attributes::readReal(file, attenuationName);
            request.baffle = baffleCalled(attributes::readText(file, baffleName));
        }
        if (hasQuantity(file))
            request.quantity = quantityCalled(attributes::readText(file, quantityName));
        return request;
    }
    const std::int64_t order = attributes::readInteger(file, "order");
    // What does not fit is refused as what is too large.
    request.rule.order = static_cast<int>(std::clamp<std::int64_t>(order, 0, INT32_MAX));
    request.rule.table = readTable(file, request.rule.order);
    return request;
}

void writeTolerance(hid_t file, const pistonfield::Request& request) {
    attributes::write(file, "tolerance", request.tolerance->value);
    attributes::write(file, relativeName, std::string(nameOf(request.tolerance->of)));
    attributes::write(file, "behind", std::int64_t{request.behind ? 1 : 0});
}

void writeAccuracy(hid_t file, const Accuracy& accuracy) {
    attributes::write(file, "error_bound", accuracy.bound);
    attributes::write(file, "error", accuracy.error);
    attributes::write(file, "evaluations", accuracy.evaluations);
    attributes::write(file, "error_points", accuracy.points);
}

/// None where it was not measured yet.
std::optional<Accuracy> readAccuracy(hid_t file) {
    if (!hasTolerance(file)) return std::nullopt;
    const Accuracy accuracy{
        attributes::readReal(file, "error_bound"), attributes::readReal(file, "error"),
        attributes::readReal(file, "evaluations"), attributes::readInteger(file, "error_points")};
    if (accuracy.points == 0) return std::nullopt;
    return accuracy;
}

void addTolerance(hid_t file, Digest& digest) {
    for (const char* name : toleranceReals) digest.add(attributes::readReals(file, name));
    for (const char* name : toleranceIntegers) digest.add(attributes::readIntegers(file, name));
    digest.add(attributes::readText(file, relativeName));
}

void addContours(const pistonfield::Request& request, Digest& digest) {
    digest.add(std::array{request.wave.attenuation});
    digest.add(nameOf(request.baffle));
    if (takesQuantity(request)) digest.add(nameOf(request.quantity));
}

/// What radiates in place of a rectangle.
void writeSource(hid_t file, const pistonfield::Request& request) {
    if (const pistonfield::Outline* outline = shapeOf(request))
        return outlineDataset::write(file, *outline);
    arrayDatasets::write(file, *request.array);
}

/// The same.
void addSource(const pistonfield::Request& request, Digest& digest) {
    if (const pistonfield::Outline* outline = shapeOf(request))
        return digest.add(outlineDataset::rowsOf(*outline));
    const pistonfield::Array& array = *request.array;
    digest.add(arrayDatasets::rowsOf(array.elements));
    if (arrayDatasets::haveOutlines(array.elements)) {
        digest.add(arrayDatasets::outlineRowsOf(array.elements));
        digest.add(arrayDatasets::outlineOf(array.elements));
    }
    std::vector<double> weights;
    for (const std::complex<double>& weight : array.weights)
        weights.insert(weights.end(), {weight.real(), weight.imag()});
    digest.add(weights);
}

Digest::Value digestOf(hid_t file, const pistonfield::Request& request) {
    Digest digest;
    for (const Numbers& each : reals())
        digest.add(attributes::readReals(file, each.name, each.dimensions));
    for (const Numbers& each : integers())
        digest.add(attributes::readIntegers(file, each.name, each.dimensions));
    for (const char* name : texts) digest.add(attributes::readText(file, name));
    const std::int64_t magnitude =
        checked(H5Lexists(file, "magnitude", H5P_DEFAULT), "the magnitude");
    digest.add(std::span(&magnitude, 1));
    digest.add(request.rule.table);
    if (hasTolerance(file)) addTolerance(file, digest);
    if (takesContours(request)) addContours(request, digest);
    if (request.array) {
        addSource(request, digest);
        digest.add(attributes::readText(file, engineName));
    }
    for (const JoinedPart& part : joinedParts::read(file)) {
        digest.add(part.file);
        digest.add(part.box.first);
        digest.add(part.box.size);
        digest.add(part.identity);
        digest.add(part.values);
    }
    return digest.value();
}

/// The pressure of a piston or of an element that is driven by 1, over j*rho*c*u0.
std::string pressureOf(const pistonfield::Request& request) {
    const std::string integral =
        std::string("integral over the ") + (hasElements(request) ? "element" : "piston") + " of " +
        (takesContours(request) ? "exp(-j*(k - j*attenuation)*R)/R dS" : "exp(-j*k*R)/R dS");
    switch (request.baffle) {
        case pistonfield::Baffle::rigid:
            return "k/(2 pi) * " + integral;
        case pistonfield::Baffle::soft:
            return "j/(2 pi) * derivative along its normal of the " + integral;
        case pistonfield::Baffle::free:
            break;
    }
    return "1/(4 pi) * (k + j * derivative along its normal) of the " + integral;
}

/// What a file's values are of p, and what gives them a unit.
std::string quantityOf(const pistonfield::Request& request) {
    switch (request.quantity) {
        case pistonfield::Quantity::pressure:
            break;
        case pistonfield::Quantity::velocity:
            return "; velocity is v = -grad p / k, times u0 the particle velocity in m/s";
        case pistonfield::Quantity::intensity:
            return "; intensity is j * p * conj(v), of v = -grad p / k; times rho*c*|u0|^2/2 it is "
                   "in W/m^2, its real part the active and its imaginary part the reactive one";
    }
    return "";
}

std::string conventionsOf(const pistonfield::Request& request) {
    return std::string("p = ") +
           (hasElements(request) ? "sum over the elements of weight * " : "") +
           pressureOf(request) +
           ", for the time dependence exp(+j*omega*t); times j*rho*c*u0 it is the pressure in Pa" +
           quantityOf(request);
}

std::string axesOf(const pistonfield::Request& request) {
    const std::string at =
        " is at transform * (ix, iy, iz, 1), divided by the transform's last element; indices "
        "count from first_point";
    const std::string name = nameOf(request.quantity);
    if (request.components() == 1) return name + "[iz][iy][ix]" + at;
    return name +
           "[iz][iy][ix][0, 1, 2], the components along x, y and z of the frame of these "
           "positions," +
           at;
}

std::string unitsOf(const pistonfield::Request& request) {
    const bool inMetres = hasElements(request);
    const std::string unit = inMetres ? "m" : "that unit";
    const char* lengths = "transform, l and s in one unit of length";
    if (inMetres)
        lengths =
            "transform and elements (width, height, centre, directions of width and height) in m";
    else if (request.array)
        lengths = "transform and outline in one unit of length, angles in radians";
    return lengths + (", k in radians per " + unit) +
           (takesContours(request) ? ", attenuation in Np per " + unit : "") + ", " +
           nameOf(request.quantity) +
           " and magnitude without unit, seconds in s, peak_memory in bytes";
}

}  // namespace

void requireOurs(hid_t file, const std::string& name) {
    const auto found = formatOf(file);
    if (!found) throw std::runtime_error(name + " is not a file of " + creator);
    if (*found < ruleFormat || *found > quantityFormat)
        throw std::runtime_error(name + " has the format " + std::to_string(*found) +
                                 ", and this version reads " + std::to_string(ruleFormat) + " to " +
                                 std::to_string(quantityFormat) + " alone");
}

Digest::Value identityOf(const Layout& layout) {
    const pistonfield::Request& request = layout.request;
    const pistonfield::Rule rule = ruleOf(request);
    const std::int64_t order = rule.order;
    Digest digest;
    digest.add(request.lattice.transform);
    digest.add(std::array{request.piston.height, request.piston.width, request.wave.wavenumber});
    digest.add(request.lattice.sizes);
    digest.add(layout.box.first);
    digest.add(layout.box.size);
    digest.add(nameOf(request.mode));
    digest.add(std::span(&order, 1));
    digest.add(rule.table);
    if (request.tolerance) {
        digest.add(std::array{request.tolerance->value});
        digest.add(nameOf(request.tolerance->of));
        digest.add(std::array{std::int64_t{request.behind ? 1 : 0}});
    }
    if (takesContours(request)) addContours(request, digest);
    if (request.array) addSource(request, digest);
    return digest.value();
}

void write(hid_t file, const Layout& layout) {
    const pistonfield::Request& request = layout.request;
    const pistonfield::Rule rule = ruleOf(request);
    attributes::write(file, "creator", std::string(creator));
    attributes::write(file, "version", revision());
    attributes::write(file, "format", formatFor(request));
    attributes::write(file, "identity", text(identityOf(layout)));
    attributes::write(file, "transform", request.lattice.transform, {4, 4});
    attributes::write(file, "sizes", request.lattice.sizes, {3});
    attributes::write(file, "l", request.piston.height);
    attributes::write(file, "s", request.piston.width);
    attributes::write(file, "k", request.wave.wavenumber);
    attributes::write(file, "mode", std::string(nameOf(request.mode)));
    attributes::write(file, "order", std::int64_t{rule.order});
    // A dataset, because attributes have at most 64 kB.
    if (!rule.table.empty()) hdf5::writeRows(file, tableName, rule.table, 2);
    if (request.tolerance) writeTolerance(file, request);
    if (request.array) {
        writeSource(file, request);
        attributes::write(file, engineName, std::string());
    }
    if (takesContours(request)) {
        attributes::write(file, attenuationName, request.wave.attenuation);
        attributes::write(file, baffleName, std::string(nameOf(request.baffle)));
    }
    if (takesQuantity(request))
        attributes::write(file, quantityName, std::string(nameOf(request.quantity)));
    attributes::write(file, "first_point", layout.box.first, {3});
    attributes::write(file, "slab_sizes", layout.slabSizes, {3});
    attributes::write(file, "conventions", conventionsOf(request));
    attributes::write(file, "units", unitsOf(request));
    attributes::write(file, "axes", axesOf(request));
    for (const char* name : {"host", "started", "finished"})
        attributes::write(file, name, std::string());
    attributes::write(file, "seconds", 0.0);
    attributes::write(file, "processes", std::int64_t{1});
    attributes::write(file, "peak_memory", std::int64_t{0});
    attributes::write(file, "undefined", std::int64_t{0});
    attributes::write(file, "complete", std::int64_t{0});
    if (request.tolerance) writeAccuracy(file, {});
}

void read(hid_t file, Layout& layout) {
    layout.request = readRequest(file);
    layout.box.first = readThree(file, "first_point");
    layout.slabSizes = readThree(file, "slab_sizes");
}

void writeProvenance(hid_t file, const Provenance& provenance) {
    std::vector<std::pair<const char*, std::string>> changed;
    const auto change = [&](const char* name, const std::string& text) {
        if (attributes::readText(file, name) != text) changed.emplace_back(name, text);
    };
    change("host", provenance.host);
    change("started", provenance.started);
    change("finished", provenance.finished);
    if (hasEngine(file)) change(engineName, provenance.engine);
    attributes::replace(file, changed);
    attributes::write(file, "seconds", provenance.seconds);
    attributes::write(file, "processes", provenance.processes);
    attributes::write(file, "peak_memory", provenance.peakMemory);
    attributes::write(file, "undefined", provenance.undefined);
    attributes::write(file, "complete", std::int64_t{provenance.complete ? 1 : 0});
    if (hasTolerance(file)) writeAccuracy(file, provenance.accuracy.value_or(Accuracy{}));
}

void writeIncomplete(hid_t file) { attributes::write(file, "complete", std::int64_t{0}); }

Provenance readProvenance(hid_t file) {
    return {attributes::readText(file, "host"),
            attributes::readText(file, "started"),
            attributes::readText(file, "finished"),
            attributes::readReal(file, "seconds"),
            attributes::readInteger(file, "processes"),
            attributes::readInteger(file, "peak_memory"),
            attributes::readInteger(file, "complete") != 0,
            attributes::readInteger(file, "undefined"),
            readAccuracy(file),
            hasEngine(file) ? attributes::readText(file, engineName) : ""};
}

void seal(hid_t file) {
    attributes::write(file, digestName, digestOf(file, readRequest(file)), {2});
}

void requireSealed(hid_t file, const Layout& layout) {
    const std::vector<std::uint64_t> stored = attributes::readUnsigned(file, digestName, {2});
    const Digest::Value found = digestOf(file, layout.request);
    if (!std::equal(stored.begin(), stored.end(), found.begin()) ||
        attributes::readText(file, "identity") != text(identityOf(layout)))
        throw std::runtime_error(
            "what it says of its field is not what this program has written there");
}

}  // namespace run::metadata
