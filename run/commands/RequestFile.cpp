// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/RequestFile.h"

#include <toml++/toml.h>

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "run/commands/arrayForm.h"
#include "run/commands/pistonForm.h"
#include "run/commands/siForm.h"
#include "run/numbers.h"

namespace run {

namespace {

std::string place(const std::string& name, const toml::source_region& source) {
    return name + ":" + std::to_string(source.begin.line) + ": ";
}

/// The keys that are in no table.
std::vector<std::string> keys() {
    std::vector<std::string> names{"output"};
    for (const Option& option : computeOptions) names.emplace_back(option.name);
    return names;
}

/// The shortest text that reads as this number, and as no whole one.
std::string textOf(double number) {
    std::string text = numbers::textOf(number);
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

/// Where a quoted text that begins here ends: behind its closing quotes, or at the text's end.
std::size_t endOfQuoted(const std::string& text, std::size_t begin) {
    const char quote = text[begin];
    const bool escapes = quote == '"';
    const std::string three(3, quote);
    const bool overLines = text.compare(begin, 3, three) == 0;
    std::size_t at = begin + (overLines ? 3 : 1);
    for (; at < text.size(); ++at) {
        if (escapes && text[at] == '\\')
            ++at;
        else if (overLines ? text.compare(at, 3, three) == 0 : text[at] == quote)
            return at + (overLines ? 3 : 1);
        else if (!overLines && text[at] == '\n')
            return at;
    }
    return text.size();
}

/// Whether a key of the text has more parts than the parser's recursion can take. A request needs
/// none; numbers that follow each other are no key, and quoted texts are one part each.
bool nestsDeeply(const std::string& text) {
    constexpr int most = 100;
    int dots = 0;
    char before = '\0';
    bool spaced = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == ' ' || c == '\t') {
            spaced = true;
            continue;
        }
        const bool ends = c == ',' || c == '=' || c == '\n' || c == '#';
        if (ends || (spaced && before != '.' && c != '.')) dots = 0;
        if (c == '.' && ++dots > most) return true;
        if (c == '#') at = std::min(text.find('\n', at), text.size()) - 1;
        if (c == '"' || c == '\'') at = endOfQuoted(text, at) - 1;
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

/// @throws std::runtime_error naming the key, where its value is none that it may have
Setting settingOf(const std::string& name, const std::string& origin, bool mayBeList,
                  const toml::node& value) {
    if (value.is_array() && !mayBeList)
        throw std::runtime_error(origin + ": takes one value, not a list");
    try {
        return {name, wordsOf(value), origin};
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(origin + " is " + error.what());
    }
}

toml::table parse(const std::string& name, const std::string& text) {
    if (nestsDeeply(text)) throw std::runtime_error(name + ": a key has too many parts");
    try {
        return toml::parse(text, std::string_view(name));
    } catch (const toml::parse_error& error) {
        throw std::runtime_error(place(name, error.source()) + std::string(error.description()));
    }
}

/// Whether a key says what the field is, in no unit of its own.
bool isRaw(const std::string& key) {
    constexpr std::array names{"transform", "sizes", "l", "s", "k", "attenuation"};
    return std::find(names.begin(), names.end(), key) != names.end();
}

/// The keys that go with what else is in a table.
std::vector<std::string> namesIn(const std::string& table, const toml::table& contents) {
    if (table != "array") return siForm::namesIn(table);
    const auto kind = contents["kind"].value<std::string>();
    return arrayForm::keysWith(contents.contains("table") && !kind, kind.value_or(""));
}

/// What was meant by a key that a table, or what is in none, does not have.
std::string hint(const std::string& table, const toml::table& contents, const std::string& key) {
    std::vector<std::string> known = siForm::namesIn("");
    const std::vector<std::string> others = keys();
    known.insert(known.end(), others.begin(), others.end());
    if (!table.empty() && !isRaw(key) && std::ranges::find(known, key) != known.end())
        return "; " + key + " stands before the first table";
    const std::string elsewhere = siForm::elsewhere(key);
    // An array takes the place of a piston.
    const bool isOfPiston = table == "array" && elsewhere.starts_with("piston.");
    if (!elsewhere.empty() && !isOfPiston) return ", did you mean " + elsewhere + "?";
    if (std::string instead = siForm::instead(key); !instead.empty()) return instead;
    if (!table.empty()) return suggestion(key, namesIn(table, contents));
    known.insert(known.end(), siForm::tables().begin(), siForm::tables().end());
    return suggestion(key, known);
}

/// A key of the form in SI units that has a text.
Setting siTextOf(const siForm::Key& key, const std::string& origin, const toml::node& value) {
    if (!value.is_string()) throw std::runtime_error(origin + ": takes a text");
    return settingOf(key.path(), origin, /*mayBeList=*/false, value);
}

/// One that has numbers.
Setting siNumbersOf(const siForm::Key& key, const std::string& origin, const toml::node& value) {
    const toml::array* list = value.as_array();
    const auto isText = [](const toml::node& each) { return each.is_string(); };
    if (isText(value) || (list != nullptr && std::any_of(list->begin(), list->end(), isText)))
        throw std::runtime_error(origin + ": takes numbers, not a text");
    return settingOf(key.path(), origin, key.list, value);
}

/// Whether a list has lists in it.
bool hasLists(const toml::array& list) {
    return std::any_of(list.begin(), list.end(),
                       [](const toml::node& each) { return each.is_array(); });
}

/// The same; a matrix may be a list of its rows.
Setting siSettingOf(const siForm::Key& key, const std::string& origin, const toml::node& value) {
    if (key.text) return siTextOf(key, origin, value);
    const toml::array* rows = value.as_array();
    if (std::string_view(key.table) == "array" && rows != nullptr && hasLists(*rows))
        throw std::runtime_error(origin + ": " +
                                 (std::string_view(key.name) == "focus"
                                      ? arrayForm::onePoint
                                      : "takes one list of numbers, not a list of lists"));
    if (!key.list || rows == nullptr || rows->empty() || !rows->front().is_array())
        return siNumbersOf(key, origin, value);
    const std::size_t columns = key.columns == 0 ? rows->size() : key.columns;
    Setting setting{key.path(), {}, origin};
    for (const toml::node& row : *rows) {
        const toml::array* list = row.as_array();
        if (list == nullptr || list->size() != columns)
            throw std::runtime_error(
                origin + (key.columns == 0
                              ? ": its rows make no square matrix"
                              : ": takes rows of " + std::to_string(columns) + " numbers"));
        const Setting part = siNumbersOf(key, origin, row);
        setting.words.insert(setting.words.end(), part.words.begin(), part.words.end());
    }
    return setting;
}

/// What is in a table, and first of all that it is there.
std::vector<Setting> siTable(const std::string& table, const std::string& file,
                             const std::string& origin, const toml::node& value) {
    const toml::table* contents = value.as_table();
    if (contents == nullptr) throw std::runtime_error(origin + ": is a table, as [" + table + "]");
    std::vector<Setting> settings{{table, {}, origin}};
    for (const auto& [key, inside] : *contents) {
        const std::string word(key.str());
        const std::string where = place(file, key.source()).append(table).append(".") + word;
        const siForm::Key* known = siForm::find(table, word);
        if (known == nullptr)
            throw std::runtime_error(where + " is no option" + hint(table, *contents, word));
        settings.push_back(siSettingOf(*known, where, inside));
    }
    return settings;
}

/// Takes the shape of a piston out of what is in its table, whose own place then means nothing: as
/// an array, a shape goes with a raw lattice, too.
std::vector<Setting> shapeIn(std::vector<Setting>& table) {
    const std::string prefix = "piston.";
    const auto isOfShape = [&](const Setting& setting) {
        return setting.name.starts_with(prefix) &&
               pistonForm::isOfShape(setting.name.substr(prefix.size()));
    };
    const auto shape = std::ranges::find(table, prefix + "shape", &Setting::name);
    if (shape == table.end()) {
        const auto lost = std::ranges::find_if(table, isOfShape);
        if (lost != table.end())
            throw std::runtime_error(lost->origin + ": goes with a shape, and there is none");
        return {};
    }
    std::vector<Setting> settings{{"shape", {}, shape->origin}};
    std::vector<Setting> others;
    for (Setting& setting : table) {
        const bool isPlace =
            setting.name == prefix + "center" || setting.name == prefix + "orientation";
        if (setting.name == "piston") continue;
        (isPlace ? others : settings).push_back(std::move(setting));
    }
    table = std::move(others);
    return settings;
}

/// Puts what is said in SI units among the other settings, which may have an array or a shape.
void addTranslated(std::vector<Setting> si, const std::string& file,
                   std::vector<Setting>& settings) {
    if (si.empty()) return;
    const auto raw = std::ranges::find_if(settings, isRaw, &Setting::name);
    if (raw != settings.end())
        throw std::runtime_error(si.front().origin + ", in SI units, excludes " + raw->origin);
    for (const char* name : {"array", "shape"}) {
        const auto found = std::ranges::find(settings, name, &Setting::name);
        if (found != settings.end()) si.push_back(*found);
    }
    const std::vector<Setting> translated = siForm::translated(si, file);
    settings.insert(settings.end(), translated.begin(), translated.end());
}

}  // namespace

Drive readDrive(const std::string& name, const std::string& text) {
    const toml::table file = parse(name, text);
    const auto numberAt = [&](const char* path) -> std::optional<double> {
        const auto node = file.at_path(path);
        if (!node) return std::nullopt;
        const Setting setting =
            settingOf(path, place(name, node.node()->source()) + path, false, *node.node());
        try {
            return numbers::real(setting.words.front());
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(setting.origin + ": " + error.what());
        }
    };
    return {numberAt("frequency"), numberAt("velocity"), numberAt("medium.speed"),
            numberAt("medium.density")};
}

std::vector<Setting> readRequestFile(const std::string& name, const std::string& text) {
    const std::vector<std::string> known = keys();
    std::vector<Setting> settings;
    std::vector<Setting> si;
    const toml::table file = parse(name, text);
    for (const auto& [key, value] : file) {
        const std::string option(key.str());
        const std::string origin = place(name, key.source()) + option;
        if (std::ranges::find(siForm::tables(), option) != siForm::tables().end()) {
            std::vector<Setting> table = siTable(option, name, origin, value);
            if (option == "piston") {
                const std::vector<Setting> shape = shapeIn(table);
                settings.insert(settings.end(), shape.begin(), shape.end());
            }
            // An array goes with a raw lattice, too.
            std::vector<Setting>& form = option == "array" ? settings : si;
            form.insert(form.end(), table.begin(), table.end());
        } else if (const siForm::Key* inSi = siForm::find("", option)) {
            si.push_back(siSettingOf(*inSi, origin, value));
        } else if (std::ranges::find(known, option) != known.end()) {
            settings.push_back(settingOf(option, origin, takesList(option), value));
        } else {
            throw std::runtime_error(origin + " is no option" + hint("", file, option));
        }
    }
    addTranslated(std::move(si), name, settings);
    return settings;
}

}  // namespace run
