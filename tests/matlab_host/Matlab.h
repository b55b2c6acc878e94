// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <csetjmp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/matlab_host/MatlabEngine.h"

/// An exception of the host's own.
struct MatlabError {
    std::string identifier;
    std::string message;
};

/// How the error operation leaves the module: MATLAB has done both.
enum class LeaveBy { longjmp, exception };

/// A module file, loaded while the object lives.
class LoadedModule {
  public:
    using Entry = void (*)(int, mxArray**, int, const mxArray**);

    explicit LoadedModule(const std::string& path);
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    LoadedModule(LoadedModule&&) = delete;
    LoadedModule& operator=(LoadedModule&&) = delete;
    ~LoadedModule();

    [[nodiscard]] Entry entry() const;
    /// Whether the process holds the module, through this object or not.
    static bool isLoaded(const std::string& path);

  private:
    void* handle;
};

/// A substitute for MATLAB: calls a module as MATLAB does.
class Matlab : public MatlabEngine {
  public:
    struct Answer {
        bool raised = false;
        std::string identifier;  ///< of the error
        std::string error;
        mxArray* output = nullptr;
    };

    /// How a result is created: called instead of the creation, as often as it happens.
    using Creation = std::function<mxArray*()>;

    /// One call. When it has ended, all that was created in it is released, save the output.
    Answer call(const LoadedModule& module, int outputs,
                const std::vector<const mxArray*>& arguments);

    mxArray* create(const std::vector<std::size_t>& dimensions, mxClassID classId,
                    mxComplexity complexity) override;
    char* keepText(const std::string& text) override;
    void print(const char* text) override;
    mxArray* callFunction(int outputCount, const std::vector<mxArray*>& inputs,
                          const std::string& name) override;
    [[noreturn]] void raise(const char* identifier, const char* message) override;

    mxArray* doubles(const std::vector<double>& values, std::vector<std::size_t> dimensions);
    mxArray* text(const std::string& characters);

    LeaveBy leaveBy = LeaveBy::longjmp;
    Creation failingCreation;
    bool hasTexts = true;  ///< whether texts of arrays can be had
    /// What function handles do, and whether they do not fail.
    std::function<bool(double number)> function = [](double /*number*/) { return true; };
    std::vector<std::string> console;    ///< of the last call, print by print
    std::vector<std::string> creations;  ///< of the last call: "4x5x1 class 6 complexity 1"
    std::size_t textsKept = 0;           ///< in the last call

  private:
    bool enter(LoadedModule::Entry entry, int outputs, mxArray** output, int count,
               const mxArray** arguments);
    mxArray* keep(mxArray array);

    std::vector<std::unique_ptr<mxArray>> arrays;
    std::vector<std::string> texts;
    MatlabError raised;
    std::jmp_buf callSite{};
};

/// The process's substitute for MATLAB.
Matlab& matlab();
