// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/FieldFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>

#include "run/file/attributes.h"
#include "run/file/headCopy.h"
#include "run/file/metadata.h"
#include "tests/run/FieldFiles.h"
#include "tests/run/NoMoreFiles.h"
#include "tests/support/RandomPoints.h"
#include "tests/support/Refused.h"

namespace {

using run::FieldFile;
using run::Layout;
using run::Provenance;
using run::SlabRecord;
using run::hdf5::Dataset;
using run::hdf5::Space;
using Access = FieldFile::Access;

using pistonfield::Accuracy;
using pistonfield::Tolerance;

void expectSame(const Layout& a, const Layout& b) {
    EXPECT_EQ(a.request, b.request);
    EXPECT_EQ(a.box, b.box);
    EXPECT_EQ(a.slabSizes, b.slabSizes);
    EXPECT_EQ(a.magnitude, b.magnitude);
}

template <class T>
void writePattern(FieldFile& file, const LatticeBox& box) {
    const Pattern<T> pattern(box);
    file.write(box, pattern.values.data(),
               file.layout().magnitude ? pattern.magnitudes.data() : nullptr);
}

template <class T>
void writeAll(FieldFile& file) {
    const run::Slabs slabs = file.layout().slabs();
    for (std::int64_t i = 0; i < slabs.count(); ++i) {
        writePattern<T>(file, slabs.slab(i));
        file.record(i, {0x9E3779B97F4A7C15U * static_cast<std::uint64_t>(i + 1), true});
    }
}

template <class T>
Pattern<T> readPattern(const FieldFile& file, const LatticeBox& box) {
    Pattern<T> pattern({});
    pattern.values.resize(static_cast<std::size_t>(box.points()));
    pattern.magnitudes.resize(pattern.values.size());
    file.read(box, pattern.values.data(), pattern.magnitudes.data());
    return pattern;
}

LatticeBox randomBox(Random& random, const LatticeBox& whole) {
    LatticeBox box;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto before = random.below(static_cast<std::size_t>(whole.size.at(i)));
        const auto rest = static_cast<std::size_t>(whole.size.at(i)) - before;
        box.first.at(i) = whole.first.at(i) + static_cast<std::int64_t>(before);
        box.size.at(i) = static_cast<std::int64_t>(1 + random.below(rest));
    }
    return box;
}

// --- what is said of the field

TEST_F(FieldFiles, KeepsItsLayout) {
    for (const char* mode : {"cpu", "cpusp", "cuda"})
        for (const bool magnitude : {true, false}) {
            const Layout layout = smallLayout(mode, magnitude);
            FieldFile::create(path, layout);
            const FieldFile file(path, Access::read);
            expectSame(file.layout(), layout);
            EXPECT_FALSE(file.joined() || file.compressed());
        }
}

TEST_F(FieldFiles, KeepsTheTableOfTheLargestOrder) {
    Layout layout = smallLayout();
    layout.request.rule.order = 16383;
    for (int i = 0; i < 2 * 16383; ++i) layout.request.rule.table.push_back(1 / (1.5 + i));
    FieldFile::create(path, layout);
    expectSame(FieldFile(path, Access::read).layout(), layout);
}

TEST_F(FieldFiles, KeepsATolerance) {
    for (const char* mode : {"cpu", "cpusp"})
        for (const Tolerance::Of of : {Tolerance::Of::largest, Tolerance::Of::local})
            for (const bool behind : {false, true}) {
                const Layout layout = tolerantLayout({1.1e-5, of}, behind, mode);
                FieldFile::create(path, layout);
                expectSame(FieldFile(path, Access::read).layout(), layout);
            }
}

TEST_F(FieldFiles, KeepsAnArray) {
    FieldFile::create(path, arrayLayout());
    expectSame(FieldFile(path, Access::read).layout(), arrayLayout());
}

TEST_F(FieldFiles, HasAnIdentityForEachArray) {
    std::vector<Layout> layouts(6, arrayLayout());
    layouts[1].request.array->weights[1] += 1e-9;
    layouts[2].request.array->elements[0].piston.width *= 1.25;
    layouts[3].request.array->elements[0].pose.centre[2] -= 1e-9;
    layouts[4].request.array->elements[1].pose = {};
    layouts[5].request.array.reset();
    std::set<run::Digest::Value> identities;
    for (const Layout& layout : layouts) identities.insert(run::metadata::identityOf(layout));
    EXPECT_EQ(identities.size(), layouts.size());
}

