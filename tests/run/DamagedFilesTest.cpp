// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Files that are not whole, or not of this program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "run/file/FieldFile.h"
#include "run/file/attributes.h"
#include "tests/run/FieldFiles.h"
#include "tests/support/Refused.h"

namespace {

using run::FieldFile;
using run::hdf5::Dataset;
using run::hdf5::File;
using run::hdf5::Space;

struct DamagedFiles : FieldFiles {
    DamagedFiles() { FieldFile::create(path, smallLayout()); }

    /// What the file is refused with, however it is opened; it stays as it is.
    std::string refusal() const {
        const std::string before = contents(path);
        const std::string text = refused([&] { FieldFile(path, FieldFile::Access::read); });
        EXPECT_EQ(refused([&] { FieldFile(path, FieldFile::Access::write); }), text);
        EXPECT_TRUE(contents(path) == before);
        EXPECT_THAT(text, testing::StartsWith(path.string()));
        return text.substr(path.string().size());
    }

    /// The same after something in the file has changed.
    std::string refusalAfter(const std::function<void(hid_t)>& change) {
        FieldFile::create(path, layout);
        File file(H5Fopen(path.c_str(), H5F_ACC_RDWR, H5P_DEFAULT), "file");
        change(file);
        file.reset("file");
        return refusal();
    }

    /// The same after an attribute has another value, and where several are given another size.
    template <class Values>
    std::string refusalWith(const char* name, const Values& values) {
        return refusalAfter([&](hid_t file) {
            H5Adelete(file, name);
            if constexpr (requires { values.front(); } && !std::is_same_v<Values, std::string>)
                run::attributes::write(file, name, std::span(values), {values.size()});
            else
                run::attributes::write(file, name, values);
        });
    }

