// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/PartFiles.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "run/file/SlabNumbers.h"
#include "run/file/metadata.h"
#include "run/file/openFiles.h"
#include "run/file/outputs.h"

namespace run {

namespace {

LatticeBox common(const LatticeBox& a, const LatticeBox& b) {
    LatticeBox box;
    for (std::size_t i = 0; i < 3; ++i) {
        box.first[i] = std::max(a.first[i], b.first[i]);
        box.size[i] = std::max<std::int64_t>(
            0, std::min(a.first[i] + a.size[i], b.first[i] + b.size[i]) - box.first[i]);
    }
    return box;
}

}  // namespace

std::string complaintAbout(const JoinedPart& part, const FieldFile& file) {
    if (file.joined() || metadata::identityOf(file.layout()) != part.identity)
        return "has another request or other points than the part that was joined";
    const std::vector<SlabRecord> records = file.records();
    if (!file.provenance().complete || !numbersOf(records, /*finished=*/false).empty())
        return "is not complete";
    if (digestOf(records) != part.values)
        return "has other values than the part that was joined: join the parts again";
    return "";
}

PartFiles::PartFiles(const std::filesystem::path& joined)
    : folder(outputs::target(joined).parent_path()), joined(joined, FieldFile::Access::read) {
    std::string complaints;
    const auto complain = [&](const std::string& complaint) {
        complaints += (complaints.empty() ? "" : "; ") + complaint;
    };
    for (const JoinedPart& part : this->joined.parts()) try {
            const std::filesystem::path path = pathOf(part);
            const FieldFile file(path, FieldFile::Access::read);
            const std::string complaint = complaintAbout(part, file);
            if (!complaint.empty()) complain(path.string() + " " + complaint);
        } catch (const std::runtime_error& error) {
            complain(error.what());
        }
    if (!complaints.empty()) throw std::runtime_error(complaints);
}

std::vector<std::filesystem::path> PartFiles::paths() const {
    std::vector<std::filesystem::path> paths;
    for (const JoinedPart& part : joined.parts()) paths.push_back(pathOf(part));
    return paths;
}

void PartFiles::read(const LatticeBox& box, void* values) {
    for (std::size_t i = 0; i < joined.parts().size(); ++i) {
        const LatticeBox piece = common(box, joined.parts()[i].box);
        if (std::min({piece.size[0], piece.size[1], piece.size[2]}) > 0)
            open(i).readInto(box, piece, values);
    }
}

std::filesystem::path PartFiles::pathOf(const JoinedPart& part) const { return folder / part.file; }

const FieldFile& PartFiles::open(std::size_t part) {
    const auto found = opened.find(part);
    if (found != opened.end()) return found->second;
    constexpr std::size_t most = 100;
    // This one, and what else is opened while parts are.
    constexpr std::size_t more = 3;
    if (opened.size() == most || !mayOpen(more)) opened.clear();
    return opened.try_emplace(part, pathOf(joined.parts()[part]), FieldFile::Access::read)
        .first->second;
}

}  // namespace run
