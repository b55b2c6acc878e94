// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/formatting.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <new>

namespace run::formatting {

namespace {

template <class... Values>
std::string format(const char* pattern, Values... values) {
    std::array<char, 64> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), pattern, values...));
    return text.data();
}

/// The number in the largest unit of which there is one or more.
std::string inUnits(double number, const std::array<const char*, 5>& units) {
    constexpr double step = 1000;
    std::size_t unit = 0;
    for (; number >= step && unit + 1 < units.size(); ++unit) number /= step;
    return format(unit == 0 ? "%.0f%s" : "%.1f%s", number, units[unit]);
}

/// Whether a character begins at this byte of UTF-8.
bool begins(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }

/// A word, or its beginning where it is longer than the path of any file: nobody reads that.
std::string readable(const std::string& word) {
    constexpr std::size_t longest = 4200;
    if (word.size() <= longest) return word;
    std::size_t kept = 60;
    while (!begins(word[kept])) --kept;
    return word.substr(0, kept) + "...";
}

/// The words of a line, between blanks, as they can be read.
std::string readableWords(const std::string& line) {
    std::string result;
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t end = std::min(line.find(' ', at), line.size());
        result += readable(line.substr(at, end - at));
        if (end < line.size()) result += ' ';
        at = end + 1;
    }
    return result;
}

}  // namespace

std::string duration(double seconds) {
    const auto whole = static_cast<long long>(std::ceil(seconds));
    constexpr long long minute = 60;
    constexpr long long hour = 60 * minute;
    constexpr long long day = 24 * hour;
    if (whole < minute) return format("%lld s", whole);
    if (whole < hour) return format("%lld min %02lld s", whole / minute, whole % minute);
    if (whole < day) return format("%lld h %02lld min", whole / hour, whole % hour / minute);
    return format("%lld d %02lld h", whole / day, whole % day / hour);
}

std::string bytes(double count) { return inUnits(count, {" B", " kB", " MB", " GB", " TB"}); }

std::string count(double number) {
    return inUnits(number, {"", " thousand", " million", " billion", " trillion"});
}

std::string figure(double number) {
    constexpr double ten = 10;
    constexpr double hundred = 100;
    return format(number < ten ? "%.2f" : number < hundred ? "%.1f" : "%.0f", number);
}

std::string twoDigits(double number) { return format("%.2g", number); }

std::string reason(const std::exception& failure) {
    if (dynamic_cast<const std::bad_alloc*>(&failure) == nullptr) return failure.what();
    return "there is not enough memory; --slab says how many points are computed at a time";
}

std::string complaint(const std::exception& failure) {
    std::string line = reason(failure);
    // Names may have line ends in them, and other control characters.
    std::ranges::replace_if(
        line, [](unsigned char letter) { return std::iscntrl(letter) != 0; }, ' ');
    return "pistonfield-run: " + readableWords(line);
}

std::string timeNow() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    static_cast<void>(gmtime_r(&now, &utc));
    std::array<char, 32> text{};
    static_cast<void>(std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc));
    return text.data();
}

}  // namespace run::formatting
