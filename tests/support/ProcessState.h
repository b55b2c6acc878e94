// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <map>
#include <string>

/// What all parts of a process share and a module could change, by name: the modes of the
/// floating-point units, locales, signals, standard streams, the environment, limits, open files
/// and the number of threads.
std::map<std::string, std::string> processState();