TEST_F(FieldFiles, KeepsLossesAndABaffle) {
    for (const pistonfield::Baffle baffle :
         {pistonfield::Baffle::rigid, pistonfield::Baffle::soft, pistonfield::Baffle::free})
        for (Layout layout : {lossyLayout(), arrayLayout()}) {
            layout.request.wave.attenuation = 0.1;
            layout.request.baffle = baffle;
            FieldFile::create(path, layout);
            expectSame(FieldFile(path, Access::read).layout(), layout);
        }
}

TEST_F(FieldFiles, KeepsAnOutline) {
    const std::vector<pistonfield::Outline> outlines{
        pistonfield::discOutline(0.3), pistonfield::ringOutline(0.1, 1.0 / 3),
        pistonfield::sectorOutline(0.1, 0.2, -0.7, 2.1),
        pistonfield::polygonOutline({{0, 0}, {0.1, 0.2}, {0.3, -1.0 / 3}}),
        pistonfield::polygonOutline({{-1, -1}, {1, -1}, {0, 1}}, {{{-.1, 0}, {.1, 0}, {0, .1}}})};
    std::set<run::Digest::Value> identities;
    for (const pistonfield::Outline& outline : outlines) {
        const Layout layout = shapedLayout(outline);
        FieldFile::create(path, layout);
        expectSame(FieldFile(path, Access::read).layout(), layout);
        identities.insert(run::metadata::identityOf(layout));
    }
    EXPECT_EQ(identities.size(), outlines.size());
}

TEST_F(FieldFiles, KeepsElementsWithOutlines) {
    std::vector<Layout> layouts(4, shapedLayout(pistonfield::ringOutline(0.1, 1.0 / 3)));
    std::set<run::Digest::Value> identities;
    for (std::size_t i = 0; i < layouts.size(); ++i) {
        pistonfield::Array& array = *layouts[i].request.array;
        const pistonfield::Element ring = array.elements.front();
        array.elements = {ring, arrayLayout().request.array->elements.front(), ring};
        array.elements[2].outline = std::make_shared<const pistonfield::Outline>(
            pistonfield::discOutline(i == 1 ? 0.2 : 0.3));
        if (i == 2) std::swap(array.elements[0], array.elements[2]);
        if (i == 3) array.elements[2] = ring;
        array.weights = {1, {2, 0.5}, 3};
        FieldFile::create(path, layouts[i]);
        const FieldFile file(path, Access::read);
        expectSame(file.layout(), layouts[i]);
        identities.insert(run::metadata::identityOf(layouts[i]));
    }
    EXPECT_EQ(identities.size(), layouts.size());
}

TEST_F(FieldFiles, KeepsAQuantityAndItsComponents) {
    std::set<run::Digest::Value> identities;
    for (const pistonfield::Quantity quantity :
         {pistonfield::Quantity::pressure, pistonfield::Quantity::velocity,
          pistonfield::Quantity::intensity}) {
        Layout layout = lossyLayout();
        layout.request.quantity = quantity;
        FieldFile::create(path, layout);
        FieldFile file(path, Access::write);
        expectSame(file.layout(), layout);
        identities.insert(run::metadata::identityOf(layout));
        // A box of values, each of another size, goes to its place and back.
        const LatticeBox box{{layout.box.first[0] + 1, layout.box.first[1], layout.box.first[2]},
                             {2, 2, 1}};
        std::vector<std::complex<double>> values(
            static_cast<std::size_t>(box.points() * layout.request.components()));
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = {static_cast<double>(i), -1.0 / static_cast<double>(i + 1)};
        file.write(box, values.data(), nullptr);
        std::vector<std::complex<double>> found(values.size());
        file.read(box, found.data(), nullptr);
        EXPECT_EQ(found, values);
    }
    EXPECT_EQ(identities.size(), 3);
}

