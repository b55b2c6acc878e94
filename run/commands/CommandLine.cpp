// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "run/commands/notes.h"
#include "run/commands/options.h"
#include "run/commands/siForm.h"
#include "run/file/revision.h"

namespace run {

namespace {

constexpr std::size_t lineWidth = 80;
constexpr std::size_t nameWidth = 28;

/// The text in lines of at most a width.
std::string wrapped(const std::string& text, std::size_t width) {
    std::istringstream in(text);
    std::string lines;
    std::size_t used = 0;
    for (std::string word; in >> word; used += word.size()) {
        const bool fits = used + 1 + word.size() <= width;
        if (used > 0) lines += fits ? ' ' : '\n';
        used = used > 0 && fits ? used + 1 : 0;
        lines += word;
    }
    return lines;
}

std::string description(const std::string& text) {
    return wrapped(text, lineWidth - nameWidth - 1);
}

/// An option or, without dashes, what stands alone. Its words are read elsewhere, so that they
/// have the same rules wherever they come from.
/// @param most of the words that it may have; 0 of a flag
CLI::Option* add(CLI::App& app, const std::string& names, int least, int most,
                 const std::string& text) {
    const auto accept = [](const CLI::results_t&) { return true; };
    if (most == 0)
        return app.add_flag_callback(
            names, [] {}, description(text));
    const CLI::callback_t callback = accept;
    CLI::Option* option = app.add_option(names, callback, description(text));
    return option->expected(least, most)->allow_extra_args(most > least);
}

/// What help says of an option.
std::string textOf(const Option& option) {
    const std::string device = emulationNote();
    const bool told = std::string_view(option.name) == "mode" && !device.empty();
    return told ? std::string(option.text) + "; " + device : option.text;
}

/// What the program is, and where it computes where that is not what its modes say.
std::string versionText() {
    const std::string device = emulationNote();
    return "pistonfield-run " + revision() + (device.empty() ? "" : "\n" + device);
}

void addCompute(CLI::App& app) {
    add(app, "output", 1, 1, "the file to write, as field.h5")->type_name("");
    for (const Option& option : computeOptions)
        add(app, dashed(option.name), option.words, option.words, textOf(option))
            ->type_name(option.word)
            ->group(option.group);
    add(app, "--request", 1, 1,
        "a text file with these options, as: sizes = [100, 100, 200]; or with a field in SI units, "
        "or "
        "an array, whose keys are no options")
        ->type_name("FILE")
        ->group(fieldGroup);
}

CLI::App& addCommand(CLI::App& app, const char* name, const char* text) {
    CLI::App* command = app.add_subcommand(name, description(text));
    command->allow_extras()->get_formatter()->column_width(nameWidth);
    return *command;
}

void addBeam(CLI::App& app) {
    CLI::App& beam =
        addCommand(app, "beam",
                   "measure the beam of a request's source, or of a field that has been computed");
    add(beam, "source", 1, 1, "a request file, or a file of a field; lengths in m")->required();
    add(beam, "--json", 0, 0, "print JSON in place of a table");
    const auto number = [&](const char* names, const char* text) {
        add(beam, names, 1, 1, text)->type_name("NUMBER");
    };
    number("--velocity", "the velocity of a weight 1, in m/s; 1 by default");
    number("--speed", "the speed of sound, in m/s; 1482 by default");
    number("--density", "the density, in kg/m^3; 998 by default");
    number("--duty", "the part of the time in which the source is driven; 1 by default");
    number("--derating",
           "attenuation that pressures are derated by, in dB/(cm MHz); 0.3 by default");
    add(beam, "--hydrophone", 1, 2,
        "a hydrophone's face: a disc's diameter, or a rectangle's two sides, in m")
        ->type_name("LENGTH");
    add(beam, "--axis", 3, 3, "the beam's direction; by default from the source to the peak")
        ->type_name("NUMBER");
    number("--threads", "cores to compute with; all that it may use by default");
}

void addCommands(CLI::App& app) {
    constexpr int any = 1 << 29;
    CLI::App& join = addCommand(app, "join", "make one field of its parts");
    add(join, "output", 1, 1, "the file to write")->required();
    add(join, "parts", 1, any, "the files of all parts")->required();
    add(join, "--overwrite", 0, 0, overwriteText);

    CLI::App& verify = addCommand(app, "verify", "compare files with their checksums");
    add(verify, "files", 1, any, "files of fields")->required();

    CLI::App& extract =
        addCommand(app, "extract", "copy values, as pairs without a format, x fastest");
    add(extract, "file", 1, 1, "a file of a field")->required();
    add(extract, "output", 1, 1, "the file to write")->required();
    add(extract, "--first", 3, 3, "indices of the first point; by default the file's")
        ->type_name("NUMBER");
    add(extract, "--size,--sizes", 3, 3, "points along x, y and z; all by default")
        ->type_name("NUMBER");
    add(extract, "--overwrite", 0, 0, overwriteText);

    CLI::App& show = addCommand(
        app, "show", "say what field a file has, as a request file, and how it came about");
    add(show, "file", 1, 1, "a file of a field")->required();
    add(show, "--elements", 0, 0, "instead of these the elements of its array, as a table");
    addBeam(app);
}

/// The words last one first, as CLI11 has them. It would take "-.5" for an option, and
/// "=3000" for the word in "-k=3000".
std::vector<std::string> reversed(std::vector<std::string> words) {
    for (std::string& word : words) {
        if (word.starts_with("-.")) word.insert(1, "0");
        if (word.size() > 2 && word[0] == '-' && word[1] != '-' && word[2] == '=') word.erase(2, 1);
    }
    std::reverse(words.begin(), words.end());
    return words;
}

std::vector<std::string> namesOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options()) names.push_back(option->get_name());
    return names;
}