    run::Layout layout = smallLayout();  ///< of the files whose refusals are asked for
};

using Integers = std::vector<std::int64_t>;
using Reals = std::vector<double>;

void createDataset(hid_t file, const char* name, const std::vector<hsize_t>& sizes) {
    const Space space(H5Screate_simple(static_cast<int>(sizes.size()), sizes.data(), nullptr), "");
    const Dataset dataset(
        H5Dcreate2(file, name, H5T_NATIVE_DOUBLE, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT),
        name);
}

TEST_F(DamagedFiles, ThatAreNotThereSaySo) {
    std::filesystem::remove(path);
    EXPECT_EQ(refused([&] { FieldFile(path, FieldFile::Access::read); }),
              path.string() + " cannot be opened as HDF5: No such file or directory");
}

TEST_F(DamagedFiles, OfAnotherFormatAreRefused) {
    for (const std::string& bytes : {std::string("text"), std::string(100000, 'x')}) {
        setContents(path, bytes);
        EXPECT_EQ(refusal(), " cannot be opened as HDF5: file signature not found");
    }
}

TEST_F(DamagedFiles, WithoutAnyBytesAreRefused) {
    setContents(path, "");
    EXPECT_EQ(refused([&] { FieldFile(path, FieldFile::Access::read); }),
              path.string() + " cannot be opened as HDF5: file signature not found");
}

TEST_F(DamagedFiles, ThatWereCutSayHowMuchIsThere) {
    const std::string whole = contents(path);
    for (const std::size_t size : {whole.size() - 1, whole.size() / 2}) {
        setContents(path, whole.substr(0, size));
        EXPECT_EQ(refusal(), " is cut off: " + std::to_string(size) + " of " +
                                 std::to_string(whole.size()) +
                                 " bytes are there; --resume computes the others");
    }
    for (const std::size_t size : {std::size_t{5000}, std::size_t{1}}) {
        setContents(path, whole.substr(0, size));
        EXPECT_THAT(refusal(), testing::StartsWith(" cannot be opened as HDF5: "));
    }
}

TEST_F(DamagedFiles, OfAnotherProgramAreRefused) {
    constexpr const char* foreign = " is not a file of pistonfield-run";
    EXPECT_EQ(refusalAfter([](hid_t file) { H5Adelete(file, "creator"); }), foreign);
    EXPECT_EQ(refusalAfter([](hid_t file) { H5Adelete(file, "format"); }), foreign);
    EXPECT_EQ(refusalWith("creator", std::string("another")), foreign);
    EXPECT_EQ(refusalWith("creator", Integers{1, 2, 3}), foreign);
    EXPECT_EQ(refusalWith("format", std::string("1")), foreign);
}

/// As many programs write texts: any number of them, of any length.
TEST_F(DamagedFiles, WithTextsOfAnotherKindAreRefused) {
    const auto withTexts = [&](std::size_t length, hsize_t count) {
        return refusalAfter([=](hid_t file) {
            H5Adelete(file, "creator");
            const run::hdf5::Type type(H5Tcopy(H5T_C_S1), "");
            H5Tset_size(type, length);
            const Space space(H5Screate_simple(1, &count, nullptr), "");
            const run::hdf5::Attribute attribute(
                H5Acreate2(file, "creator", type, space, H5P_DEFAULT, H5P_DEFAULT), "");
            const std::vector<const char*> texts(1024, "pistonfield-run");
            H5Awrite(attribute, type, texts.data());
        });
    };
    EXPECT_EQ(withTexts(16, 500), " is not a file of pistonfield-run");
    EXPECT_EQ(withTexts(H5T_VARIABLE, 1), " is not a file of pistonfield-run");
}

TEST_F(DamagedFiles, OfAnotherFormatOfThisProgramAreRefused) {
    for (const std::int64_t format : {1, 7})
        EXPECT_EQ(refusalWith("format", format), " has the format " + std::to_string(format) +
                                                     ", and this version reads 2 to 6 alone");
}

/// Neither is a file without a tolerance taken for one with it, nor the other way around.
TEST_F(DamagedFiles, OfTheOtherFormatAreRefused) {
    EXPECT_THAT(refusalWith("format", std::int64_t{3}),
                testing::StartsWith(" is damaged: the attribute 'tolerance': "));
    layout = tolerantLayout();
    EXPECT_THAT(refusalWith("format", std::int64_t{2}),
                testing::HasSubstr("is not within 1 to 18000 of the mode cpu"));
}

TEST_F(DamagedFiles, WithoutWhatBelongsToAToleranceAreRefused) {
    layout = tolerantLayout();
    for (const std::string name : {"tolerance", "relative", "behind", "order", "mode",
                                   "error_bound", "error", "error_points", "evaluations"})
        EXPECT_THAT(refusalAfter([&](hid_t file) { H5Adelete(file, name.c_str()); }),
                    testing::StartsWith(" is damaged: the attribute '" + name + "': "));
}

TEST_F(DamagedFiles, InWhichAnythingElseIsSaidOfAToleranceAreRefused) {
    layout = tolerantLayout();
    constexpr const char* other =
        " is damaged: what it says of its field is not what this program has written there";
    for (const char* name : {"tolerance", "error_bound", "error", "evaluations"})
        EXPECT_EQ(refusalWith(name, 0.125), other);
    for (const char* name : {"behind", "error_points", "order"})
        EXPECT_EQ(refusalWith(name, std::int64_t{11}), other);
    EXPECT_EQ(refusalWith("relative", std::string("local")), other);
    EXPECT_EQ(refusalWith("mode", std::string("cpusp")),
              " is damaged: the dataset 'pressure' is of another type");
    EXPECT_EQ(refusalWith("tolerance", -1.0),
              " is damaged: tolerance: must be above 0 and below 1");
    EXPECT_EQ(refusalWith("relative", std::string("all")),
              " is damaged: relative: 'all' is none of largest, local");
}

TEST_F(DamagedFiles, WithoutWhatBelongsToAnArrayAreRefused) {
    layout = arrayLayout();
    EXPECT_THAT(refusalAfter([](hid_t file) { H5Ldelete(file, "elements", H5P_DEFAULT); }),
                testing::StartsWith(" is damaged: elements: "));
    EXPECT_EQ(refusalAfter([](hid_t file) { H5Ldelete(file, "weights", H5P_DEFAULT); }),
              " is damaged: array: 0 are not one or several for each of the 2 elements");
    EXPECT_THAT(refusalAfter([](hid_t file) { H5Adelete(file, "engine"); }),
                testing::StartsWith(" is damaged: the attribute 'engine': "));
}

/// Neither is a field of a piston taken for one of an array, nor the other way around.
TEST_F(DamagedFiles, OfTheFormatOfArraysAreRefused) {
    layout = tolerantLayout();
    EXPECT_THAT(refusalWith("format", std::int64_t{4}),
                testing::StartsWith(" is damaged: elements: "));
    layout = arrayLayout();
    EXPECT_EQ(refusalWith("format", std::int64_t{3}), " is damaged: l: must be a length above 0");
}

TEST_F(DamagedFiles, InWhichAnythingElseIsSaidOfAnArrayAreRefused) {
    layout = arrayLayout();
    constexpr const char* other =
        " is damaged: what it says of its field is not what this program has written there";
    EXPECT_EQ(refusalWith("engine", std::string("runs")), other);
    EXPECT_EQ(refusalWith("l", 1.0), other);
}

TEST_F(DamagedFiles, WithoutAnAttributeAreRefused) {
    for (const std::string name :
         {"transform", "sizes", "l", "s", "k", "mode", "order", "first_point", "slab_sizes", "axes",
          "conventions", "units", "version", "identity", "digest", "host", "complete", "seconds",
          "undefined"})
        EXPECT_THAT(refusalAfter([&](hid_t file) { H5Adelete(file, name.c_str()); }),
                    testing::StartsWith(" is damaged: the attribute '" + name + "': "));
}

TEST_F(DamagedFiles, WithAttributesOfAnotherSizeAreRefused) {
    for (const std::string name : {"transform", "l", "s", "k"})
        EXPECT_EQ(refusalWith(name.c_str(), Reals(15, 1)),
                  " is damaged: the attribute '" + name + "' has another size");
    for (const std::string name : {"sizes", "order", "first_point", "slab_sizes"})
        EXPECT_EQ(refusalWith(name.c_str(), Integers{2, 2}),
                  " is damaged: the attribute '" + name + "' has another size");
}

TEST_F(DamagedFiles, WithAttributesOfAnotherTypeAreRefused) {
    EXPECT_EQ(refusalWith("k", std::int64_t{7}),
              " is damaged: the attribute 'k' is of another type");
    EXPECT_EQ(refusalWith("order", 6.0), " is damaged: the attribute 'order' is of another type");
}

/// Whatever is said of the field is what was written, or the file is refused.
TEST_F(DamagedFiles, InWhichAnythingElseIsSaidAreRefused) {
    constexpr const char* other =
        " is damaged: what it says of its field is not what this program has written there";
    for (const char* name : {"l", "s", "k", "seconds"}) EXPECT_EQ(refusalWith(name, 7.125), other);
    for (const char* name : {"order", "complete", "processes", "peak_memory", "undefined"})
        EXPECT_EQ(refusalWith(name, std::int64_t{11}), other);
    for (const char* name :
         {"version", "identity", "conventions", "units", "axes", "host", "started", "finished"})
        EXPECT_EQ(refusalWith(name, std::string("other")), other);
    EXPECT_EQ(refusalAfter([](hid_t file) { H5Ldelete(file, "magnitude", H5P_DEFAULT); }), other);
}

TEST_F(DamagedFiles, WithAnotherTableAreRefused) {
    run::Layout layout = smallLayout();
    layout.request.rule.order = 2;
    layout.request.rule.table = {-0.5, 1, 0.5, 1};
    FieldFile::create(path, layout);
    {
        const File file(H5Fopen(path.c_str(), H5F_ACC_RDWR, H5P_DEFAULT), "file");
        const Dataset table(H5Dopen2(file, "table", H5P_DEFAULT), "table");
        const std::array<double, 4> other{-0.5, 1, 0.5, 1.0000001};
        H5Dwrite(table, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, other.data());
    }
    EXPECT_THAT(refusal(), testing::HasSubstr("what it says of its field"));
}

TEST_F(DamagedFiles, WithFiguresOfNoFieldAreRefused) {
    EXPECT_EQ(refusalWith("l", -1.0), " is damaged: l: must be a length above 0");
    EXPECT_EQ(refusalWith("mode", std::string("fast")),
              " is damaged: mode: 'fast' is none of cpu, cpudp, cpusp, cuda, cudadp");
    EXPECT_EQ(refusalWith("sizes", Integers{7, 5, 0}),
              " is damaged: sizes: each must be 1 or more");
    for (const std::int64_t order :
         {std::int64_t{0}, std::int64_t{-6}, (std::int64_t{1} << 32) + 6})
        EXPECT_THAT(refusalWith("order", order),
                    testing::HasSubstr("is not within 1 to 18000 of the mode cpu"));
}

TEST_F(DamagedFiles, WithPointsOutsideOfTheirLatticeAreRefused) {
    constexpr const char* outside = " is damaged: its points are not all of its lattice";
    EXPECT_EQ(refusalWith("first_point", Integers{0, 0, 1}), outside);
    EXPECT_EQ(refusalWith("first_point", Integers{-1, 0, 0}), outside);
    EXPECT_EQ(refusalWith("first_point", Integers{INT64_MAX, 0, 0}), outside);
    EXPECT_EQ(refusalWith("sizes", Integers{6, 5, 4}), outside);
}

TEST_F(DamagedFiles, WithSlabsThatCannotBeAreRefused) {
    for (const Integers& sizes : {Integers{0, 3, 2}, Integers{4, -3, 2}, Integers{4, 3, 5}})
        EXPECT_EQ(refusalWith("slab_sizes", sizes),
                  " is damaged: slab_sizes are not sizes of its slabs");
    for (const Integers& sizes : {Integers{7, 5, 4}, Integers{1, 1, 1}})
        EXPECT_EQ(refusalWith("slab_sizes", sizes),
                  " is damaged: what it says of its field is not what this program has written "
                  "there");
}

TEST_F(DamagedFiles, WithoutADatasetAreRefused) {
    for (const std::string name : {"pressure", "slabs"})
        EXPECT_THAT(refusalAfter([&](hid_t file) { H5Ldelete(file, name.c_str(), H5P_DEFAULT); }),
                    testing::StartsWith(" is damaged: the dataset '" + name + "': "));
}

TEST_F(DamagedFiles, WithADatasetOfAnotherShapeAreRefused) {
    EXPECT_EQ(refusalAfter([](hid_t file) {
                  H5Ldelete(file, "pressure", H5P_DEFAULT);
                  createDataset(file, "pressure", {5, 7});
              }),
              " is damaged: the dataset 'pressure' is of another type");
    EXPECT_EQ(refusalAfter([](hid_t file) {
                  createDataset(file, "table", {5, 2});
              }),
              " is damaged: table has another size");
}

}  // namespace