TEST_F(FieldFiles, HasAnIdentityForEachMediumAndBaffle) {
    std::vector<Layout> layouts(5, lossyLayout());
    layouts[0] = tolerantLayout();
    layouts[1].request.wave.attenuation += 1e-16;
    layouts[2].request.wave.attenuation = 0;
    layouts[3].request.baffle = pistonfield::Baffle::free;
    std::set<run::Digest::Value> identities;
    for (const Layout& layout : layouts) identities.insert(run::metadata::identityOf(layout));
    EXPECT_EQ(identities.size(), layouts.size());
}

/// To programs that know no tolerance, too, which take no other format than 2.
TEST_F(FieldFiles, HasAFormatOfItsOwnWithATolerance) {
    const auto numberIn = [&](const char* name) {
        const run::hdf5::File file(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), "file");
        return run::attributes::readInteger(file, name);
    };
    FieldFile::create(path, smallLayout());
    EXPECT_EQ(numberIn("format"), 2);
    EXPECT_EQ(numberIn("order"), 6);
    FieldFile::create(path, tolerantLayout());
    EXPECT_EQ(numberIn("format"), 3);
    EXPECT_EQ(numberIn("order"), 0);
    FieldFile::create(path, arrayLayout());
    EXPECT_EQ(numberIn("format"), 4);
    FieldFile::create(path, lossyLayout());
    EXPECT_EQ(numberIn("format"), 5);
}

TEST_F(FieldFiles, HasAnIdentityForEachTolerance) {
    const std::vector<Layout> layouts{
        smallLayout(),
        tolerantLayout(),
        tolerantLayout({1.0000000000000002e-4}),
        tolerantLayout({.of = Tolerance::Of::local}),
        tolerantLayout({}, true),
        tolerantLayout({}, false, "cpusp"),
    };
    std::set<run::Digest::Value> identities;
    for (const Layout& layout : layouts) identities.insert(run::metadata::identityOf(layout));
    EXPECT_EQ(identities.size(), layouts.size());
    // A rule means nothing beside a tolerance.
    Layout another = tolerantLayout();
    another.request.rule.order = 77;
    EXPECT_EQ(run::metadata::identityOf(another), run::metadata::identityOf(tolerantLayout()));
}

/// As files that were written before there were tolerances have it.
TEST_F(FieldFiles, HasTheIdentityThatItHadWithoutTolerances) {
    EXPECT_EQ(run::text(run::metadata::identityOf(smallLayout())),
              "5f006e654a84c814f5b14a582935c87e");
    EXPECT_EQ(run::text(run::metadata::identityOf(smallLayout("cuda"))),
              "5de70b833508d00caa6128e3ee7a4c05");
}

TEST_F(FieldFiles, KeepsTheBoxOfAPart) {
    Layout layout = smallLayout();
    layout.box = {{0, 0, 2}, {7, 5, 2}};
    FieldFile::create(path, layout);
    expectSame(FieldFile(path, Access::read).layout(), layout);
}

TEST_F(FieldFiles, CountsTheBytesOfItsSlabs) {
    // Eight slabs of 4 x 3 x 2 points, though those at the far ends are smaller.
    EXPECT_EQ(smallLayout("cpu", true).slabBytes(), 24 * (16 + 4));
    EXPECT_EQ(smallLayout("cpusp", false).slabBytes(), 24 * 8);
    EXPECT_EQ(smallLayout("cpu", true).bytes(), 8 * 24 * 20);
}

TEST_F(FieldFiles, CountsMoreBytesThan63Bits) {
    Layout layout = smallLayout();
    layout.request.lattice.sizes = {1 << 29, 1 << 29, 1};
    layout.box = layout.request.lattice.box();
    layout.slabSizes = {1 << 12, 1 << 6, 1};
    EXPECT_EQ(layout.bytes(), std::ldexp(20, 58));
    layout.request.lattice.sizes[2] = layout.box.size[2] = 2;
    EXPECT_EQ(layout.bytes(), std::ldexp(20, 59));
}

// --- values

template <class T>
void expectValuesKept(const std::filesystem::path& path, const Layout& layout) {
    FieldFile::create(path, layout);
    {
        FieldFile file(path, Access::write);
        writeAll<T>(file);
        file.close();
    }
    const FieldFile file(path, Access::read);
    Random random(1);
    for (int i = 0; i < 50; ++i) {
        const LatticeBox box = i == 0 ? layout.box : randomBox(random, layout.box);
        Pattern<T> expected(box);
        if (layout.magnitude) {
            EXPECT_EQ(readPattern<T>(file, box), expected);
        } else {
            std::vector<std::complex<T>> values(expected.values.size());
            file.read(box, values.data(), nullptr);
            EXPECT_EQ(values, expected.values);
        }
    }
}

