// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/FieldFile.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <stdexcept>

#include "run/description.h"

namespace run {

using hdf5::checked;
using hdf5::Dataset;
using hdf5::File;
using hdf5::Properties;
using hdf5::Space;
using hdf5::Type;

namespace {

constexpr const char* pressureName = "pressure";
constexpr const char* magnitudeName = "magnitude";
constexpr const char* entriesName = "slabs";

/// Sizes or coordinates in the order of the file, slowest first.
using Extent = std::array<hsize_t, 3>;

Extent extent(const std::array<std::int64_t, 3>& xyz) {
    return {static_cast<hsize_t>(xyz[2]), static_cast<hsize_t>(xyz[1]),
            static_cast<hsize_t>(xyz[0])};
}

Space spaceOf(const std::array<std::int64_t, 3>& sizes) {
    return {H5Screate_simple(3, extent(sizes).data(), nullptr), "a space"};
}

/// A space of a file with a box of it selected.
Space selected(const Layout& layout, const LatticeBox& box) {
    Space space = spaceOf(layout.box.size);
    Extent begin = extent(box.first);
    const Extent origin = extent(layout.box.first);
    std::transform(begin.begin(), begin.end(), origin.begin(), begin.begin(), std::minus<>());
    checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, begin.data(), nullptr,
                                extent(box.size).data(), nullptr),
            "a box");
    return space;
}

Type complexType(bool singlePrecision) {
    const hid_t real = singlePrecision ? H5T_NATIVE_FLOAT : H5T_NATIVE_DOUBLE;
    const std::size_t bytes = H5Tget_size(real);
    Type type(H5Tcreate(H5T_COMPOUND, 2 * bytes), "the type of values");
    // The members by which readers know a complex number.
    checked(H5Tinsert(type, "r", 0, real), "the real part");
    checked(H5Tinsert(type, "i", bytes, real), "the imaginary part");
    return type;
}

Type recordType() {
    Type type(H5Tcreate(H5T_COMPOUND, sizeof(SlabRecord)), "the type of entries");
    checked(H5Tinsert(type, "checksum", offsetof(SlabRecord, checksum), H5T_NATIVE_UINT64),
            "checksum");
    checked(H5Tinsert(type, "finished", offsetof(SlabRecord, finished), H5T_NATIVE_UINT8),
            "finished");
    return type;
}

Properties accessProperties(const std::optional<MPI_Comm>& together) {
    Properties access(H5Pcreate(H5P_FILE_ACCESS), "access");
    if (together) checked(H5Pset_fapl_mpio(access, *together, MPI_INFO_NULL), "access together");
    // Writers keep each other out by a lock of their own; see `FileLock`.
    checked(H5Pset_file_locking(access, false, true), "locking");
    // Nothing is kept back: what is written is in the file when the write returns.
    checked(H5Pset_cache(access, 0, 0, 0, 0), "caches");
    checked(H5Pset_sieve_buf_size(access, 0), "buffers");
    checked(H5Pset_alignment(access, 65536, 4096), "alignment");
    return access;
}

Properties datasetProperties() {
    Properties properties(H5Pcreate(H5P_DATASET_CREATE), "a dataset");
    checked(H5Pset_obj_track_times(properties, false), "times");
    return properties;
}

/// Where every value has its place from the beginning, or with compression as it is written.
Properties chunkProperties(const Layout& layout, int deflate) {
    Properties properties = datasetProperties();
    checked(H5Pset_chunk(properties, 3, extent(layout.slabSizes).data()), "chunks");
    checked(H5Pset_fill_time(properties, H5D_FILL_TIME_NEVER), "fill time");
    if (deflate == 0) {
        checked(H5Pset_alloc_time(properties, H5D_ALLOC_TIME_EARLY), "allocation time");
    } else {
        checked(H5Pset_shuffle(properties), "shuffle");
        checked(H5Pset_deflate(properties, static_cast<unsigned>(deflate)), "deflate");
    }
    return properties;
}

