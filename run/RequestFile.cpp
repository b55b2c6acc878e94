// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/RequestFile.h"

#include <toml++/toml.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <string_view>

namespace run {

namespace {

std::string place(const std::string& name, const toml::source_region& source) {
    return name + ":" + std::to_string(source.begin.line) + ": ";
}

std::vector<std::string> keys() {
    std::vector<std::string> names{"output"};
    for (const Option& option : computeOptions) names.emplace_back(option.name);
    return names;
}

/// The shortest text that reads as this number, and as no whole one.
std::string textOf(double number) {
    std::array<char, 32> digits{};
    const char* end = std::to_chars(digits.begin(), digits.end(), number).ptr;
    std::string text(static_cast<const char*>(digits.begin()), end);
    if (text.find_first_not_of("-0123456789") == std::string::npos) text += ".0";
    return text;
}

/// A value as a word of a command line.
/// @throws std::runtime_error where it is neither number nor text nor true or false
std::string wordOf(const toml::node& value) {
    if (const auto text = value.value_exact<std::string>()) return *text;
    if (const auto number = value.value_exact<std::int64_t>()) return std::to_string(*number);
    if (const auto number = value.value_exact<double>()) return textOf(*number);
    if (const auto flag = value.value_exact<bool>()) return *flag ? "true" : "false";
    throw std::runtime_error("neither number nor text, nor a list of these");
}

std::vector<std::string> wordsOf(const toml::node& value) {
    std::vector<std::string> words;
    if (const toml::array* list = value.as_array())
        for (const toml::node& each : *list) words.push_back(wordOf(each));
    else
        words.push_back(wordOf(value));
    return words;
}

/// Whether a key of the text has more parts than the parser's recursion can take. A request needs
/// none; numbers that follow each other are no key.
bool nestsDeeply(const std::string& text) {
    constexpr int most = 100;
    int dots = 0;
    char before = '\0';
    bool spaced = false;
    for (const char c : text) {
        if (c == ' ' || c == '\t') {
            spaced = true;
            continue;
        }
        const bool ends = c == ',' || c == '=' || c == '\n' || c == '#';
        if (ends || (spaced && before != '.' && c != '.')) dots = 0;
        if (c == '.' && ++dots > most) return true;
        before = c;
        spaced = false;
    }
    return false;
}

/// Whether an option's value may be a list.
bool takesList(const std::string& name) {
    for (const Option& option : computeOptions)
        if (name == option.name) return option.words > 1 || name == "table";
    return false;
}

toml::table parse(const std::string& name, const std::string& text) {
    if (nestsDeeply(text)) throw std::runtime_error(name + ": a key has too many parts");
    try {
        return toml::parse(text, std::string_view(name));
    } catch (const toml::parse_error& error) {
        throw std::runtime_error(place(name, error.source()) + std::string(error.description()));
    }
}

}  // namespace

std::vector<Setting> readRequestFile(const std::string& name, const std::string& text) {
    const std::vector<std::string> known = keys();
    std::vector<Setting> settings;
    for (const auto& [key, value] : parse(name, text)) {
        const std::string option(key.str());
        const std::string origin = place(name, key.source()) + option;
        if (std::find(known.begin(), known.end(), option) == known.end())
            throw std::runtime_error(origin + " is no option" + suggestion(option, known));
        if (value.is_array() && !takesList(option))
            throw std::runtime_error(origin + ": takes one value, not a list");
        try {
            settings.push_back({option, wordsOf(value), origin});
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(origin + " is " + error.what());
        }
    }
    return settings;
}

}  // namespace run
