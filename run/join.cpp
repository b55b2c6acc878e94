// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "run/FieldFile.h"
#include "run/FileBeside.h"
#include "run/commands.h"
#include "run/xdmf.h"

namespace run {

namespace {

bool overlap(const LatticeBox& a, const LatticeBox& b) {
    for (std::size_t i = 0; i < a.first.size(); ++i)
        if (a.first[i] + a.size[i] <= b.first[i] || b.first[i] + b.size[i] <= a.first[i])
            return false;
    return true;
}

/// What the parts have in common, gathered from one after the other.
class Gathering {
  public:
    void add(const std::filesystem::path& path, const std::filesystem::path& relative) {
        const std::string name = path.string();
        const FieldFile part(path, FieldFile::Access::read);
        const Account account = part.account();
        if (!account.complete) throw std::runtime_error(name + " is not complete");
        if (!whole) begin(part, account);
        if (part.layout().request != whole->request || part.layout().magnitude != whole->magnitude)
            throw std::runtime_error(name + " belongs to another field");
        for (const FieldFile::Source& other : sources)
            if (overlap(other.box, part.layout().box))
                throw std::runtime_error(name + " overlaps with " + other.path.string());
        sources.push_back({relative, part.layout().box});
        points += part.layout().box.points();
        total.started = std::min(total.started, account.started);
        total.finished = std::max(total.finished, account.finished);
        total.seconds += account.seconds;
        total.processes = std::max(total.processes, account.processes);
        total.peakMemory = std::max(total.peakMemory, account.peakMemory);
    }

    void create(const std::filesystem::path& output) const {
        const std::int64_t missing = whole->box.points() - points;
        if (missing != 0)
            throw std::runtime_error("parts are missing: " + std::to_string(missing) +
                                     " points are in none");
        const FileBeside beside(output);
        FieldFile::createJoined(beside.path(), *whole, sources);
        FieldFile file(beside.path(), FieldFile::Access::write);
        file.setAccount(total);
        file.close();
        beside.takePlace();
        if (whole->magnitude) writeXdmf(output, *whole);
        std::cout << output.string() << " has " << points << " points in " << sources.size()
                  << " files, which it needs beside it\n";
    }

  private:
    void begin(const FieldFile& part, const Account& account) {
        whole = part.layout();
        whole->box = whole->request.lattice();
        total = account;
        total.seconds = 0;
    }

    std::optional<Layout> whole;
    std::vector<FieldFile::Source> sources;
    std::int64_t points = 0;
    Account total;
};

}  // namespace

int join(const JoinCommand& command) {
    const std::filesystem::path& output = command.output;
    if (std::filesystem::exists(output))
        throw std::runtime_error(output.string() + " exists: remove it first");
    const std::filesystem::path folder = std::filesystem::absolute(output).parent_path();
    Gathering gathering;
    for (const std::filesystem::path& part : command.parts)
        gathering.add(part, std::filesystem::relative(part, folder));
    gathering.create(output);
    return 0;
}

}  // namespace run