std::vector<std::string> commandsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    return names;
}

/// What somebody may have meant by a word that begins with a dash and is no option.
std::string hint(const CLI::App& app, const std::string& word) {
    const std::string option = word.substr(0, word.find('='));
    const std::string name = option.substr(std::min(option.find_first_not_of('-'), option.size()));
    if (std::string instead = siForm::instead(name); !instead.empty()) return instead;
    const siForm::Key* key = siForm::find("", name);
    const std::string path = key != nullptr ? key->path() : siForm::elsewhere(name);
    if (!path.empty()) return "; " + path + " is a key of a request file";
    return suggestion(word, namesOf(app));
}

/// @throws std::runtime_error naming a word that has no meaning
void requireNoMore(const CLI::App& app) {
    std::vector<std::string> rest = app.remaining();
    std::erase(rest, "--");
    if (rest.empty()) return;
    for (const std::string& word : rest)
        if (word.starts_with("-"))
            throw std::runtime_error(word + " is no option" + hint(app, word) + "; see --help");
    // The command itself may be misspelt.
    const CLI::Option* output = app.get_option_no_throw("output");
    if (app.get_parent() == nullptr && output->count() > 0) {
        const std::string first = output->results().front();
        const std::string meant = suggestion(first, commandsOf(app));
        if (!meant.empty()) throw std::runtime_error(first + " is no command" + meant);
    }
    throw std::runtime_error("not expected: " + rest.front() + "; see --help");
}

CommandLine itemsOf(const CLI::App& app) {
    CommandLine line;
    for (const CLI::Option* option : app.get_options())
        if (option->count() > 0)
            line.items.push_back({option->get_single_name(), option->results()});
    return line;
}

/// What is wrong, where an option has too few words or is there twice.
std::string mismatch(const CLI::App& app, const std::string& text) {
    const std::string name = text.substr(0, text.find(':'));
    const CLI::Option* option = app.get_option_no_throw(name);
    if (option == nullptr) return text;
    const int words = option->get_expected_min();
    return name + " takes " + std::to_string(words) + (words == 1 ? " word" : " words") + ", once";
}

/// The command that was chosen, or the program itself.
const CLI::App& chosenOf(const CLI::App& app) {
    const std::vector<CLI::App*> commands = app.get_subcommands();
    return commands.empty() ? app : *commands.front();
}

CommandLine lineOf(const CLI::App& app) {
    const CLI::App& chosen = chosenOf(app);
    requireNoMore(chosen);
    CommandLine line = itemsOf(chosen);
    if (&chosen == &app) return line;
    line.command = chosen.get_name();
    requireNoMore(app);
    for (const CommandLine::Item& item : itemsOf(app).items)
        throw std::runtime_error(line.command + " takes no " + item.name +
                                 " before it; see --help");
    return line;
}

}  // namespace

const std::vector<std::string>* CommandLine::find(const std::string& name) const {
    for (const Item& item : items)
        if (item.name == name) return &item.words;
    return nullptr;
}

std::variant<Answer, CommandLine> readCommandLine(std::vector<std::string> words) {
    CLI::App app{
        "Computes the pressure field of a rectangular piston, or of an array of them,\n"
        "into an HDF5 file, alone or, under mpirun or srun, with many processes. A run\n"
        "that was ended, however it was, goes on with --resume.",
        "pistonfield-run"};
    app.get_formatter()->column_width(nameWidth);
    app.set_version_flag("--version", versionText());
    app.allow_extras();
    addCompute(app);
    addCommands(app);
    app.require_subcommand(0, 1);
    try {
        app.parse(reversed(std::move(words)));
        return lineOf(app);
    } catch (const CLI::ArgumentMismatch& error) {
        throw std::runtime_error(mismatch(chosenOf(app), error.what()) + "; see --help");
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        if (app.exit(error, out, out) == 0) return Answer{out.str()};
        throw std::runtime_error(error.what() + std::string("; see --help"));
    }
}

}  // namespace run
