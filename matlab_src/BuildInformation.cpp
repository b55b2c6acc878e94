// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/BuildInformation.h"

#include <string>

#include "buildTime.h"
#include "matlab_src/Host.h"
#include "version.h"

namespace {

void printLabelled(std::string label, const char* value) {
    constexpr std::size_t labelWidth = 20;
    label.resize(labelWidth, ' ');
    host::print(label + value + "\n");
}

}  // namespace

void printBuildInformation() {
    host::print(std::string("Compiled on ") + version::buildTime + "\n");
    printLabelled("mercurial id:", version::id);
    // Deliberate: "datae", and labels that keep one name whatever version-control system is in use.
    printLabelled("mercurial datae:", version::date);
    printLabelled("mercurial revision:", version::revision);
}
