// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// The registered entry of a kernel without parameters that does nothing.
const void* cuda_init_kernel_entry();