TEST_F(FieldFiles, KeepsValuesInEitherPrecisionWithAndWithoutMagnitudes) {
    for (const bool magnitude : {true, false}) {
        expectValuesKept<double>(path, smallLayout("cpu", magnitude));
        expectValuesKept<float>(path, smallLayout("cpusp", magnitude));
    }
}

TEST_F(FieldFiles, KeepsTheValuesOfAPart) {
    Layout layout = smallLayout();
    layout.box = {{0, 2, 1}, {7, 3, 3}};
    layout.slabSizes = {7, 2, 2};
    expectValuesKept<double>(path, layout);
}

TEST_F(FieldFiles, HasPairsOfRealAndImaginaryPartZSlowest) {
    FieldFile::create(path, smallLayout());
    FieldFile written(path, Access::write);
    writeAll<double>(written);
    written.close();

    // As any other reader of HDF5.
    struct Pair {
        double i, r;
    };
    const run::hdf5::Type type(H5Tcreate(H5T_COMPOUND, sizeof(Pair)), "type");
    H5Tinsert(type, "r", HOFFSET(Pair, r), H5T_NATIVE_DOUBLE);
    H5Tinsert(type, "i", HOFFSET(Pair, i), H5T_NATIVE_DOUBLE);
    std::array<std::array<std::array<Pair, 7>, 5>, 4> field{};
    std::array<std::array<std::array<float, 7>, 5>, 4> magnitude{};
    const run::hdf5::File file(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), "file");
    const Dataset pressure(H5Dopen2(file, "pressure", H5P_DEFAULT), "pressure");
    const Dataset magnitudes(H5Dopen2(file, "magnitude", H5P_DEFAULT), "magnitude");
    ASSERT_GE(H5Dread(pressure, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, field.data()), 0);
    ASSERT_GE(
        H5Dread(magnitudes, H5T_NATIVE_FLOAT, H5S_ALL, H5S_ALL, H5P_DEFAULT, magnitude.data()), 0);
    EXPECT_EQ(field[3][1][6].r, 30106);
    EXPECT_EQ(field[3][1][6].i, 0.5 - 30106);
    EXPECT_EQ(magnitude[3][1][6], 30106.25F);
}

// --- the slabs' entries

TEST_F(FieldFiles, HasNoFinishedSlabsAtFirst) {
    FieldFile::create(path, smallLayout());
    const std::vector<SlabRecord> records = FieldFile(path, Access::read).records();
    EXPECT_EQ(records.size(), 8U);
    for (const SlabRecord& record : records) EXPECT_FALSE(record.finished);
}

TEST_F(FieldFiles, KeepsEachSlabsEntry) {
    FieldFile::create(path, smallLayout());
    {
        FieldFile file(path, Access::write);
        file.record(5, {0x8123456789ABCDEFU, true});
        file.record(0, {7, true});
        file.record(5, {0xFEDCBA9876543210U, true});
        file.close();
    }
    const std::vector<SlabRecord> records = FieldFile(path, Access::read).records();
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i].finished, i == 0 || i == 5);
        EXPECT_TRUE(records[i].sound);
        EXPECT_EQ(records[i].checksum, i == 0 ? 7 : i == 5 ? 0xFEDCBA9876543210U : 0);
    }
}

