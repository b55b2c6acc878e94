// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ostream>
#include <sstream>
#include <string>

/// Takes what is written to a standard stream for as long as it lives.
class CapturedStream {
  public:
    explicit CapturedStream(std::ostream& stream)
        : stream(stream), original(stream.rdbuf(&buffer)) {}
    CapturedStream(const CapturedStream&) = delete;
    CapturedStream& operator=(const CapturedStream&) = delete;
    CapturedStream(CapturedStream&&) = delete;
    CapturedStream& operator=(CapturedStream&&) = delete;
    ~CapturedStream() { stream.rdbuf(original); }

    [[nodiscard]] std::string text() const { return buffer.str(); }

    /// What had been written when the stream was last flushed.
    [[nodiscard]] std::string flushedText() const { return buffer.flushed; }

  private:
    struct Buffer : std::stringbuf {
        std::string flushed;

      protected:
        int sync() override {
            flushed = str();
            return 0;
        }
    };

    Buffer buffer;
    std::ostream& stream;
    std::streambuf* original;
};
