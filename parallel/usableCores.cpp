// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "parallel/usableCores.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <thread>

namespace pistonfield {

namespace {

namespace fs = std::filesystem;

constexpr double unlimited = std::numeric_limits<double>::infinity();

/// What the quota in a folder is worth: in version 2 "<quota> <period>" in one file, in version 1
/// in two; the quota is a word or negative where there is none.
double coresOfQuotaIn(const fs::path& group) {
    double quota = -1;
    double period = 0;
    if (std::ifstream both(group / "cpu.max"); both >> quota >> period)
        return quota > 0 && period > 0 ? std::ceil(quota / period) : unlimited;
    std::ifstream first(group / "cpu.cfs_quota_us");
    std::ifstream second(group / "cpu.cfs_period_us");
    if (first >> quota && second >> period && quota > 0 && period > 0)
        return std::ceil(quota / period);
    return unlimited;
}

/// Of a group and all those that it is in. The file systems of groups may show a container's own
/// group as their root, and what a process knows as its group need not be there.
double coresOfQuotasAbove(const fs::path& mount, const fs::path& group) {
    double cores = coresOfQuotaIn(mount);
    fs::path folder = mount;
    for (const fs::path& name : group.relative_path()) {
        folder /= name;
        cores = std::min(cores, coresOfQuotaIn(folder));
    }
    return cores;
}

unsigned coresToRunOn() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) == 0) return static_cast<unsigned>(CPU_COUNT(&set));
    // There are more processors than the set has room for.
    return std::thread::hardware_concurrency();
}

}  // namespace

double coresOfQuotas(const fs::path& root) {
    const fs::path groups = root / "sys/fs/cgroup";
    double cores = unlimited;
    std::ifstream file(root / "proc/self/cgroup");
    for (std::string line; std::getline(file, line);) {
        // "<hierarchy>:<controllers>:<path>"; version 2 has no controllers.
        std::istringstream fields(line);
        std::string hierarchy;
        std::string controllers;
        std::string path;
        std::getline(fields, hierarchy, ':');
        std::getline(fields, controllers, ':');
        std::getline(fields, path);
        if (controllers.empty())
            cores = std::min(cores, coresOfQuotasAbove(groups, path));
        else if (("," + controllers + ",").find(",cpu,") != std::string::npos)
            cores = std::min(cores, coresOfQuotasAbove(groups / "cpu", path));
    }
    return cores;
}

unsigned usableCores() {
    static const double quota = coresOfQuotas("/");
    const unsigned cores = std::max(1U, coresToRunOn());
    return quota < cores ? static_cast<unsigned>(quota) : cores;
}

}  // namespace pistonfield
