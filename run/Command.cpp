// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/Command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

#include "run/revision.h"

namespace run {

namespace {

/// An option that says what field is asked for.
struct RequestOption {
    const char* name;
    bool needed;
    bool (*same)(const Request&, const Request&);
};

template <auto member>
bool same(const Request& a, const Request& b) {
    return a.*member == b.*member;
}

constexpr std::array<RequestOption, 8> requestOptions{{
    {"--transform", true, &same<&Request::transform>},
    {"--sizes", true, &same<&Request::sizes>},
    {"-l", true, &same<&Request::l>},
    {"-s", true, &same<&Request::s>},
    {"-k", true, &same<&Request::k>},
    {"--mode", false, &same<&Request::mode>},
    {"--order", false,
     [](const Request& a, const Request& b) { return a.order == b.order && a.table == b.table; }},
    {"--table", false, &same<&Request::table>},
}};

/// What CLI11 keeps of the options until they are in a command.
struct Parsed {
    std::vector<double> transform;
    std::vector<std::int64_t> sizes;
    std::string table;
    std::string part;
    std::vector<std::int64_t> first;
    std::vector<std::int64_t> size;
    bool noMagnitude = false;
};

/// Numbers in a text file or, where there is none of that name, in the text itself.
std::vector<double> readTable(const std::string& text) {
    std::ifstream file(text);
    std::istringstream itself(text);
    std::istream& in = file ? static_cast<std::istream&>(file) : itself;
    std::vector<double> table;
    for (double value = 0; in >> value;) table.push_back(value);
    if (!in.eof() || table.empty() || table.size() % 2 != 0)
        throw CLI::ValidationError("--table", text + " is no list of abscissas and weights");
    return table;
}

Part readPart(const std::string& text) {
    std::istringstream in(text);
    Part part;
    char slash = 0;
    if (!(in >> part.number >> slash >> part.of) || slash != '/' || !(in >> std::ws).eof() ||
        part.number < 1 || part.number > part.of)
        throw CLI::ValidationError("--part", "'" + text + "' is not of the form 3/10");
    return part;
}

/// "field.h5" to "field.part-03-of-10.h5"
std::filesystem::path partPath(const std::filesystem::path& output, const Part& part) {
    const std::string of = std::to_string(part.of);
    std::string number = std::to_string(part.number);
    number.insert(0, of.size() - number.size(), '0');
    std::filesystem::path path = output;
    return path.replace_filename(output.stem().string() + ".part-" + number + "-of-" + of +
                                 output.extension().string());
}

template <class T, std::size_t n>
void copyTo(const std::vector<T>& from, std::array<T, n>& to) {
    if (from.size() == n) std::copy(from.begin(), from.end(), to.begin());
}

std::optional<std::array<std::int64_t, 3>> three(const std::vector<std::int64_t>& values) {
    if (values.empty()) return std::nullopt;
    std::array<std::int64_t, 3> array{};
    copyTo(values, array);
    return array;
}

void addRequest(CLI::App& app, ComputeCommand& command, Parsed& parsed) {
    Request& request = command.request;
    const char* group = "The field";
    app.add_option(
           "--transform", parsed.transform,
           "16 numbers, row by row: takes a point's indices (ix, iy, iz, 1) to its position "
           "before the piston, which lies in z = 0 around the origin")
        ->expected(16)
        ->allow_extra_args(false)
        ->group(group);
    app.add_option("--sizes", parsed.sizes, "points along the lattice's directions x, y and z")
        ->expected(3)
        ->allow_extra_args(false)
        ->group(group);
    app.add_option("-l", request.l, "the piston's side along y")->group(group);
    app.add_option("-s", request.s, "the piston's side along x")->group(group);
    app.add_option("-k", request.k, "the wavenumber, in radians per unit of length")->group(group);
    app.add_option(
           "--mode", request.mode,
           "cpu (double precision; the default), cpusp (single), or cuda (single, on a GPU)")
        ->group(group);
    CLI::Option* order =
        app.add_option("--order", request.order, "abscissas of each edge integral; 10 by default")
            ->group(group);
    app.add_option(
           "--table", parsed.table,
           "a rule: abscissa, weight, abscissa ...; a text file of them, or in quotes themselves")
        ->excludes(order)
        ->group(group);
    app.set_config("--request", "", "a text file with these options, as: sizes = [100, 100, 200]")
        ->check(CLI::ExistingFile)
        ->group(group);
    app.allow_config_extras(false);
}

CLI::Option* addOverwrite(CLI::App& app, bool& overwrite) {
    return app.add_flag("--overwrite", overwrite, "replace the output where there is one");
}

void addWork(CLI::App& app, ComputeCommand& command, Parsed& parsed) {
    const char* group = "The work";
    app.add_option("output", command.output, "the file to write, as field.h5");
    CLI::Option* resume =
        app.add_flag("--resume", command.resume, "go on with the output where there is one")
            ->group(group);
    addOverwrite(app, command.overwrite)->excludes(resume)->group(group);
    app.add_option("--part", parsed.part,
                   "as 3/10: compute the third of ten parts, alone, into a file of its own")
        ->group(group);
    app.add_flag("--estimate", command.onlyEstimate, "only say what memory, disk and time it takes")
        ->group(group);
    app.add_option("--slab", command.slabPoints,
                   "points that are computed and written at a time; 262144 by default")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 27))
        ->group(group);
    app.add_option("--compress", command.deflate,
                   "compress the complete file, from 1 (fast) to 9 (small)")
        ->check(CLI::Range(1, 9))
        ->group(group);
    app.add_flag("--no-magnitude", parsed.noMagnitude,
                 "leave out the magnitude, and with it the file for viewers")
        ->group(group);
}

