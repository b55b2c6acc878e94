// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <fpu_control.h>
#include <sched.h>
#include <stdio_ext.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <locale>
#include <new>
#include <sstream>
#include <vector>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace {

using State = std::map<std::string, std::string>;

template <class... Values>
std::string joined(const Values&... values) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    ((text << values << ' '), ...);
    return text.str();
}

std::string textOf(const sigset_t& signals) {
    std::string text;
    for (int signal = 1; signal < NSIG; ++signal)
        text += sigismember(&signals, signal) == 1 ? '1' : '0';
    return text;
}

// The sticky flags of exceptions are no modes: every inexact sum sets one.
void addFloatingPoint(State& state) {
    // The x87's, or the one there is.
    fpu_control_t control = 0;
    _FPU_GETCW(control);
    state["rounding mode"] = joined(std::fegetround());
    state["control word"] = joined(control);
#ifdef __x86_64__
    state["MXCSR"] = joined(_mm_getcsr() & ~unsigned{_MM_EXCEPT_MASK});
#endif
}

void addSignals(State& state) {
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) != 0) continue;
        state["signal " + std::to_string(signal)] =
            joined(reinterpret_cast<void*>(action.sa_sigaction), action.sa_flags) +
            textOf(action.sa_mask);
    }
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    state["blocked signals"] = textOf(blocked);
    stack_t stack{};
    sigaltstack(nullptr, &stack);
    state["signal stack"] = joined(stack.ss_sp, stack.ss_flags, stack.ss_size);
}

void addStream(State& state, const char* name, const std::ios& stream) {
    const void* const buffer = stream.rdbuf();
    const void* const tied = stream.tie();
    state[name] =
        joined(stream.flags(), stream.precision(), stream.width(), int{stream.fill()}, buffer,
               stream.exceptions(), stream.rdstate(), tied, stream.getloc().name());
}

void addFile(State& state, const char* name, std::FILE* file) {
    const bool isBuffered = __fbufsize(file) > 1;
    const bool isWide = std::fwide(file, 0) > 0;
    state[name] =
        joined(isBuffered, __flbf(file), isWide, std::ferror(file), fcntl(fileno(file), F_GETFL));
}

void addStreams(State& state) {
    addStream(state, "std::cin", std::cin);
    addStream(state, "std::cout", std::cout);
    addStream(state, "std::cerr", std::cerr);
    addStream(state, "std::clog", std::clog);
    addFile(state, "stdin", stdin);
    addFile(state, "stdout", stdout);
    addFile(state, "stderr", stderr);
}

std::string openFiles() {
    const auto toFiles = "/proc/" + std::to_string(getpid()) + "/fd";
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
        // The folder that is being read is open as well.
        if (target != toFiles) names.push_back(entry.path().filename().string() + '=' + target);
    }
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names) text += name + ' ';
    return text;
}

auto entriesOf(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

std::string textOf(const char* file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

void addProcess(State& state) {
    std::string variables;
    for (char** variable = environ; *variable != nullptr; ++variable)
        variables += *variable + std::string("\n");
    // Its values are nobody's business in a log of tests.
    state["environment"] = joined(variables.size(), std::hash<std::string>()(variables));
    state["threads"] = joined(entriesOf("/proc/self/task"));
    state["open files"] = openFiles();
    state["working folder"] = std::filesystem::current_path().string();
    state["limits"] = textOf("/proc/self/limits");
    state["priority"] = joined(getpriority(PRIO_PROCESS, 0), sched_getscheduler(0));
    cpu_set_t processors;
    sched_getaffinity(0, sizeof processors, &processors);
    state["processors"] = joined(CPU_COUNT(&processors));
}

}  // namespace

State processState() {
    State state;
    addFloatingPoint(state);
    addSignals(state);
    addStreams(state);
    addProcess(state);
    state["C locale"] = std::setlocale(LC_ALL, nullptr);
    state["C++ locale"] = std::locale().name();
    state["terminate handler"] = joined(reinterpret_cast<void*>(std::get_terminate()));
    state["new handler"] = joined(reinterpret_cast<void*>(std::get_new_handler()));
    return state;
}
