// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <iostream>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

#include "run/commands/commands.h"
#include "run/commands/partNames.h"
#include "run/commands/preparation.h"
#include "run/file/FieldFile.h"
#include "run/file/SlabNumbers.h"
#include "run/file/TemporaryFile.h"
#include "run/file/metadata.h"
#include "run/file/outputs.h"
#include "run/file/xdmf.h"

namespace run {

namespace {

namespace fs = std::filesystem;

bool overlap(const LatticeBox& a, const LatticeBox& b) {
    for (std::size_t i = 0; i < a.first.size(); ++i)
        if (a.first[i] + a.size[i] <= b.first[i] || b.first[i] + b.size[i] <= a.first[i])
            return false;
    return true;
}

/// What the parts have in common, gathered from one after the other.
class Gathering {
  public:
    /// @throws std::runtime_error where a file is no part of this field
    void add(const fs::path& path, const std::string& relative) {
        const std::string name = path.string();
        const FieldFile part(path, FieldFile::Access::read);
        const Provenance provenance = part.provenance();
        if (part.joined()) throw std::runtime_error(name + " is joined itself: name its parts");
        const std::vector<SlabRecord> records = part.records();
        if (!provenance.complete || !numbersOf(records, /*finished=*/false).empty())
            throw std::runtime_error(name + " is not complete");
        if (!whole) begin(part, provenance);
        if (part.layout().request != whole->request || part.layout().magnitude != whole->magnitude)
            throw std::runtime_error(name + " belongs to another field");
        for (const JoinedPart& other : parts)
            if (overlap(other.box, part.layout().box))
                throw std::runtime_error(name + " overlaps with " + other.file);
        parts.push_back(
            {relative, part.layout().box, metadata::identityOf(part.layout()), digestOf(records)});
        points += part.layout().box.points();
        total.started = std::min(total.started, provenance.started);
        total.finished = std::max(total.finished, provenance.finished);
        total.seconds += provenance.seconds;
        total.processes = std::max(total.processes, provenance.processes);
        total.peakMemory = std::max(total.peakMemory, provenance.peakMemory);
        total.undefined += provenance.undefined;
        // Of one request, but maybe on processors that round otherwise.
        if (provenance.accuracy &&
            (!total.accuracy || provenance.accuracy->error > total.accuracy->error))
            total.accuracy = provenance.accuracy;
    }

    void create(const JoinCommand& command) const {
        const std::int64_t missing = whole->box.points() - points;
        if (missing != 0)
            throw std::runtime_error("parts are missing: " + std::to_string(missing) +
                                     " points are in none" + missingParts());
        const fs::path file = outputs::target(command.output);
        TemporaryFile::removeLeftovers(file);
        TemporaryFile temporary(file);
        temporary.fill([&](const fs::path& path) {
            FieldFile::createJoined(path, *whole, parts, temporary.head());
            FieldFile joined(path, FieldFile::Access::write);
            joined.setProvenance(total);
            joined.close();
        });
        static_cast<void>(temporary.takePlace(command.overwrite, firstBytes()));
        if (whole->magnitude) writeXdmf(command.output, *whole, command.overwrite);
        std::cout << command.output.string() << " has " << points << " points in " << parts.size()
                  << " files, which it needs beside it\n";
    }

    bool hasMagnitude() const { return whole->magnitude; }

  private:
    /// Whether a file is the part that its name says, of so many.
    bool isAsNamed(const JoinedPart& part, std::int64_t of) const {
        const auto named = partNamed(part.file);
        return named && named->of == of && boxOf(*named, whole->box.size) == part.box;
    }

    /// ", those of 3/10, 7/10": which parts there are none of, where all names say what they are.
    std::string missingParts() const {
        const auto first = partNamed(parts.front().file);
        if (!first || first->of > std::ranges::max(whole->box.size)) return {};
        std::set<std::int64_t> there;
        for (const JoinedPart& part : parts) {
            if (!isAsNamed(part, first->of)) return {};
            there.insert(partNamed(part.file)->number);
        }
        constexpr int most = 10;
        std::string names;
        int count = 0;
        for (std::int64_t number = 1; number <= first->of && count <= most; ++number) {
            if (there.contains(number)) continue;
            names += count == 0 ? ", those of " : ", ";
            names +=
                count == most ? "..." : std::to_string(number) + "/" + std::to_string(first->of);
            ++count;
        }
        return names;
    }

    void begin(const FieldFile& part, const Provenance& provenance) {
        whole = part.layout();
        whole->box = whole->request.lattice.box();
        total = provenance;
        total.seconds = 0;
        total.undefined = 0;
    }

    std::optional<Layout> whole;
    std::vector<JoinedPart> parts;
    std::int64_t points = 0;
    Provenance total;
};

/// @throws std::runtime_error naming all files that are no parts of one field
Gathering gather(const JoinCommand& command) {
    const fs::path folder = fs::absolute(outputs::target(command.output)).parent_path();
    Gathering gathering;
    std::string complaints;
    for (const fs::path& part : command.parts) try {
            gathering.add(part, fs::relative(part, folder).string());
        } catch (const std::runtime_error& error) {
            complaints += (complaints.empty() ? "" : "; ") + std::string(error.what());
        }
    if (!complaints.empty()) throw std::runtime_error(complaints);
    return gathering;
}

}  // namespace

int join(const JoinCommand& command) {
    outputs::require(command.output, command.overwrite, command.parts);
    const Gathering gathering = gather(command);
    outputs::requireFolder(command.output);
    if (gathering.hasMagnitude()) requireViewersFile(command.output, command.overwrite);
    gathering.create(command);
    return 0;
}

}  // namespace run
