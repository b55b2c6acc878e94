// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/FieldFile.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <stdexcept>
#include <system_error>

#include "run/file/Descriptor.h"
#include "run/file/ReadingGuard.h"
#include "run/file/headCopy.h"
#include "run/file/metadata.h"
#include "run/requestNames.h"

namespace run {

using hdf5::checked;
using hdf5::Dataset;
using hdf5::File;
using hdf5::Properties;
using hdf5::Space;
using hdf5::Type;

namespace {

constexpr const char* magnitudeName = "magnitude";
constexpr const char* entriesName = "slabs";

/// The other name of a dataset, which says of what request and points its values are: the one by
/// which a joined field finds them, so that HDF5 takes no others for them.
std::string boundName(const char* dataset, const Digest::Value& identity) {
    return std::string("/") + dataset + "-" + text(identity);
}

/// Sizes or coordinates in the order of the file, slowest first.
using Extent = std::vector<hsize_t>;

/// @param last of the direction of components, where a point has several; it comes last
Extent extent(const std::array<std::int64_t, 3>& xyz, std::int64_t components, std::int64_t last) {
    Extent extent{static_cast<hsize_t>(xyz[2]), static_cast<hsize_t>(xyz[1]),
                  static_cast<hsize_t>(xyz[0])};
    if (components > 1) extent.push_back(static_cast<hsize_t>(last));
    return extent;
}

Extent extentOf(const std::array<std::int64_t, 3>& sizes, std::int64_t components) {
    return extent(sizes, components, components);
}

Space spaceOf(const std::array<std::int64_t, 3>& sizes, std::int64_t components) {
    const Extent all = extentOf(sizes, components);
    return {H5Screate_simple(static_cast<int>(all.size()), all.data(), nullptr), "a space"};
}

/// The place of a box within another one, from the first point of that on.
Extent beginOf(const LatticeBox& whole, const LatticeBox& box, std::int64_t components) {
    Extent begin = extent(box.first, components, 0);
    const Extent origin = extent(whole.first, components, 0);
    std::transform(begin.begin(), begin.end(), origin.begin(), begin.begin(), std::minus<>());
    return begin;
}

/// The space of a box with another, which lies within it, selected.
Space selected(const LatticeBox& whole, const LatticeBox& box, std::int64_t components) {
    Space space = spaceOf(whole.size, components);
    checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, beginOf(whole, box, components).data(),
                                nullptr, extentOf(box.size, components).data(), nullptr),
            "a box");
    return space;
}

hid_t realType(bool singlePrecision) { return singlePrecision ? H5T_IEEE_F32LE : H5T_IEEE_F64LE; }

Type complexType(bool singlePrecision) {
    const hid_t real = realType(singlePrecision);
    const std::size_t bytes = H5Tget_size(real);
    Type type(H5Tcreate(H5T_COMPOUND, 2 * bytes), "the type of values");
    // The members by which readers know a complex number.
    checked(H5Tinsert(type, "r", 0, real), "the real part");
    checked(H5Tinsert(type, "i", bytes, real), "the imaginary part");
    return type;
}

/// A slab's entry as it is stored.
struct Entry {
    std::uint64_t checksum = 0;
    std::uint64_t seal = 0;  ///< of the other members, the slab's number and the field
    std::uint32_t undefined = 0;
    std::uint32_t finished = 0;

    bool operator==(const Entry&) const = default;
};

Type entryType() {
    Type type(H5Tcreate(H5T_COMPOUND, sizeof(Entry)), "the type of entries");
    const auto insert = [&](const char* member, std::size_t offset, hid_t number) {
        checked(H5Tinsert(type, member, offset, number), member);
    };
    insert("checksum", offsetof(Entry, checksum), H5T_STD_U64LE);
    insert("seal", offsetof(Entry, seal), H5T_STD_U64LE);
    insert("undefined", offsetof(Entry, undefined), H5T_STD_U32LE);
    insert("finished", offsetof(Entry, finished), H5T_STD_U32LE);
    return type;
}

