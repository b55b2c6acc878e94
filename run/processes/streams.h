// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace run {

/// Opens the null device in place of standard streams that are closed. Otherwise the next file to
/// be opened would be one of them, and would get what is meant for people.
/// @throws std::runtime_error where there is no null device
void openStandardStreams();

}  // namespace run
