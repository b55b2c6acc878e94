// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "run/file/FieldFile.h"

namespace run {

/// Computes the values of a box, in the precision of the request, into memory that has room for
/// them, the components of a point one after the other.
using Computation = std::function<void(const LatticeBox& box, void* values)>;

/// The values of one slab at a time, with their magnitudes where the file has them.
class SlabValues {
  public:
    explicit SlabValues(const Layout& layout);

    void compute(const Computation& computation, const LatticeBox& box);
    void write(FieldFile& file, const LatticeBox& box) const;
    void read(const FieldFile& file, const LatticeBox& box);

    /// The XXH3 checksum, 64 bits, of the values' bytes and then those of the magnitudes.
    std::uint64_t checksum(const LatticeBox& box) const;

    /// The entry of a slab of these values.
    SlabRecord record(const LatticeBox& box) const;

    /// Whether they are what a finished slab's entry says.
    bool match(const SlabRecord& record, const LatticeBox& box) const;

  private:
    bool singlePrecision;
    std::size_t components;
    std::size_t pointBytes;
    // Not set to anything: the threads that compute the values are the first to touch the memory.
    std::unique_ptr<std::byte[]> values;
    std::unique_ptr<float[]> magnitudes;
};

}  // namespace run