/// A path as HDF5 takes it for that of a part: a percent sign alone would begin a pattern.
std::string unpatterned(const std::filesystem::path& path) {
    std::string text;
    for (const char c : path.string()) text += c == '%' ? "%%" : std::string(1, c);
    return text;
}

/// And back.
std::string plain(const std::string& pattern) {
    std::string text;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern.compare(i, 2, "%%") == 0) ++i;
        text += pattern[i];
    }
    return text;
}

Properties virtualProperties(const Layout& layout, std::span<const FieldFile::Source> sources,
                             const char* dataset) {
    Properties properties = datasetProperties();
    for (const FieldFile::Source& source : sources)
        checked(H5Pset_virtual(properties, selected(layout, source.box),
                               unpatterned(source.path).c_str(), dataset, spaceOf(source.box.size)),
                "a part");
    return properties;
}

Dataset createDataset(hid_t file, const char* name, hid_t type, const Space& space,
                      const Properties& properties) {
    return {H5Dcreate2(file, name, type, space, H5P_DEFAULT, properties, H5P_DEFAULT), name};
}

Dataset openDataset(hid_t file, const char* name) {
    return {H5Dopen2(file, name, H5P_DEFAULT), std::string("the dataset '") + name + "'"};
}

bool exists(hid_t file, const char* name) {
    return checked(H5Lexists(file, name, H5P_DEFAULT), name) > 0;
}

File createFile(const std::filesystem::path& path) {
    const Properties creation(H5Pcreate(H5P_FILE_CREATE), "creation");
    checked(H5Pset_obj_track_times(creation, false), "times");
    return {H5Fcreate(path.c_str(), H5F_ACC_TRUNC, creation, accessProperties(std::nullopt)),
            path.string() + " cannot be created"};
}

File openFile(const std::string& name, FieldFile::Access access,
              const std::optional<MPI_Comm>& together) {
    const unsigned flags = access == FieldFile::Access::read ? H5F_ACC_RDONLY : H5F_ACC_RDWR;
    return {H5Fopen(name.c_str(), flags, accessProperties(together)),
            name + " cannot be opened as HDF5"};
}

std::array<std::int64_t, 3> sizesOf(const Dataset& dataset) {
    const Space space(H5Dget_space(dataset), "a dataset's space");
    Extent sizes{};
    if (H5Sget_simple_extent_ndims(space) != 3 ||
        H5Sget_simple_extent_dims(space, sizes.data(), nullptr) != 3)
        throw std::runtime_error("the dataset 'pressure' has another number of dimensions");
    return {static_cast<std::int64_t>(sizes[2]), static_cast<std::int64_t>(sizes[1]),
            static_cast<std::int64_t>(sizes[0])};
}

/// Names the file where something in it is not as it is written.
template <class Read>
void readSoundly(const std::string& name, Read read) {
    try {
        read();
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(name + " is damaged: " + error.what());
    }
}

/// Other code relies on these being what they are in every file that is written.
void requireSound(const Layout& layout) {
    const Request& request = layout.request;
    check(request);
    if (!request.table.empty() &&
        request.table.size() != 2 * static_cast<std::size_t>(request.order))
        throw std::runtime_error("table has another size");
    const auto& [first, size] = layout.box;
    for (std::size_t i = 0; i < size.size(); ++i) {
        if (size[i] < 1 || size[i] > request.sizes[i] || first[i] < 0 ||
            first[i] > request.sizes[i] - size[i])
            throw std::runtime_error("its points are not all of its lattice");
        if (layout.slabSizes[i] < 1 || layout.slabSizes[i] > size[i])
            throw std::runtime_error("slab_sizes are not sizes of its slabs");
    }
}

