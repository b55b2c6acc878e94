// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "field/Plan.h"
#include "field/Request.h"
#include "run/file/Digest.h"
#include "run/file/Hdf5.h"
#include "run/file/WriteBehind.h"
#include "run/file/joinedParts.h"
#include "run/file/slabs.h"

namespace run {

/// Thrown where HDF5 cannot open a file of this program, which `headCopy::restore` may mend.
class DamagedHead : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What is in a file, from its beginning to its end.
struct Layout {
    pistonfield::Request request;
    LatticeBox box;                           ///< the points of the lattice that are in the file
    std::array<std::int64_t, 3> slabSizes{};  ///< also the sizes of a chunk
    bool magnitude = true;                    ///< whether |p| is there too, for viewers

    Slabs slabs() const { return {box, slabSizes}; }
    /// Bytes of a point's values.
    std::int64_t pointBytes() const { return request.valueBytes() * request.components(); }
    /// Bytes of a slab's values and magnitudes.
    std::int64_t slabBytes() const;
    /// Bytes of all slabs, those at the far ends having as much room as the others, and of an
    /// array's elements. These and the magnitudes may be more than 64 bits count.
    double bytes() const {
        constexpr double bytesOfAnElement = 13 * sizeof(double);
        const std::size_t elements = request.array ? request.array->elements.size() : 0;
        return static_cast<double>(slabs().count()) * static_cast<double>(slabBytes()) +
               static_cast<double>(elements) * bytesOfAnElement;
    }
};

/// A slab's entry in the file.
struct SlabRecord {
    std::uint64_t checksum = 0;
    bool finished = false;
    std::uint32_t undefined = 0;  ///< points whose value is no number
    bool sound = true;            ///< whether the entry is what was written; else it says nothing
};

/// What a file of values has, of those checksums: see `JoinedPart::values`.
Digest::Value digestOf(const std::vector<SlabRecord>& records);

/// How a field came about.
struct Provenance {
    std::string host;
    std::string started;   ///< of the first run that worked on it; UTC, as 2026-11-21T09:30:00Z
    std::string finished;  ///< of the last one
    double seconds = 0;    ///< of all of them
    std::int64_t processes = 1;
    std::int64_t peakMemory = 0;  ///< bytes, of the process that took most
    bool complete = false;
    std::int64_t undefined = 0;  ///< points whose value is no number
    /// What was measured of a field with a tolerance, by the last run that worked on it.
    std::optional<pistonfield::Accuracy> accuracy = std::nullopt;
    /// Of a field of an array or of a piston with an outline: the name of what computed it, in the
    /// last run.
    std::string engine = {};
};

/// A field on disk: an HDF5 file with the dataset "pressure", of compounds {r, i} in the order
/// [z][y][x], or "velocity" or "intensity", whose three components are in a fourth direction, the
/// fastest one; and the request, conventions and units as attributes of the root; a table is the
/// dataset "table", an array the datasets "elements" and "weights", and the outline of a piston
/// that is no rectangle the dataset "outline".
///
/// Everything but values gets its place when the file is created; from then on slabs and their
/// entries are written where they belong, and nothing else changes but, in one page, the
/// provenance. So a process may be killed at any moment: the file stays readable, and every slab
/// with an entry is whole.
///
/// Everything that gives the values a meaning is compared with checksums when a file is opened:
/// HDF5's own of its structure, and a digest of what is said of the field.
///
/// All operations throw std::runtime_error naming the file.
class FieldFile {
  public:
    enum class Access { read, write };

    /// Creates a file without values. An existing one is replaced.
    /// @param deflate 0, or the level to compress with; such a file takes its slabs once each
    /// @param head    the first bytes of the file, which are not HDF5's; at most 512
    static void create(const std::filesystem::path& path, const Layout& layout, int deflate = 0,
                       std::string_view head = {});

    /// Creates a file whose values are those in the parts, each of which has a box of it. To other
    /// programs the values of a part that is not there, or that is of another request, are NaN.
    static void createJoined(const std::filesystem::path& path, const Layout& layout,
                             const std::vector<JoinedPart>& parts, std::string_view head = {});

    /// Opens a file, alone or together with the other processes of a communicator.
    FieldFile(const std::filesystem::path& path, Access access,
              std::optional<MPI_Comm> together = std::nullopt);

    const Layout& layout() const noexcept { return contents; }

    /// Whether the values are in other files.
    bool joined() const noexcept { return !joinedOf.empty(); }
    bool compressed() const;

    /// The files that the values are in, of a joined file. `PartFiles` reads them.
    const std::vector<JoinedPart>& parts() const noexcept { return joinedOf; }

    /// The entries of all slabs.
    std::vector<SlabRecord> records() const;
    /// Writes an entry: a finished slab has the checksum of its values.
    void record(std::int64_t slab, const SlabRecord& entry);

    /// Moves the values of a box, the components of a point one after the other, and where
    /// magnitudes are not null, theirs too.
    void write(const LatticeBox& box, const void* data, const float* magnitudes);
    void read(const LatticeBox& box, void* data, float* magnitudes) const;

    /// Copies the values of a piece to where they belong among those of a whole box.
    void readInto(const LatticeBox& whole, const LatticeBox& piece, void* data) const;

    Provenance provenance() const;
    /// Collective where the file was opened so, with the same provenance from all.
    void setProvenance(const Provenance& provenance);
    /// Has the provenance say that not all values are there; collective likewise.
    void setIncomplete();

    /// Closes it when everything is on the disk, so that failures are seen; collective where it was
    /// opened so.
    void close();

    /// Lets it stay open until the process ends. Where a write has failed in one process, closing
    /// it together would wait for that process for ever.
    void abandon() noexcept;

  private:
    void openContents();
    void openParts();

    std::string name;
    hdf5::File file;
    Layout contents;
    std::vector<JoinedPart> joinedOf;
    hdf5::Type valueType;
    hdf5::Dataset values;
    hdf5::Dataset magnitude;
    hdf5::Dataset entries;
    std::optional<WriteBehind> behind;  ///< of a file to write
};

}  // namespace run
