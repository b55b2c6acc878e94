// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/compress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iterator>

#include "run/file/headCopy.h"
#include "tests/run/FilledFile.h"
#include "tests/support/Refused.h"

namespace {

using run::FieldFile;
using run::SlabRecord;

struct CompressedFiles : FieldFiles {
    bool isAlone() const {
        const std::filesystem::directory_iterator files(folder.path);
        return std::distance(begin(files), end(files)) == 1;
    }
};

template <class T>
void expectTheSameField(const std::filesystem::path& path, const run::Layout& layout) {
    createFilled(path, layout);
    const std::vector<std::complex<T>> before = valuesIn<T>(path);
    const std::vector<SlabRecord> records = FieldFile(path, FieldFile::Access::read).records();
    run::compress(path, 4);

    const FieldFile file(path, FieldFile::Access::read);
    EXPECT_TRUE(file.compressed());
    EXPECT_EQ(file.layout().request, layout.request);
    EXPECT_EQ(file.layout().magnitude, layout.magnitude);
    EXPECT_EQ(file.provenance().host, "host");
    EXPECT_TRUE(file.provenance().complete);
    EXPECT_EQ(valuesIn<T>(path), before);
    const std::vector<SlabRecord> after = file.records();
    ASSERT_EQ(after.size(), records.size());
    run::SlabValues values(layout);
    for (std::size_t i = 0; i < after.size(); ++i) {
        EXPECT_TRUE(after[i].finished && after[i].sound);
        EXPECT_EQ(after[i].checksum, records[i].checksum);
        // Of the magnitudes, too.
        const LatticeBox box = layout.slabs().slab(static_cast<std::int64_t>(i));
        values.read(file, box);
        EXPECT_EQ(values.checksum(box), records[i].checksum);
    }
}

TEST_F(CompressedFiles, HaveTheSameFieldBitForBit) {
    for (const bool magnitude : {true, false}) {
        expectTheSameField<double>(path, smallLayout("cpu", magnitude));
        expectTheSameField<float>(path, smallLayout("cpusp", magnitude));
    }
    EXPECT_TRUE(isAlone());
}

TEST_F(CompressedFiles, AreSmaller) {
    run::Layout layout = smallLayout();
    // On the axis: all points of a layer have one value.
    layout.request.lattice.transform = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1e-6, 1, 0, 0, 0, 1};
    layout.request.lattice.sizes = layout.box.size = {32, 32, 32};
    layout.slabSizes = {32, 32, 8};
    createFilled(path, layout);
    const auto before = std::filesystem::file_size(path);
    run::compress(path, 1);
    EXPECT_LT(std::filesystem::file_size(path), before / 4);
}

TEST_F(CompressedFiles, HaveTheSameOwnerAndRights) {
    createFilled(path, smallLayout());
    constexpr mode_t rights = 0640;
    ASSERT_EQ(chmod(path.c_str(), rights), 0);
    // The superuser alone may give files away.
    if (geteuid() == 0) {
        ASSERT_EQ(chown(path.c_str(), 1234, 4321), 0);
    }
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(stat(path.c_str(), &before), 0);
    run::compress(path, 1);
    ASSERT_EQ(stat(path.c_str(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
}

TEST_F(CompressedFiles, BehindALinkStayBehindIt) {
    createFilled(path, smallLayout());
    std::filesystem::create_symlink("field.h5", folder / "link.h5");
    run::compress(folder / "link.h5", 1);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.h5"));
    EXPECT_FALSE(std::filesystem::is_symlink(path));
    EXPECT_TRUE(FieldFile(path, FieldFile::Access::read).compressed());
}

TEST_F(CompressedFiles, AreLeftAlone) {
    createFilled(path, smallLayout());
    run::compress(path, 9);
    const std::string before = contents(path);
    run::compress(path, 1);
    EXPECT_TRUE(contents(path) == before);
}

TEST_F(CompressedFiles, AreNotMadeOfValuesThatHaveChanged) {
    createFilled(path, smallLayout());
    damage<double>(path, {{6, 4, 3}, {1, 1, 1}});
    const std::string before = contents(path);
    EXPECT_EQ(refused([&] { run::compress(path, 4); }),
              path.string() + " has changed since it was written; --resume mends it");
    EXPECT_TRUE(contents(path) == before);
    EXPECT_TRUE(isAlone());
}

/// The checksum of what was decompressed is not reached: the filter fails before, or it differs.
TEST_F(CompressedFiles, ThatAreDamagedDoNotReadAsIfTheyWereNot) {
    createFilled(path, smallLayout());
    const auto whole = valuesIn<double>(path);
    run::compress(path, 4);
    std::string bytes = contents(path);
    hsize_t size = 0;
    haddr_t offset = 0;
    {
        const run::hdf5::File file(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), "file");
        const run::hdf5::Dataset dataset(H5Dopen2(file, "pressure", H5P_DEFAULT), "pressure");
        const run::hdf5::Space space(H5Dget_space(dataset), "space");
        ASSERT_GE(H5Dget_chunk_info(dataset, space, 0, nullptr, nullptr, &offset, &size), 0);
    }
    bytes.at(run::headCopy::room + offset + size / 2) ^= 0x10;
    setContents(path, bytes);
    const std::string failure = refused([&] { EXPECT_NE(valuesIn<double>(path), whole); });
    EXPECT_THAT(failure, testing::AnyOf("no failure", testing::StartsWith(path.string())));
}

}  // namespace