/// The dataset of the slabs' entries, one of each.
Dataset openEntries(hid_t file, std::int64_t count) {
    Dataset entries = openDataset(file, entriesName);
    const Space space(H5Dget_space(entries), "the entries' space");
    if (H5Sget_simple_extent_npoints(space) != count)
        throw std::runtime_error("it has not one entry for each slab");
    return entries;
}

Layout readLayout(hid_t file, const Dataset& pressure) {
    Layout layout;
    description::read(file, layout);
    layout.box.size = sizesOf(pressure);
    layout.magnitude = exists(file, magnitudeName);
    requireSound(layout);
    return layout;
}

Properties creationOf(const Dataset& dataset) {
    return {H5Dget_create_plist(dataset), "a dataset's properties"};
}

void requireChunks(const Layout& layout, const Dataset& pressure) {
    Extent chunk{};
    if (H5Pget_chunk(creationOf(pressure), 3, chunk.data()) != 3 ||
        chunk != extent(layout.slabSizes))
        throw std::runtime_error("its slabs are not its chunks");
}

}  // namespace

std::int64_t Layout::slabBytes() const {
    const std::int64_t each = request.valueBytes() + (magnitude ? std::int64_t{sizeof(float)} : 0);
    return slabSizes[0] * slabSizes[1] * slabSizes[2] * each;
}

void FieldFile::create(const std::filesystem::path& path, const Layout& layout, int deflate) {
    File file = createFile(path);
    description::write(file, layout);
    description::writeAccount(file, {});
    const Space points = spaceOf(layout.box.size);
    const Properties chunks = chunkProperties(layout, deflate);
    createDataset(file, pressureName, complexType(layout.request.singlePrecision()), points,
                  chunks);
    if (layout.magnitude) createDataset(file, magnitudeName, H5T_NATIVE_FLOAT, points, chunks);

    const auto count = static_cast<hsize_t>(layout.slabs().count());
    const Properties properties = datasetProperties();
    checked(H5Pset_alloc_time(properties, H5D_ALLOC_TIME_EARLY), "allocation time");
    createDataset(file, entriesName, recordType(),
                  {H5Screate_simple(1, &count, nullptr), "the entries' space"}, properties);
    file.reset(path.string() + " cannot be written");
}

void FieldFile::createJoined(const std::filesystem::path& path, const Layout& layout,
                             std::span<const Source> sources) {
    File file = createFile(path);
    description::write(file, layout);
    description::writeAccount(file, {});
    const Space points = spaceOf(layout.box.size);
    const auto create = [&](const char* name, hid_t type, const void* missing) {
        const Properties properties = virtualProperties(layout, sources, name);
        checked(H5Pset_fill_value(properties, type, missing), "the fill value");
        createDataset(file, name, type, points, properties);
    };
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr float floatNan = std::numeric_limits<float>::quiet_NaN();
    constexpr std::array missing{nan, nan};
    constexpr std::array floatMissing{floatNan, floatNan};
    const bool single = layout.request.singlePrecision();
    const Type type = complexType(single);
    if (single)
        create(pressureName, type, floatMissing.data());
    else
        create(pressureName, type, missing.data());
    if (layout.magnitude) create(magnitudeName, H5T_NATIVE_FLOAT, &floatNan);
    file.reset(path.string() + " cannot be written");
}

FieldFile::FieldFile(const std::filesystem::path& path, Access access,
                     std::optional<MPI_Comm> together)
    : name(path.string()), file(openFile(name, access, together)) {
    try {
        openContents();
        if (access == Access::write) behind.emplace(path);
    } catch (...) {
        // To close it would be to wait for others, who may have failed in nothing.
        if (together) abandon();
        throw;
    }
}

void FieldFile::openContents() {
    description::requireOurs(file, name);
    readSoundly(name, [this] {
        pressure = openDataset(file, pressureName);
        contents = readLayout(file, pressure);
        valueType = complexType(contents.request.singlePrecision());
        if (contents.magnitude) magnitude = openDataset(file, magnitudeName);
        if (joined()) return;
        requireChunks(contents, pressure);
        entries = openEntries(file, contents.slabs().count());
    });
}

