// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/description.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <vector>

#include "run/attributes.h"
#include "run/revision.h"

namespace run::description {

using hdf5::checked;
using hdf5::Dataset;
using hdf5::Space;

namespace {

constexpr const char* creator = "pistonfield-run";
constexpr std::int64_t format = 1;
constexpr const char* tableName = "table";

/// A dataset, because attributes have at most 64 kB.
void writeTable(hid_t file, const std::vector<double>& table) {
    if (table.empty()) return;
    const std::array<hsize_t, 2> sizes{table.size() / 2, 2};
    const Space space(H5Screate_simple(2, sizes.data(), nullptr), tableName);
    const Dataset dataset(H5Dcreate2(file, tableName, H5T_NATIVE_DOUBLE, space, H5P_DEFAULT,
                                     H5P_DEFAULT, H5P_DEFAULT),
                          tableName);
    checked(H5Dwrite(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, table.data()),
            tableName);
}

std::vector<double> readTable(hid_t file) {
    if (checked(H5Lexists(file, tableName, H5P_DEFAULT), tableName) == 0) return {};
    const Dataset dataset(H5Dopen2(file, tableName, H5P_DEFAULT), tableName);
    const Space space(H5Dget_space(dataset), tableName);
    const auto numbers = checked(H5Sget_simple_extent_npoints(space), tableName);
    std::vector<double> table(static_cast<std::size_t>(numbers));
    checked(H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, table.data()),
            tableName);
    return table;
}

/// The format of a file that this program wrote, none of another.
std::optional<std::vector<std::int64_t>> formatOf(hid_t file) {
    try {
        if (attributes::readText(file, "creator") != creator) return std::nullopt;
        return attributes::readIntegers(file, "format");
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

template <class T, std::size_t n>
std::array<T, n> readArray(const std::vector<T>& values, const char* name) {
    if (values.size() != n) throw std::runtime_error(std::string(name) + " has another size");
    std::array<T, n> array{};
    std::copy(values.begin(), values.end(), array.begin());
    return array;
}

Request readRequest(hid_t file) {
    Request request;
    request.transform =
        readArray<double, 16>(attributes::readReals(file, "transform"), "transform");
    request.sizes = readArray<std::int64_t, 3>(attributes::readIntegers(file, "sizes"), "sizes");
    request.l = attributes::readReal(file, "l");
    request.s = attributes::readReal(file, "s");
    request.k = attributes::readReal(file, "k");
    request.mode = attributes::readText(file, "mode");
    const std::int64_t order = attributes::readInteger(file, "order");
    // What does not fit is refused as what is too large.
    request.order = static_cast<int>(std::clamp<std::int64_t>(order, 0, INT32_MAX));
    request.table = readTable(file);
    return request;
}

}  // namespace

void requireOurs(hid_t file, const std::string& name) {
    const auto found = formatOf(file);
    if (!found) throw std::runtime_error(name + " is not a file of " + creator);
    if (*found != std::vector{format})
        throw std::runtime_error(name + " has a format that this version does not know");
}

void write(hid_t file, const Layout& layout) {
    const Request& request = layout.request;
    attributes::write(file, "creator", creator);
    attributes::write(file, "version", revision());
    attributes::write(file, "format", format);
    attributes::write(file, "transform", request.transform, {4, 4});
    attributes::write(file, "sizes", request.sizes, {3});
    attributes::write(file, "l", request.l);
    attributes::write(file, "s", request.s);
    attributes::write(file, "k", request.k);
    attributes::write(file, "mode", request.mode);
    attributes::write(file, "order", std::int64_t{request.order});
    writeTable(file, request.table);
    attributes::write(file, "first_point", layout.box.first, {3});
    attributes::write(file, "slab_sizes", layout.slabSizes, {3});
    attributes::write(file, "conventions",
                      "p = k/(2 pi) * integral over the piston of exp(-j*k*R)/R dS, for the time "
                      "dependence exp(+j*omega*t); times j*rho*c*u0 it is the pressure in Pa");
    attributes::write(file, "units",
                      "transform, l and s in one unit of length, k in radians per that unit, "
                      "pressure and magnitude without unit, seconds in s, peak_memory in bytes");
    attributes::write(file, "axes",
                      "pressure[iz][iy][ix] is at transform * (ix, iy, iz, 1), divided by the "
                      "transform's last element; indices count from first_point");
}

void read(hid_t file, Layout& layout) {
    layout.request = readRequest(file);
    layout.box.first =
        readArray<std::int64_t, 3>(attributes::readIntegers(file, "first_point"), "first_point");
    layout.slabSizes =
        readArray<std::int64_t, 3>(attributes::readIntegers(file, "slab_sizes"), "slab_sizes");
}

void writeAccount(hid_t file, const Account& account) {
    constexpr std::size_t hostRoom = 255;
    constexpr std::size_t timeRoom = 20;
    attributes::write(file, "host", account.host, hostRoom);
    attributes::write(file, "started", account.started, timeRoom);
    attributes::write(file, "finished", account.finished, timeRoom);
    attributes::write(file, "seconds", account.seconds);
    attributes::write(file, "processes", account.processes);
    attributes::write(file, "peak_memory", account.peakMemory);
    attributes::write(file, "complete", std::int64_t{account.complete ? 1 : 0});
}

Account readAccount(hid_t file) {
    return {attributes::readText(file, "host"),
            attributes::readText(file, "started"),
            attributes::readText(file, "finished"),
            attributes::readReal(file, "seconds"),
            attributes::readInteger(file, "processes"),
            attributes::readInteger(file, "peak_memory"),
            attributes::readInteger(file, "complete") != 0};
}

}  // namespace run::description