TEST_F(FieldFiles, KnowAnEntryThatIsNotWhatWasWritten) {
    FieldFile::create(path, smallLayout());
    haddr_t place = 0;
    {
        FieldFile file(path, Access::write);
        for (std::int64_t i = 0; i < 7; ++i) file.record(i, {7, true, 3});
        file.close();
        const run::hdf5::File other(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), "file");
        const Dataset entries(H5Dopen2(other, "slabs", H5P_DEFAULT), "slabs");
        place = H5Dget_offset(entries);
    }
    const std::string before = contents(path);
    constexpr std::size_t entryBytes = 24;
    for (std::size_t i = 0; i < 8 * entryBytes; ++i) {
        std::string bytes = before;
        bytes[place + i] ^= 4;
        setContents(path, bytes);
        const std::vector<SlabRecord> records = FieldFile(path, Access::read).records();
        for (std::size_t slab = 0; slab < records.size(); ++slab)
            ASSERT_EQ(records[slab].sound, slab != i / entryBytes) << "byte " << i;
    }
    // Nor another slab's.
    std::string bytes = before;
    bytes.replace(place, entryBytes, before, place + entryBytes, entryBytes);
    setContents(path, bytes);
    EXPECT_FALSE(FieldFile(path, Access::read).records()[0].sound);
}

// --- what changes when

struct Range {
    std::size_t begin;
    std::size_t size;
};

/// Where in a file the chunks of a dataset are, whose values have to be written. Some versions of
/// HDF5 count from the file's first byte, and some from where its own bytes begin: the chunks'
/// bytes tell.
std::vector<Range> placesOfChunks(const Dataset& dataset, const std::string& bytes) {
    const Space space(H5Dget_space(dataset), "space");
    hsize_t count = 0;
    EXPECT_GE(H5Dget_num_chunks(dataset, space, &count), 0);
    for (const std::size_t start : {std::size_t{0}, std::size_t{run::headCopy::room}}) {
        std::vector<Range> places;
        bool same = true;
        for (hsize_t i = 0; i < count; ++i) {
            std::array<hsize_t, 3> first{};
            haddr_t offset = 0;
            hsize_t size = 0;
            H5Dget_chunk_info(dataset, space, i, first.data(), nullptr, &offset, &size);
            std::string chunk(size, '\0');
            std::uint32_t filters = 0;
            EXPECT_GE(H5Dread_chunk(dataset, H5P_DEFAULT, first.data(), &filters, chunk.data()), 0);
            same = same && bytes.compare(start + offset, size, chunk) == 0;
            places.push_back({start + offset, size});
        }
        if (same) return places;
    }
    ADD_FAILURE() << "the chunks are elsewhere";
    return {};
}

/// Which bytes of a file are of its values and entries.
std::vector<bool> bytesOfSlabs(const std::filesystem::path& path) {
    const std::string bytes = contents(path);
    std::vector<bool> places(bytes.size());
    const auto mark = [&](const Range& place) {
        ASSERT_LE(place.begin + place.size, places.size());
        std::fill_n(places.begin() + static_cast<std::ptrdiff_t>(place.begin), place.size, true);
    };
    const run::hdf5::File file(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), "file");
    for (const char* name : {"pressure", "magnitude"}) {
        const Dataset dataset(H5Dopen2(file, name, H5P_DEFAULT), name);
        const std::vector<Range> chunks = placesOfChunks(dataset, bytes);
        EXPECT_EQ(chunks.size(), 8U);
        for (const Range& chunk : chunks) mark(chunk);
    }
    const Dataset entries(H5Dopen2(file, "slabs", H5P_DEFAULT), "slabs");
    mark({H5Dget_offset(entries), H5Dget_storage_size(entries)});
    return places;
}

TEST_F(FieldFiles, ChangesNothingButTheSlabsPlacesOnceItIsCreated) {
    FieldFile::create(path, smallLayout());
    const std::string before = contents(path);
    FieldFile file(path, Access::write);
    writeAll<double>(file);
    file.close();
    const std::string after = contents(path);
    const std::vector<bool> places = bytesOfSlabs(path);

    ASSERT_EQ(after.size(), before.size());
    std::size_t changed = 0;
    for (std::size_t i = 0; i < after.size(); ++i) {
        changed += after[i] != before[i] ? 1 : 0;
        ASSERT_TRUE(after[i] == before[i] || places[i]) << "byte " << i;
    }
    EXPECT_GT(changed, 140U * sizeof(double));
}

TEST_F(FieldFiles, HasEverySlabInItBeforeItIsClosed) {
    FieldFile::create(path, smallLayout());
    FieldFile file(path, Access::write);
    writeAll<double>(file);
    // What a process that is killed here leaves.
    const std::filesystem::path left = folder / "left.h5";
    std::filesystem::copy_file(path, left);
    file.close();

    for (const Access access : {Access::read, Access::write}) {
        const FieldFile found(left, access);
        EXPECT_EQ(readPattern<double>(found, smallLayout().box),
                  Pattern<double>(smallLayout().box));
        for (const SlabRecord& record : found.records()) EXPECT_TRUE(record.finished);
    }
}