bool FieldFile::joined() const { return H5Pget_layout(creationOf(pressure)) == H5D_VIRTUAL; }

std::vector<std::filesystem::path> FieldFile::sources() const {
    const Properties creation = creationOf(pressure);
    std::size_t count = 0;
    checked(H5Pget_virtual_count(creation, &count), "the parts");
    std::vector<std::filesystem::path> paths;
    for (std::size_t i = 0; i < count; ++i) {
        const auto length = checked(H5Pget_virtual_filename(creation, i, nullptr, 0), "a part");
        std::string part(static_cast<std::size_t>(length) + 1, '\0');
        checked(H5Pget_virtual_filename(creation, i, part.data(), part.size()), "a part");
        part.pop_back();
        paths.push_back(std::filesystem::path(name).parent_path() / plain(part));
    }
    return paths;
}

bool FieldFile::compressed() const {
    return checked(H5Pget_nfilters(creationOf(pressure)), "filters") > 0;
}

std::vector<SlabRecord> FieldFile::records() const {
    std::vector<SlabRecord> records(static_cast<std::size_t>(contents.slabs().count()));
    checked(H5Dread(entries, recordType(), H5S_ALL, H5S_ALL, H5P_DEFAULT, records.data()),
            name + ": the slabs' entries cannot be read");
    return records;
}

void FieldFile::record(std::int64_t slab, const SlabRecord& entry) {
    const auto at = static_cast<hsize_t>(slab);
    const hsize_t one = 1;
    const Space where(H5Dget_space(entries), "an entry");
    checked(H5Sselect_hyperslab(where, H5S_SELECT_SET, &at, nullptr, &one, nullptr), "an entry");
    const Space memory(H5Screate_simple(1, &one, nullptr), "an entry");
    errno = 0;  // a failure's number is to be its own
    checked(H5Dwrite(entries, recordType(), memory, where, H5P_DEFAULT, &entry),
            name + " cannot be written");
}

void FieldFile::write(const LatticeBox& box, const void* values, const float* magnitudes) {
    const Space to = selected(contents, box);
    const Space from = spaceOf(box.size);
    const auto writeTo = [&](const Dataset& dataset, hid_t type, const void* data) {
        errno = 0;  // a failure's number is to be its own
        checked(H5Dwrite(dataset, type, from, to, H5P_DEFAULT, data), name + " cannot be written");
        behind->wrote(box.points() * static_cast<std::int64_t>(H5Tget_size(type)));
    };
    writeTo(pressure, valueType, values);
    if (magnitudes != nullptr) writeTo(magnitude, H5T_NATIVE_FLOAT, magnitudes);
}

void FieldFile::read(const LatticeBox& box, void* values, float* magnitudes) const {
    const Space from = selected(contents, box);
    const Space to = spaceOf(box.size);
    checked(H5Dread(pressure, valueType, to, from, H5P_DEFAULT, values), name + " cannot be read");
    if (magnitudes != nullptr)
        checked(H5Dread(magnitude, H5T_NATIVE_FLOAT, to, from, H5P_DEFAULT, magnitudes),
                name + " cannot be read");
}

Account FieldFile::account() const {
    Account account;
    readSoundly(name, [&] { account = description::readAccount(file); });
    return account;
}

void FieldFile::setAccount(const Account& account) {
    description::writeAccount(file, account);
    checked(H5Fflush(file, H5F_SCOPE_GLOBAL), name + " cannot be written");
}

void FieldFile::close() {
    entries = {};
    magnitude = {};
    pressure = {};
    file.reset(name + " cannot be closed");
    if (behind) behind->finish();
}

void FieldFile::abandon() noexcept {
    entries.abandon();
    magnitude.abandon();
    pressure.abandon();
    file.abandon();
}

}  // namespace run
