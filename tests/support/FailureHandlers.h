// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>

#include "core/ErrorHandler.h"

/// One report of a failed condition.
struct Failure {
    std::string condition;
    int line;
    std::string file;

    bool operator==(const Failure&) const = default;
};

/// What a handler does after it has recorded a failure.
enum class AfterFailure { returns, throws };

/// Installs a handler that records failures for the length of a scope.
class RecordedFailures {
  public:
    explicit RecordedFailures(AfterFailure after) {
        ErrorHandler::setErrorHandler(new Handler(after, failures));
    }
    RecordedFailures(const RecordedFailures&) = delete;
    RecordedFailures& operator=(const RecordedFailures&) = delete;
    ~RecordedFailures() { ErrorHandler::setErrorHandler(nullptr); }

    /// The condition texts of all failures so far.
    std::vector<std::string> conditions() const {
        std::vector<std::string> texts;
        for (const Failure& failure : failures) texts.push_back(failure.condition);
        return texts;
    }

    std::vector<Failure> failures;

  private:
    class Handler : public ErrorHandler {
      public:
        Handler(AfterFailure after, std::vector<Failure>& failures)
            : after(after), failures(failures) {}
        void fail(const char* condition, int line, const char* file) override {
            failures.push_back({condition, line, file});
            if (after == AfterFailure::throws) throw failures.back();
        }

      private:
        AfterFailure after;
        std::vector<Failure>& failures;
    };
};