TEST_F(FieldFiles, DependsOnNothingButItsLayout) {
    FieldFile::create(path, smallLayout());
    FieldFile::create(folder / "other.h5", smallLayout());
    EXPECT_TRUE(contents(path) == contents(folder / "other.h5"));
}

TEST_F(FieldFiles, OpenedAndClosedChangesNothing) {
    FieldFile::create(path, smallLayout());
    const std::string before = contents(path);
    for (const Access access : {Access::read, Access::write}) {
        FieldFile file(path, access);
        file.close();
    }
    EXPECT_TRUE(contents(path) == before);
}

TEST_F(FieldFiles, TakesThePlaceOfAnother) {
    setContents(path, "something else");
    FieldFile::create(path, smallLayout());
    expectSame(FieldFile(path, Access::read).layout(), smallLayout());
}

// --- the provenance

Provenance accountOf(char of, double seconds) {
    return {std::string(255, of),
            std::string(20, of),
            std::string(20, of),
            seconds,
            0x1122334455667700 + of,
            0x1122334455778800 + of,
            true,
            0x1122334455779900 + of,
            std::nullopt};
}

void expectSame(const Provenance& a, const Provenance& b) {
    EXPECT_EQ(a.host, b.host);
    EXPECT_EQ(a.started, b.started);
    EXPECT_EQ(a.finished, b.finished);
    EXPECT_EQ(a.seconds, b.seconds);
    EXPECT_EQ(a.processes, b.processes);
    EXPECT_EQ(a.peakMemory, b.peakMemory);
    EXPECT_EQ(a.complete, b.complete);
    EXPECT_EQ(a.undefined, b.undefined);
    EXPECT_EQ(a.engine, b.engine);
    ASSERT_EQ(a.accuracy.has_value(), b.accuracy.has_value());
    if (!a.accuracy) return;
    EXPECT_EQ(a.accuracy->bound, b.accuracy->bound);
    EXPECT_EQ(a.accuracy->error, b.accuracy->error);
    EXPECT_EQ(a.accuracy->evaluations, b.accuracy->evaluations);
    EXPECT_EQ(a.accuracy->points, b.accuracy->points);
}

TEST_F(FieldFiles, HasNoAccountAtFirst) {
    FieldFile::create(path, smallLayout());
    expectSame(FieldFile(path, Access::read).provenance(), {});
}

TEST_F(FieldFiles, KeepsItsAccount) {
    const Provenance provenance{"a host",
                                "2026-11-21T09:30:00Z",
                                "2026-11-22T10:31:01Z",
                                12.5,
                                64,
                                std::int64_t{1} << 40,
                                true,
                                std::int64_t{1} << 41,
                                std::nullopt};
    FieldFile::create(path, smallLayout());
    for (const Provenance& next : {accountOf('a', 1e300), provenance, Provenance{}}) {
        FieldFile file(path, Access::write);
        file.setProvenance(next);
        file.close();
        expectSame(FieldFile(path, Access::read).provenance(), next);
    }
}

TEST_F(FieldFiles, KeepsTheAccuracyThatWasMeasuredOfATolerance) {
    FieldFile::create(path, tolerantLayout());
    expectSame(FieldFile(path, Access::read).provenance(), {});
    Provenance provenance = accountOf('a', 2);
    provenance.accuracy = Accuracy{8.5e-5, 2.25e-6, 31.5, 300};
    for (const Provenance& next : {provenance, accountOf('b', 3)}) {
        FieldFile file(path, Access::write);
        file.setProvenance(next);
        file.close();
        expectSame(FieldFile(path, Access::read).provenance(), next);
    }
}

TEST_F(FieldFiles, KeepsTheEngineOfAnArray) {
    FieldFile::create(path, arrayLayout());
    expectSame(FieldFile(path, Access::read).provenance(), {});
    Provenance provenance = accountOf('a', 2);
    for (const char* engine : {"sum", "convolution", ""}) {
        provenance.engine = engine;
        FieldFile file(path, Access::write);
        file.setProvenance(provenance);
        file.close();
        expectSame(FieldFile(path, Access::read).provenance(), provenance);
    }
}

