// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace run {

/// Takes SIGINT (Ctrl-C) and SIGTERM as a wish to stop, from now on. A second one ends the process.
void listenForSignals();

/// The signal that has come, or 0.
int signalled() noexcept;

}  // namespace run