std::uint64_t sealOf(const Entry& entry, std::int64_t slab, const Digest::Value& identity) {
    Digest digest;
    digest.add(identity);
    digest.add(std::array{static_cast<std::uint64_t>(slab), entry.checksum,
                          std::uint64_t{entry.undefined}, std::uint64_t{entry.finished}});
    return digest.value()[0];
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
Properties chunkProperties(const Layout& layout, int deflate, std::int64_t components) {
    Properties properties = datasetProperties();
    const Extent chunk = extentOf(layout.slabSizes, components);
    checked(H5Pset_chunk(properties, static_cast<int>(chunk.size()), chunk.data()), "chunks");
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

Properties virtualProperties(const Layout& layout, const std::vector<JoinedPart>& parts,
                             const char* dataset, std::int64_t components) {
    Properties properties = datasetProperties();
    for (const JoinedPart& part : parts)
        checked(H5Pset_virtual(properties, selected(layout.box, part.box, components),
                               unpatterned(part.file).c_str(),
                               boundName(dataset, part.identity).c_str(),
                               spaceOf(part.box.size, components)),
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

void bound(hid_t access, H5F_libver_t version) {
    checked(H5Pset_libver_bounds(access, version, version), "versions");
}

/// An empty file, in which HDF5 keeps checksums of all that it writes but of values and texts.
File createFile(const std::filesystem::path& path, std::string_view head) {
    const std::string failure = path.string() + " cannot be created";
    const Properties creation(H5Pcreate(H5P_FILE_CREATE), "creation");
    checked(H5Pset_obj_track_times(creation, false), "times");
    checked(H5Pset_userblock(creation, headCopy::room), "room at the beginning");
    // Attributes stay in the root's header, and the header in the first page.
    constexpr unsigned attributes = 1000;
    checked(H5Pset_attr_phase_change(creation, attributes, 0), "attributes");
    constexpr unsigned links = 66;
    constexpr unsigned nameLength = 40;
    checked(H5Pset_est_link_info(creation, links, nameLength), "the header's size");
    const Properties access = accessProperties(std::nullopt);
    // Its beginning is that of an older version: a newer one says there that the file is being
    // written, and after a kill nobody could open it.
    bound(access, H5F_LIBVER_V18);
    File file(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, creation, access), failure);
    Descriptor(path, O_WRONLY).write(head.data(), head.size(), 0);
    file.reset(failure);
    bound(access, H5F_LIBVER_V110);
    return {H5Fopen(path.c_str(), H5F_ACC_RDWR, access), failure};
}

/// Ends the creation of a file.
void finish(File& file, const std::filesystem::path& path) {
    metadata::seal(file);
    file.reset(path.string() + " cannot be written");
}

bool canBeRead(const std::string& name) {
    const hid_t file = H5Fopen(name.c_str(), H5F_ACC_RDONLY, accessProperties(std::nullopt));
    return file >= 0 && H5Fclose(file) >= 0;
}

/// Why a file cannot be opened, in words about this program's files.
[[noreturn]] void failToOpen(const std::string& name, const std::string& reason) {
    const std::optional<headCopy::Whole> whole = headCopy::wholeOf(name);
    if (!whole) {
        const bool isCutOff = reason.find("truncated file") != std::string::npos;
        throw std::runtime_error(
            name + " cannot be opened as HDF5: " + (isCutOff ? "it is cut off" : reason));
    }
    const auto found = static_cast<std::int64_t>(std::filesystem::file_size(name));
    if (found < whole->bytes)
        throw DamagedHead(
            name + " is cut off: " + std::to_string(found) + " of " + std::to_string(whole->bytes) +
            " bytes are there; " +
            (whole->canBeFilled != 0 ? "--resume computes the others" : "compute it anew"));
    throw DamagedHead(name + " is damaged at its beginning; --resume mends it");
}

/// Bytes of the slabs that have points of a box.
std::int64_t bytesAround(const LatticeBox& box, const Layout& layout) {
    std::int64_t bytes = layout.slabBytes();
    for (std::size_t i = 0; i < box.first.size(); ++i) {
        const std::int64_t first = box.first[i] - layout.box.first[i];
        const std::int64_t last = first + box.size[i] - 1;
        bytes *= last / layout.slabSizes[i] - first / layout.slabSizes[i] + 1;
    }
    return bytes;
}

/// The bytes by which the time to open a file is limited.
std::optional<std::int64_t> bytesToOpen(const std::optional<MPI_Comm>& together) {
    // It takes processor time to wait for others.
    if (together) return std::nullopt;
    return 0;
}

File openFile(const std::string& name, FieldFile::Access access,
              const std::optional<MPI_Comm>& together) {
    // To open a pipe would be to wait for whoever writes into it.
    std::error_code none;
    const auto kind = std::filesystem::status(name, none).type();
    if (kind == std::filesystem::file_type::fifo || kind == std::filesystem::file_type::socket ||
        kind == std::filesystem::file_type::character)
        throw std::runtime_error(name + " is a pipe or a device, and no file of a field");
    const ReadingGuard guard(name, bytesToOpen(together));
    const unsigned flags = access == FieldFile::Access::read ? H5F_ACC_RDONLY : H5F_ACC_RDWR;
    const Properties how = accessProperties(together);
    const hid_t id = H5Fopen(name.c_str(), flags, how);
    if (id < 0) {
        const std::string reason = hdf5::reason();
        if (access == FieldFile::Access::write && canBeRead(name))
            throw std::runtime_error(name + " cannot be written: " + reason);
        failToOpen(name, reason);
    }
    File file(id, name);
    H5O_info_t root{};
    if (!together && H5Oget_info(file, &root) < 0) failToOpen(name, hdf5::reason());
    return file;
}

/// The points that a dataset has along each direction.
std::array<std::int64_t, 3> sizesOf(const Dataset& dataset, hid_t type, const char* name,
                                    std::int64_t components) {
    const std::vector<hsize_t> sizes = hdf5::dimensionsOf(dataset, type, name);
    const bool hasComponents =
        components == 1 || (sizes.size() == 4 && sizes.back() == static_cast<hsize_t>(components));
    if (sizes.size() != (components == 1 ? 3 : 4) || !hasComponents)
        throw std::runtime_error(std::string("the dataset '") + name +
                                 "' has another number of dimensions");
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
    const pistonfield::Request& request = layout.request;
    checkRequest(request);
    const auto& [first, size] = layout.box;
    for (std::size_t i = 0; i < size.size(); ++i) {
        if (size[i] < 1 || size[i] > request.lattice.sizes[i] || first[i] < 0 ||
            first[i] > request.lattice.sizes[i] - size[i])
            throw std::runtime_error("its points are not all of its lattice");
        if (layout.slabSizes[i] < 1 || layout.slabSizes[i] > size[i])
            throw std::runtime_error("slab_sizes are not sizes of its slabs");
    }
}

/// The dataset of the slabs' entries, one of each.
Dataset openEntries(hid_t file, std::int64_t count) {
    Dataset entries = openDataset(file, entriesName);
    if (hdf5::dimensionsOf(entries, entryType(), entriesName) !=
        std::vector{static_cast<hsize_t>(count)})
        throw std::runtime_error("it has not one entry for each slab");
    return entries;
}

Properties creationOf(const Dataset& dataset) {
    return {H5Dget_create_plist(dataset), "a dataset's properties"};
}

void requireChunks(const Layout& layout, const Dataset& dataset, std::int64_t components) {
    const Properties creation = creationOf(dataset);
    const Extent expected = extentOf(layout.slabSizes, components);
    const auto rank = static_cast<int>(expected.size());
    Extent chunk(expected.size());
    if (H5Pget_layout(creation) != H5D_CHUNKED ||
        H5Pget_chunk(creation, rank, chunk.data()) != rank || chunk != expected)
        throw std::runtime_error("its slabs are not its chunks");
}

/// A text that HDF5 gives with its length.
template <class Get>
std::string textFrom(Get get) {
    const auto length = checked(get(nullptr, 0), "a part's name");
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    checked(get(text.data(), text.size()), "a part's name");
    text.pop_back();
    return text;
}

/// Other readers find the values by what HDF5 has written down, and this program by the parts.
void requireParts(const Layout& layout, const Dataset& dataset, const char* name,
                  std::int64_t components, const std::vector<JoinedPart>& parts) {
    const Properties creation = creationOf(dataset);
    std::size_t count = 0;
    bool same = H5Pget_layout(creation) == H5D_VIRTUAL &&
                H5Pget_virtual_count(creation, &count) >= 0 && count == parts.size();
    for (std::size_t i = 0; same && i < count; ++i) {
        const Space place(H5Pget_virtual_vspace(creation, i), "a part's place");
        same = textFrom([&](char* text, std::size_t size) {
                   return H5Pget_virtual_filename(creation, i, text, size);
               }) == unpatterned(parts[i].file) &&
               textFrom([&](char* text, std::size_t size) {
                   return H5Pget_virtual_dsetname(creation, i, text, size);
               }) == boundName(name, parts[i].identity) &&
               checked(H5Sextent_equal(place, spaceOf(layout.box.size, components)),
                       "a part's place") > 0 &&
               H5Sget_select_npoints(place) == parts[i].box.points() * components;
        const Extent expected = extent(parts[i].box.first, components, 0);
        const Extent size = extentOf(parts[i].box.size, components);
        Extent first(size.size());
        Extent last(size.size());
        same = same && H5Sget_select_bounds(place, first.data(), last.data()) >= 0;
        for (std::size_t j = 0; j < first.size(); ++j)
            same = same && first[j] == expected[j] && last[j] == expected[j] + size[j] - 1;
    }
    if (!same)
        throw std::runtime_error(std::string("the dataset '") + name +
                                 "' does not lead to its parts");
}

}  // namespace

std::int64_t Layout::slabBytes() const {
    const std::int64_t each = pointBytes() + (magnitude ? std::int64_t{sizeof(float)} : 0);
    return slabSizes[0] * slabSizes[1] * slabSizes[2] * each;
}

Digest::Value digestOf(const std::vector<SlabRecord>& records) {
    std::vector<std::uint64_t> checksums;
    checksums.reserve(records.size());
    for (const SlabRecord& record : records) checksums.push_back(record.checksum);
    Digest digest;
    digest.add(checksums);
    return digest.value();
}

void FieldFile::create(const std::filesystem::path& path, const Layout& layout, int deflate,
                       std::string_view head) {
    File file = createFile(path, head);
    metadata::write(file, layout);
    const Digest::Value identity = metadata::identityOf(layout);
    const auto create = [&](const char* name, hid_t type, std::int64_t components) {
        createDataset(file, name, type, spaceOf(layout.box.size, components),
                      chunkProperties(layout, deflate, components));
        checked(H5Lcreate_soft((std::string("/") + name).c_str(), file,
                               boundName(name, identity).c_str(), H5P_DEFAULT, H5P_DEFAULT),
                name);
    };
    create(nameOf(layout.request.quantity), complexType(layout.request.inSingle()),
           layout.request.components());
    if (layout.magnitude) create(magnitudeName, H5T_IEEE_F32LE, 1);

    const auto count = static_cast<hsize_t>(layout.slabs().count());
    const Properties properties = datasetProperties();
    checked(H5Pset_alloc_time(properties, H5D_ALLOC_TIME_EARLY), "allocation time");
    createDataset(file, entriesName, entryType(),
                  {H5Screate_simple(1, &count, nullptr), "the entries' space"}, properties);
    finish(file, path);
    headCopy::make(path, deflate == 0);
}

void FieldFile::createJoined(const std::filesystem::path& path, const Layout& layout,
                             const std::vector<JoinedPart>& parts, std::string_view head) {
    File file = createFile(path, head);
    metadata::write(file, layout);
    joinedParts::write(file, parts);
    const auto create = [&](const char* name, hid_t type, std::int64_t components,
                            const void* missing) {
        const Properties properties = virtualProperties(layout, parts, name, components);
        checked(H5Pset_fill_value(properties, type, missing), "the fill value");
        createDataset(file, name, type, spaceOf(layout.box.size, components), properties);
    };
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr float floatNan = std::numeric_limits<float>::quiet_NaN();
    constexpr std::array missing{nan, nan};
    constexpr std::array floatMissing{floatNan, floatNan};
    const bool single = layout.request.inSingle();
    const Type type = complexType(single);
    const char* const name = nameOf(layout.request.quantity);
    const std::int64_t components = layout.request.components();
    if (single)
        create(name, type, components, floatMissing.data());
    else
        create(name, type, components, missing.data());
    if (layout.magnitude) create(magnitudeName, H5T_IEEE_F32LE, 1, &floatNan);
    finish(file, path);
}

FieldFile::FieldFile(const std::filesystem::path& path, Access access,
                     std::optional<MPI_Comm> together)
    : name(path.string()), file(openFile(name, access, together)) {
    try {
        const ReadingGuard guard(name, bytesToOpen(together));
        openContents();
        if (access == Access::write) behind.emplace(path);
    } catch (...) {
        // To close it would be to wait for others, who may have failed in nothing.
        if (together) abandon();
        throw;
    }
}

void FieldFile::openContents() {
    metadata::requireOurs(file, name);
    readSoundly(name, [this] {
        metadata::read(file, contents);
        const char* const called = nameOf(contents.request.quantity);
        const std::int64_t components = contents.request.components();
        values = openDataset(file, called);
        valueType = complexType(contents.request.inSingle());
        contents.box.size = sizesOf(values, valueType, called, components);
        contents.magnitude = exists(file, magnitudeName);
        requireSound(contents);
        metadata::requireSealed(file, contents);
        if (contents.magnitude) {
            magnitude = openDataset(file, magnitudeName);
            if (sizesOf(magnitude, H5T_IEEE_F32LE, magnitudeName, 1) != contents.box.size)
                throw std::runtime_error("it has not one magnitude for each value");
        }
        joinedOf = joinedParts::read(file);
        if (joined()) return openParts();
        requireChunks(contents, values, components);
        if (contents.magnitude) requireChunks(contents, magnitude, 1);
        entries = openEntries(file, contents.slabs().count());
    });
}

void FieldFile::openParts() {
    requireParts(contents, values, nameOf(contents.request.quantity), contents.request.components(),
                 joinedOf);
    if (contents.magnitude) requireParts(contents, magnitude, magnitudeName, 1, joinedOf);
}

bool FieldFile::compressed() const {
    return checked(H5Pget_nfilters(creationOf(values)), "filters") > 0;
}

std::vector<SlabRecord> FieldFile::records() const {
    std::vector<Entry> stored(static_cast<std::size_t>(contents.slabs().count()));
    const ReadingGuard guard(name, static_cast<std::int64_t>(stored.size() * sizeof(Entry)));
    checked(H5Dread(entries, entryType(), H5S_ALL, H5S_ALL, H5P_DEFAULT, stored.data()),
            name + ": the slabs' entries cannot be read");
    const Digest::Value identity = metadata::identityOf(contents);
    std::vector<SlabRecord> records;
    records.reserve(stored.size());
    for (const Entry& entry : stored) {
        const auto slab = static_cast<std::int64_t>(records.size());
        const bool sound = entry == Entry{} ||
                           (entry.finished == 1 && entry.seal == sealOf(entry, slab, identity));
        if (sound)
            records.push_back({entry.checksum, entry.finished != 0, entry.undefined});
        else
            records.push_back({0, true, 0, false});
    }
    return records;
}

void FieldFile::record(std::int64_t slab, const SlabRecord& record) {
    Entry entry;
    if (record.finished) {
        entry = {record.checksum, 0, record.undefined, 1};
        entry.seal = sealOf(entry, slab, metadata::identityOf(contents));
    }
    const auto at = static_cast<hsize_t>(slab);
    const hsize_t one = 1;
    const Space where(H5Dget_space(entries), "an entry");
    checked(H5Sselect_hyperslab(where, H5S_SELECT_SET, &at, nullptr, &one, nullptr), "an entry");
    const Space memory(H5Screate_simple(1, &one, nullptr), "an entry");
    errno = 0;  // a failure's number is to be its own
    checked(H5Dwrite(entries, entryType(), memory, where, H5P_DEFAULT, &entry),
            name + " cannot be written");
}

void FieldFile::write(const LatticeBox& box, const void* data, const float* magnitudes) {
    const auto writeTo = [&](const Dataset& dataset, hid_t type, std::int64_t components,
                             const void* from) {
        const Space to = selected(contents.box, box, components);
        errno = 0;  // a failure's number is to be its own
        checked(H5Dwrite(dataset, type, spaceOf(box.size, components), to, H5P_DEFAULT, from),
                name + " cannot be written");
        behind->wrote(box.points() * components * static_cast<std::int64_t>(H5Tget_size(type)));
    };
    writeTo(values, valueType, contents.request.components(), data);
    if (magnitudes != nullptr) writeTo(magnitude, H5T_IEEE_F32LE, 1, magnitudes);
}

void FieldFile::read(const LatticeBox& box, void* data, float* magnitudes) const {
    readInto(box, box, data);
    if (magnitudes == nullptr) return;
    const ReadingGuard guard(name, bytesAround(box, contents));
    checked(H5Dread(magnitude, H5T_IEEE_F32LE, spaceOf(box.size, 1), selected(contents.box, box, 1),
                    H5P_DEFAULT, magnitudes),
            name + " cannot be read");
}

void FieldFile::readInto(const LatticeBox& whole, const LatticeBox& piece, void* data) const {
    const ReadingGuard guard(name, bytesAround(piece, contents));
    const std::int64_t components = contents.request.components();
    checked(H5Dread(values, valueType, selected(whole, piece, components),
                    selected(contents.box, piece, components), H5P_DEFAULT, data),
            name + " cannot be read");
}

Provenance FieldFile::provenance() const {
    Provenance provenance;
    const ReadingGuard guard(name, 0);
    readSoundly(name, [&] { provenance = metadata::readProvenance(file); });
    return provenance;
}

void FieldFile::setProvenance(const Provenance& provenance) {
    try {
        metadata::writeProvenance(file, provenance);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(name + " cannot be written: " + error.what());
    }
    metadata::seal(file);
    checked(H5Fflush(file, H5F_SCOPE_GLOBAL), name + " cannot be written");
}

void FieldFile::setIncomplete() {
    metadata::writeIncomplete(file);
    metadata::seal(file);
    checked(H5Fflush(file, H5F_SCOPE_GLOBAL), name + " cannot be written");
}

void FieldFile::close() {
    entries = {};
    magnitude = {};
    values = {};
    file.reset(name + " cannot be closed");
    if (behind) behind->finish();
}

void FieldFile::abandon() noexcept {
    entries.abandon();
    magnitude.abandon();
    values.abandon();
    file.abandon();
}

}  // namespace run