/// The only page that is written when a run ends, but for texts, which lie apart.
constexpr std::size_t firstPage = 8192;
constexpr std::size_t pageBytes = 4096;

TEST_F(FieldFiles, ChangeTheirFirstPageAloneWhereNoTextsChange) {
    FieldFile::create(path, smallLayout());
    const std::string before = contents(path);
    FieldFile file(path, Access::write);
    Provenance provenance;
    provenance.complete = true;
    provenance.seconds = 7;
    file.setProvenance(provenance);
    file.setIncomplete();
    EXPECT_FALSE(file.provenance().complete);
    file.close();
    const std::string after = contents(path);
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < after.size(); ++i)
        ASSERT_TRUE(after[i] == before[i] || (i >= firstPage && i < firstPage + pageBytes)) << i;
}

/// Where the root's header is, and in how many pieces.
H5O_hdr_info_t header(const std::filesystem::path& path, haddr_t& address) {
    const run::hdf5::File file(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), "file");
    H5O_info_t info{};
    EXPECT_GE(H5Oget_info(file, &info), 0);
    address = info.addr;
    return info.hdr;
}

TEST_F(FieldFiles, HaveTheirHeaderInThePageHoweverOftenTheirAccountIsWritten) {
    Layout withTable = smallLayout("cuda");
    withTable.request.rule.order = 3;
    withTable.request.rule.table = {-1, 2, 0, 4, 1, 2};
    for (const Layout& layout : {withTable, tolerantLayout({}, true), arrayLayout()}) {
        FieldFile::create(path, layout);
        for (int i = 0; i < 100; ++i) {
            FieldFile file(path, Access::write);
            Provenance account = accountOf(static_cast<char>('a' + i % 26), i);
            account.engine = i % 2 == 0 ? "convolution" : "sum";
            file.setProvenance(account);
            file.close();
            haddr_t address = 0;
            const H5O_hdr_info_t info = header(path, address);
            ASSERT_EQ(info.nchunks, 1U) << i;
            ASSERT_LE(address + info.space.total, pageBytes) << i;
        }
    }
}

TEST_F(FieldFiles, KeepTheirValuesWhereTheirAccountIsCutShort) {
    FieldFile::create(path, smallLayout());
    FieldFile file(path, Access::write);
    file.setProvenance(accountOf('a', 1));
    file.close();
    const std::string before = contents(path);
    {
        FieldFile again(path, Access::write);
        again.setProvenance(accountOf('b', 2));
        again.close();
    }
    // All that was written but the page, which comes last.
    std::string bytes = contents(path);
    bytes.replace(firstPage, pageBytes, before, firstPage, pageBytes);
    setContents(path, bytes);
    expectSame(FieldFile(path, Access::read).provenance(), accountOf('a', 1));
}

// --- a damaged beginning

TEST_F(FieldFiles, AreMendedByTheCopyOfTheirFirstPage) {
    FieldFile::create(path, smallLayout());
    FieldFile file(path, Access::write);
    writeAll<double>(file);
    file.setProvenance(accountOf('a', 1));
    file.close();
    for (const std::size_t at : {std::size_t{0}, std::size_t{30}, std::size_t{600}}) {
        std::string bytes = contents(path);
        bytes[firstPage + at] ^= 1;
        setContents(path, bytes);
        EXPECT_THROW(FieldFile(path, Access::read), run::DamagedHead);
        EXPECT_TRUE(run::headCopy::restore(path));
        const FieldFile mended(path, Access::read);
        EXPECT_FALSE(mended.provenance().complete);
        EXPECT_EQ(readPattern<double>(mended, smallLayout().box),
                  Pattern<double>(smallLayout().box));
    }
}

TEST_F(FieldFiles, ThatWereCutAreMendedInTheirSize) {
    FieldFile::create(path, smallLayout());
    const auto size = std::filesystem::file_size(path);
    std::filesystem::resize_file(path, size - 1);
    EXPECT_THROW(FieldFile(path, Access::read), run::DamagedHead);
    EXPECT_TRUE(run::headCopy::restore(path));
    EXPECT_EQ(std::filesystem::file_size(path), size);
    expectSame(FieldFile(path, Access::read).layout(), smallLayout());
}

