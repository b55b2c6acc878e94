// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/SlabValues.h"

#include <gtest/gtest.h>
#include <xxhash.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/run/FieldFiles.h"

namespace {

using run::FieldFile;
using run::Layout;
using run::SlabValues;

template <class T>
std::vector<char> bytesOf(const std::vector<std::complex<T>>& values) {
    std::vector<char> bytes(values.size() * sizeof(values[0]));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

/// Gives out bytes that were set, whatever the box.
struct Bytes {
    explicit Bytes(std::vector<char> bytes) : bytes(std::move(bytes)) {}
    void operator()(const LatticeBox& /*box*/, void* values) const {
        std::memcpy(values, bytes.data(), bytes.size());
    }
    std::vector<char> bytes;
};

/// The checksum of a slab's values and the magnitudes that belong to them.
template <class T>
std::uint64_t checksumByHand(const std::vector<std::complex<T>>& values, bool magnitude) {
    std::vector<char> bytes = bytesOf(values);
    for (const std::complex<T>& value : values) {
        const T square = value.real() * value.real() + value.imag() * value.imag();
        const auto size = static_cast<float>(std::sqrt(square));
        const char* begin = reinterpret_cast<const char*>(&size);
        if (magnitude) bytes.insert(bytes.end(), begin, begin + sizeof(size));
    }
    return XXH3_64bits(bytes.data(), bytes.size());
}

template <class T>
void expectChecksumOfAllBytes(const char* mode) {
    for (const bool magnitude : {true, false})
        // The smaller slabs leave room that does not count.
        for (const LatticeBox& box : {LatticeBox{{0, 0, 0}, {4, 3, 2}}, {{4, 3, 0}, {3, 2, 2}}}) {
            const std::vector<std::complex<T>> values = Pattern<T>(box).values;
            Bytes evaluation(bytesOf(values));
            SlabValues slab(smallLayout(mode, magnitude));
            slab.compute(evaluation, box);
            EXPECT_EQ(slab.checksum(box), checksumByHand(values, magnitude));
        }
}

TEST(SlabValues, ChecksumIsXxh3OfTheValuesAndThenTheMagnitudes) {
    expectChecksumOfAllBytes<double>("cpu");
    expectChecksumOfAllBytes<float>("cpusp");
}

TEST(SlabValues, ChecksumChangesWithAnyBit) {
    const LatticeBox box{{0, 0, 0}, {2, 1, 1}};
    Bytes evaluation(bytesOf(Pattern<double>(box).values));
    SlabValues slab(smallLayout("cpu", /*magnitude=*/false));
    slab.compute(evaluation, box);
    const std::uint64_t before = slab.checksum(box);
    for (std::size_t bit = 0; bit < 8 * evaluation.bytes.size(); ++bit) {
        char& byte = evaluation.bytes[bit / 8];
        const char kept = byte;
        byte = static_cast<char>(byte ^ (1 << bit % 8));
        slab.compute(evaluation, box);
        EXPECT_NE(slab.checksum(box), before) << "bit " << bit;
        byte = kept;
    }
}

template <class T>
void expectUndefinedCounted(const char* mode) {
    constexpr T nan = std::numeric_limits<T>::quiet_NaN();
    const LatticeBox box{{0, 0, 0}, {4, 1, 1}};
    const auto countOf = [&](const std::vector<std::complex<T>>& values) {
        Bytes evaluation(bytesOf(values));
        SlabValues slab(smallLayout(mode));
        slab.compute(evaluation, box);
        return slab.record(box).undefined;
    };
    EXPECT_EQ(countOf({{1, 2}, {3, 4}, {5, 6}, {7, 8}}), 0U);
    EXPECT_EQ(countOf({{1, 2}, {nan, 4}, {5, nan}, {nan, nan}}), 3U);
}

TEST(SlabValues, CountTheValuesThatAreNoNumbers) {
    expectUndefinedCounted<double>("cpu");
    expectUndefinedCounted<float>("cpusp");
}

struct SlabFiles : FieldFiles {
    /// What is in a file with one slab of it computed and written.
    static constexpr LatticeBox box{{4, 0, 2}, {3, 3, 2}};
};

TEST_F(SlabFiles, HaveTheValuesAndTheirMagnitudes) {
    const Layout layout = smallLayout("cpusp");
    FieldFile::create(path, layout);
    FieldFile file(path, FieldFile::Access::write);
    std::vector<std::complex<float>> values(18);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = {3 * static_cast<float>(i), -4 * static_cast<float>(i)};
    Bytes evaluation(bytesOf(values));
    SlabValues slab(layout);
    slab.compute(evaluation, box);
    slab.write(file, box);

    std::vector<std::complex<float>> read(18);
    std::vector<float> magnitudes(18);
    file.read(box, read.data(), magnitudes.data());
    EXPECT_EQ(read, values);
    for (std::size_t i = 0; i < 18; ++i) EXPECT_EQ(magnitudes[i], 5 * static_cast<float>(i));
}

TEST_F(SlabFiles, HaveTheChecksumOfWhatWasWritten) {
    for (const bool magnitude : {true, false}) {
        const Layout layout = smallLayout("cpu", magnitude);
        FieldFile::create(path, layout);
        FieldFile file(path, FieldFile::Access::write);
        Bytes evaluation(bytesOf(Pattern<double>(box).values));
        SlabValues written(layout);
        written.compute(evaluation, box);
        written.write(file, box);
        SlabValues read(layout);
        read.read(file, box);
        EXPECT_EQ(read.checksum(box), written.checksum(box));
    }
}

TEST_F(SlabFiles, ChangeTheirChecksumWithAMagnitudeToo) {
    FieldFile::create(path, smallLayout());
    FieldFile file(path, FieldFile::Access::write);
    Pattern<double> pattern(box);
    SlabValues slab(smallLayout());
    std::vector<std::uint64_t> checksums;
    for (int i = 0; i < 2; ++i) {
        file.write(box, pattern.values.data(), pattern.magnitudes.data());
        slab.read(file, box);
        checksums.push_back(slab.checksum(box));
        pattern.magnitudes.back() += 1;
    }
    EXPECT_NE(checksums[0], checksums[1]);
}

}  // namespace
