// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/FastNearfield/gpu/Transcript.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

using namespace cuda_runtime;

/// A standard channel that leads to a file for the length of a scope.
class RedirectedChannel {
  public:
    RedirectedChannel(std::FILE* channel, std::string mark)
        : channel(channel), mark(std::move(mark)), file(std::tmpfile(), &std::fclose) {
        static_cast<void>(std::fflush(channel));
        saved = dup(fileno(channel));
        if (!file || saved < 0 || dup2(fileno(file.get()), fileno(channel)) < 0)
            throw std::runtime_error("a channel cannot be redirected");
    }
    RedirectedChannel(const RedirectedChannel&) = delete;
    RedirectedChannel& operator=(const RedirectedChannel&) = delete;
    ~RedirectedChannel() {
        static_cast<void>(std::fflush(channel));
        static_cast<void>(dup2(saved, fileno(channel)));
        static_cast<void>(close(saved));
    }

    /// Appends the lines that have arrived since the last time.
    void drainTo(Transcript& transcript) {
        std::istringstream news(arrived());
        for (std::string line; std::getline(news, line);) {
            std::string& event = transcript.emplace_back(mark);
            event += line;
            if (news.eof()) event += " (not ended)";
        }
    }

  private:
    std::string arrived() {
        std::string text;
        std::array<char, 4096> piece{};
        for (ssize_t got = 1; got > 0; position += got) {
            got = pread(fileno(file.get()), piece.data(), piece.size(), position);
            if (got < 0) throw std::runtime_error("a redirected channel cannot be read");
            text.append(piece.data(), static_cast<std::size_t>(got));
        }
        return text;
    }

    std::FILE* channel;
    std::string mark;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
    int saved = -1;
    off_t position = 0;
};

/// "in line 17 :" reads "in line # :".
std::string withoutLineNumber(std::string event) {
    const std::string before = "in line ";
    const std::size_t found = event.find(before);
    if (found == std::string::npos) return event;
    const std::size_t number = found + before.size();
    const std::size_t end = event.find_first_not_of("0123456789", number);
    if (end > number && event.substr(std::min(end, event.size()), 2) == " :")
        event.replace(number, end - number, 1, '#');
    return event;
}

class Recorder {
  public:
    explicit Recorder(std::optional<PlannedFailure> plan) : plan(plan) {}

    cudaError_t see(const emulated::RuntimeCall& call) {
        note(call.text);
        if (!plan || (plan->operation && *plan->operation != call.operation)) return cudaSuccess;
        return ++counted == plan->nth ? plan->status : cudaSuccess;
    }

    void note(const std::string& event) {
        drain();
        transcript.push_back(event);
    }

    Transcript finish() {
        drain();
        for (std::string& event : transcript) event = withoutLineNumber(event);
        return std::move(transcript);
    }

  private:
    void drain() {
        out.drainTo(transcript);
        err.drainTo(transcript);
    }

    Transcript transcript;
    RedirectedChannel out{stdout, "out: "};
    RedirectedChannel err{stderr, "err: "};
    std::optional<PlannedFailure> plan;
    int counted = 0;
};

class RecordingHandler : public ErrorHandler {
  public:
    RecordingHandler(Recorder& recorder, AfterFailure after) : recorder(recorder), after(after) {}

    void fail(const char* condition, int line, const char* file) override {
        const Failure failure{condition, line, file};
        std::string event = "report: ";
        event.append(failure.condition).append(" (").append(failure.file);
        event += line > 0 ? ")" : ", without a line)";
        recorder.note(event);
        if (after == AfterFailure::throws) throw failure;
    }

  private:
    Recorder& recorder;
    AfterFailure after;
};

}  // namespace

Transcript transcriptOf(const std::function<void()>& work, AfterFailure after,
                        std::optional<PlannedFailure> plan) {
    Recorder recorder(plan);
    emulated::emulator().setInterceptor(
        [&recorder](const emulated::RuntimeCall& call) { return recorder.see(call); });
    ErrorHandler::setErrorHandler(new RecordingHandler(recorder, after));
    try {
        work();
    } catch (const Failure&) {
        // The transcript's last event.
    }
    ErrorHandler::setErrorHandler(nullptr);
    emulated::emulator().setInterceptor(nullptr);
    return recorder.finish();
}
