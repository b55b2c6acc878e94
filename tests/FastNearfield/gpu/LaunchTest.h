// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "FastNearfield/RectangularPistonCuda.h"
#include "cuda_runtime/emulated/Emulator.h"
#include "tests/FastNearfield/gpu/Launchers.h"

/// A context with a rule, and none of it left at the end.
class RuleOnDevice : public testing::Test {
  public:
    RuleOnDevice() {
        static_cast<void>(cuda_runtime::cudaGetLastError());
        uploadRule();
    }
    RuleOnDevice(const RuleOnDevice&) = delete;
    RuleOnDevice& operator=(const RuleOnDevice&) = delete;
    ~RuleOnDevice() override {
        do_timing = 0;
        cuda_runtime::emulated::emulator().setInterceptor(nullptr);
        static_cast<void>(cuda_runtime::cudaThreadExit());
        static_cast<void>(cuda_runtime::cudaGetLastError());
    }
};

/// The same for each launcher.
class EachLauncher : public RuleOnDevice, public testing::WithParamInterface<Launcher> {
  public:
    static std::string nameOf(const testing::TestParamInfo<Launcher>& info) {
        return info.param.name;
    }

  protected:
    const Launcher& launcher = GetParam();

    /// A grid for launchers over grids, or so many points for the others.
    Sizes sizes(Sizes grid) const {
        return launcher.unstructured ? Sizes{grid.x * grid.y * grid.z, 1, 1} : grid;
    }
};