CLI::App* addJoin(CLI::App& app, JoinCommand& command) {
    CLI::App* sub = app.add_subcommand("join", "make one field of its parts");
    sub->add_option("output", command.output, "the file to write")->required();
    sub->add_option("parts", command.parts, "the files of all parts")->required();
    addOverwrite(*sub, command.overwrite);
    return sub;
}

CLI::App* addVerify(CLI::App& app, VerifyCommand& command) {
    CLI::App* sub = app.add_subcommand("verify", "compare files with their checksums");
    sub->add_option("files", command.files, "files of fields")->required();
    return sub;
}

CLI::App* addExtract(CLI::App& app, ExtractCommand& command, Parsed& parsed) {
    CLI::App* sub =
        app.add_subcommand("extract", "copy values, as pairs without a format, x fastest");
    sub->add_option("file", command.file, "a file of a field")->required();
    sub->add_option("output", command.output, "the file to write")->required();
    sub->add_option("--first", parsed.first, "indices of the first point; by default the file's")
        ->expected(3)
        ->allow_extra_args(false);
    sub->add_option("--size,--sizes", parsed.size, "points along x, y and z; all by default")
        ->expected(3)
        ->allow_extra_args(false);
    addOverwrite(*sub, command.overwrite);
    return sub;
}

CLI::App* addShow(CLI::App& app, ShowCommand& command) {
    CLI::App* sub = app.add_subcommand(
        "show", "say what field a file has, as a request file, and how it came about");
    sub->add_option("file", command.file, "a file of a field")->required();
    return sub;
}

/// Of an option that is there twice CLI11 would take the first.
void requireOnce(const std::string& path) {
    std::ifstream in(path);
    std::set<std::string> keys;
    const std::regex assignment(R"(\s*([\w-]+)\s*=.*)");
    std::smatch found;
    for (std::string line; std::getline(in, line);)
        if (std::regex_match(line, found, assignment) && !keys.insert(found[1]).second)
            throw CLI::ValidationError("--request", path + " has " + found[1].str() + " twice");
}

void finish(const CLI::App& app, ComputeCommand& command, const Parsed& parsed) {
    if (app.count("--request") > 0) requireOnce(app["--request"]->as<std::string>());
    if (command.output.empty()) throw CLI::RequiredError("output");
    Request& request = command.request;
    copyTo(parsed.transform, request.transform);
    copyTo(parsed.sizes, request.sizes);
    // Two names of one mode.
    if (request.mode == "cpudp") request.mode = "cpu";
    if (app.count("--table") > 0) {
        request.table = readTable(parsed.table);
        request.order = static_cast<int>(request.table.size() / 2);
    }
    for (const RequestOption& option : requestOptions)
        if (app.count(option.name) > 0) command.given.insert(option.name);
    command.magnitude = !parsed.noMagnitude;
    if (parsed.part.empty()) return;
    command.part = readPart(parsed.part);
    command.output = partPath(command.output, *command.part);
}

/// The words of a command line, last one first, as CLI11 has them. It would take "-.5" for an
/// option.
std::vector<std::string> wordsOf(int argc, const char* const* argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    for (std::string& word : words)
        if (word.starts_with("-.")) word.insert(1, "0");
    std::reverse(words.begin(), words.end());
    return words;
}

/// CLI11's words; of a request file it says little.
std::string complaintOf(const CLI::Error& error) {
    const std::string before = "INI was not able to parse ";
    const std::string text = error.what();
    if (!text.starts_with(before)) return text + "; see --help";
    return "--request: '" + text.substr(before.size()) + "' is no option; see --help";
}

}  // namespace

Command readCommand(int argc, const char* const* argv) {
    CLI::App app{
        "Computes the pressure field of a rectangular piston into an HDF5 file, alone or, under\n"
        "mpirun or srun, with many processes. A run that was ended, however it was, goes on with\n"
        "--resume.",
        "pistonfield-run"};
    app.set_version_flag("--version", "pistonfield-run " + revision());
    ComputeCommand compute;
    JoinCommand join;
    VerifyCommand verify;
    ExtractCommand extract;
    ShowCommand show;
    Parsed parsed;
    addRequest(app, compute, parsed);
    addWork(app, compute, parsed);

    const CLI::App* joining = addJoin(app, join);
    const CLI::App* verifying = addVerify(app, verify);
    const CLI::App* extracting = addExtract(app, extract, parsed);
    const CLI::App* showing = addShow(app, show);
    app.require_subcommand(0, 1);

    try {
        app.parse(wordsOf(argc, argv));
        if (joining->parsed()) return join;
        if (verifying->parsed()) return verify;
        if (showing->parsed()) return show;
        if (extracting->parsed()) {
            extract.first = three(parsed.first);
            extract.size = three(parsed.size);
            return extract;
        }
        finish(app, compute, parsed);
        return compute;
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        if (app.exit(error, out, out) == 0) return Answer{0, out.str(), ""};
        return Answer{1, "", complaintOf(error)};
    }
}

std::optional<std::string> contradiction(const ComputeCommand& command, const Request& request) {
    for (const RequestOption& option : requestOptions)
        if (command.given.contains(option.name) && !option.same(command.request, request))
            return option.name;
    return std::nullopt;
}

void checkComplete(const ComputeCommand& command) {
    std::string missing;
    for (const RequestOption& option : requestOptions)
        if (option.needed && !command.given.contains(option.name))
            missing.append(missing.empty() ? "" : ", ").append(option.name);
    if (!missing.empty())
        throw std::runtime_error(missing + " is missing, and there is no " +
                                 command.output.string() + " to go on with");
    check(command.request);
}

}  // namespace run