TEST_F(FieldFiles, AreNotMendedByACopyThatIsDamagedItself) {
    FieldFile::create(path, smallLayout());
    std::string bytes = contents(path);
    bytes[4000] ^= 1;
    setContents(path, bytes);
    EXPECT_FALSE(run::headCopy::restore(path));
    EXPECT_TRUE(contents(path) == bytes);
}

// --- no more files

/// HDF5 keeps nothing of a failure that is in the way later, nor in files that are open.
TEST_F(FieldFiles, ThatCannotBeOpenedForNowAreNotTakenForDamaged) {
    FieldFile::create(path, smallLayout());
    FieldFile::create(folder / "other.h5", smallLayout());
    FieldFile other(folder / "other.h5", Access::write);
    for (const Access access : {Access::read, Access::write}) {
        {
            const NoMoreFiles limit;
            EXPECT_EQ(refused([&] { FieldFile(path, access); }),
                      path.string() + " cannot be opened as HDF5: Too many open files");
            writeAll<double>(other);
        }
        FieldFile file(path, access);
        expectSame(file.layout(), smallLayout());
        file.close();
    }
    other.close();
    EXPECT_EQ(readPattern<double>(FieldFile(folder / "other.h5", Access::read), smallLayout().box),
              Pattern<double>(smallLayout().box));
}

// --- joined files

struct JoinedFiles : FieldFiles {
    /// Two parts and the file that joins them.
    JoinedFiles() {
        Layout part = layout;
        std::vector<run::JoinedPart> parts;
        for (const std::int64_t number : {1, 2}) {
            part.box = run::boxOf({number, 2}, layout.request.lattice.sizes);
            const std::string name = "part-" + std::to_string(number) + ".h5";
            FieldFile::create(folder / name, part);
            FieldFile file(folder / name, Access::write);
            writeAll<double>(file);
            file.close();
            parts.push_back({name, part.box, run::metadata::identityOf(part), {}});
        }
        FieldFile::createJoined(path, layout, parts);
    }

    Layout layout = smallLayout();
};

TEST_F(JoinedFiles, HaveTheValuesOfTheirParts) {
    const FieldFile file(path, Access::read);
    EXPECT_TRUE(file.joined());
    expectSame(file.layout(), layout);
    const LatticeBox across{{1, 1, 1}, {5, 3, 2}};
    for (const LatticeBox& box : {layout.box, across})
        EXPECT_EQ(readPattern<double>(file, box), Pattern<double>(box));
}

TEST_F(JoinedFiles, MayBeMovedTogether) {
    const TemporaryFolder other;
    for (const char* name : {"field.h5", "part-1.h5", "part-2.h5"})
        std::filesystem::rename(folder / name, other / name);
    EXPECT_EQ(readPattern<double>(FieldFile(other / "field.h5", Access::read), layout.box),
              Pattern<double>(layout.box));
}

TEST_F(JoinedFiles, ReadAsNaNWhereAPartIsMissing) {
    std::filesystem::remove(folder / "part-2.h5");
    const FieldFile file(path, Access::read);
    const LatticeBox there{{0, 0, 0}, {7, 5, 2}};
    EXPECT_EQ(readPattern<double>(file, there), Pattern<double>(there));
    const auto missing = readPattern<double>(file, {{0, 0, 2}, {7, 5, 2}});
    for (const auto& value : missing.values)
        EXPECT_TRUE(std::isnan(value.real()) && std::isnan(value.imag()));
    for (const float magnitude : missing.magnitudes) EXPECT_TRUE(std::isnan(magnitude));
}

TEST_F(FieldFiles, JoinedInSinglePrecisionReadAsNaNToo) {
    const Layout layout = smallLayout("cpusp");
    FieldFile::createJoined(path, layout, {{"none.h5", layout.box, {}, {}}});
    const auto missing = readPattern<float>(FieldFile(path, Access::read), layout.box);
    for (const auto& value : missing.values)
        EXPECT_TRUE(std::isnan(value.real()) && std::isnan(value.imag()));
}

}  // namespace
