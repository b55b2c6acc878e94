// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/Command.h"

#include <algorithm>
#include <climits>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "parallel/threads.h"
#include "run/commands/RequestFile.h"
#include "run/commands/arrayForm.h"
#include "run/commands/options.h"
#include "run/commands/partNames.h"
#include "run/commands/pistonForm.h"
#include "run/numbers.h"
#include "run/requestNames.h"

namespace run {

namespace {

using pistonfield::InvalidRequest;
using pistonfield::Request;

/// An option that says what field is asked for.
struct RequestOption {
    const char* name;
    bool needed;
    bool (*same)(const Request&, const Request&);
};

template <auto part, auto member>
bool same(const Request& a, const Request& b) {
    return a.*part.*member == b.*part.*member;
}

/// Whether both have a tolerance, or neither: what they say otherwise has another meaning.
bool sameKind(const Request& a, const Request& b) {
    return a.tolerance.has_value() == b.tolerance.has_value();
}

template <auto part>
bool sameOfKind(const Request& a, const Request& b) {
    return sameKind(a, b) && a.*part == b.*part;
}

bool samePrecision(const Request& a, const Request& b) {
    return sameKind(a, b) && a.inSingle() == b.inSingle();
}

bool sameDevice(const Request& a, const Request& b) {
    return sameKind(a, b) && isOnGpu(a.mode) == isOnGpu(b.mode);
}

bool sameArray(const Request& a, const Request& b) { return a.array == b.array; }

bool sameBaffle(const Request& a, const Request& b) { return a.baffle == b.baffle; }

bool sameQuantity(const Request& a, const Request& b) { return a.quantity == b.quantity; }

bool sameTable(const Request& a, const Request& b) {
    return sameKind(a, b) && a.rule.table == b.rule.table;
}

template <auto member>
bool sameOfTolerance(const Request& a, const Request& b) {
    return a.tolerance && b.tolerance && (*a.tolerance).*member == (*b.tolerance).*member;
}

using pistonfield::Lattice;
using pistonfield::Mode;
using pistonfield::RectangularPiston;
using pistonfield::Tolerance;
using pistonfield::Wave;

constexpr std::array<RequestOption, 18> requestOptions{{
    {"transform", true, &same<&Request::lattice, &Lattice::transform>},
    {"sizes", true, &same<&Request::lattice, &Lattice::sizes>},
    {"l", true, &same<&Request::piston, &RectangularPiston::height>},
    {"s", true, &same<&Request::piston, &RectangularPiston::width>},
    {"array", false, &sameArray},
    {"shape", false, &sameArray},
    {"k", true, &same<&Request::wave, &Wave::wavenumber>},
    {"attenuation", false, &same<&Request::wave, &Wave::attenuation>},
    {"baffle", false, &sameBaffle},
    {"quantity", false, &sameQuantity},
    {"mode", false, &sameOfKind<&Request::mode>},
    {"order", false, &sameOfKind<&Request::rule>},
    {"table", false, &sameTable},
    {"tolerance", false, &sameOfTolerance<&Tolerance::value>},
    {"relative", false, &sameOfTolerance<&Tolerance::of>},
    {"precision", false, &samePrecision},
    {"device", false, &sameDevice},
    {"behind", false, &sameOfKind<&Request::behind>},
}};

/// The options of a field with a tolerance, and those that such a field has none of.
constexpr std::array toleranceOptions{"tolerance", "relative", "precision", "device", "behind"};
constexpr std::array ruleOptions{"mode", "order", "table"};

using Words = std::vector<std::string>;
using Settings = TableSettings;

/// Does something with a setting's words, and says where they are if that fails.
template <class Use>
auto use(const Setting& setting, Use work) {
    try {
        return work(setting.words);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(setting.origin + ": " + error.what());
    }
}

void requireCount(const Words& words, std::size_t count) {
    if (words.size() != count)
        throw std::runtime_error("takes " + std::to_string(count) + " numbers, not " +
                                 std::to_string(words.size()));
}

const std::string& onlyWord(const Words& words) {
    if (words.size() != 1) throw std::runtime_error("takes one value");
    return words.front();
}

double realOf(const Words& words) { return numbers::real(onlyWord(words)); }

bool flagOf(const Words& words) {
    const std::string& word = onlyWord(words);
    if (word != "true" && word != "false") throw std::runtime_error("is true or false");
    return word == "true";
}

std::int64_t wholeWithin(const Words& words, std::int64_t least, std::int64_t most) {
    const std::int64_t number = numbers::whole(onlyWord(words));
    if (number < least || number > most)
        throw std::runtime_error(std::to_string(number) + " is not within " +
                                 std::to_string(least) + " to " + std::to_string(most));
    return number;
}

template <std::size_t count, class Read>
auto arrayOf(const Words& words, Read read) {
    requireCount(words, count);
    std::array<decltype(read(words.front())), count> array{};
    std::transform(words.begin(), words.end(), array.begin(), read);
    return array;
}

std::array<std::int64_t, 3> threeOf(const Words& words) {
    return arrayOf<3>(words, numbers::whole);
}

Words split(const std::string& text) {
    std::istringstream in(text);
    Words words;
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

bool isNumber(const std::string& word) {
    try {
        static_cast<void>(numbers::real(word));
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

/// What a word names.
template <class Find>
auto named(const Words& words, Find find) {
    try {
        return find(onlyWord(words));
    } catch (const InvalidRequest& error) {
        throw std::runtime_error(error.reason());
    }
}

std::vector<double> ruleOf(const Words& words) {
    if (words.empty() || words.size() % 2 != 0)
        throw std::runtime_error("is no list of abscissas and weights: it has " +
                                 std::to_string(words.size()) + " numbers");
    std::vector<double> rule;
    for (const std::string& word : words) rule.push_back(numbers::real(word));
    return rule;
}

/// @throws std::runtime_error naming the line of what is no number
void requireNumbers(const std::string& name, const std::string& text) {
    std::istringstream in(text);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number)
        use({"table", split(line), name + ":" + std::to_string(number)}, [](const Words& words) {
            for (const std::string& word : words) static_cast<void>(numbers::real(word));
        });
}

/// A rule from numbers, or else from the file of that name.
std::vector<double> tableOf(const Words& words, const TextReader& readText) {
    const Words inPlace = words.size() == 1 ? split(words.front()) : words;
    if (inPlace.size() != 1 && std::all_of(inPlace.begin(), inPlace.end(), isNumber))
        return ruleOf(inPlace);
    const std::string& name = onlyWord(words);
    const std::string text = readText(name);
    requireNumbers(name, text);
    return use({"table", split(text), name}, ruleOf);
}

/// Sets what belongs to a tolerance, and that the request has one.
void setTolerance(Request& request, const Setting& setting) {
    const std::string& name = setting.name;
    if (std::ranges::find(toleranceOptions, name) == toleranceOptions.end()) return;
    Tolerance tolerance = request.tolerance.value_or(Tolerance{});
    if (name == "tolerance") tolerance.value = realOf(setting.words);
    if (name == "relative") tolerance.of = named(setting.words, relativeCalled);
    const auto modeBy = [&](Mode (*change)(Mode, const std::string&)) {
        return named(setting.words,
                     [&](const std::string& word) { return change(request.mode, word); });
    };
    if (name == "precision") request.mode = modeBy(withPrecision);
    if (name == "device") request.mode = modeBy(withDevice);
    if (name == "behind") request.behind = flagOf(setting.words);
    request.tolerance = tolerance;
}

Part partOf(const Words& words) {
    const std::string& text = onlyWord(words);
    const std::size_t slash = std::min(text.find('/'), text.size());
    Part part{0, 0};
    try {
        part.number = numbers::whole(text.substr(0, slash));
        part.of = numbers::whole(text.substr(std::min(slash + 1, text.size())));
    } catch (const std::runtime_error&) {
        part.number = 0;
    }
    if (part.number < 1 || part.number > part.of)
        throw std::runtime_error("'" + text + "' is not of the form 3/10");
    return part;
}

void setRequest(Request& request, const Setting& setting, const TextReader& readText) {
    const std::string& name = setting.name;
    if (name == "transform") request.lattice.transform = arrayOf<16>(setting.words, numbers::real);
    if (name == "sizes") request.lattice.sizes = threeOf(setting.words);
    if (name == "l") request.piston.height = realOf(setting.words);
    if (name == "s") request.piston.width = realOf(setting.words);
    if (name == "k") request.wave.wavenumber = realOf(setting.words);
    if (name == "attenuation") request.wave.attenuation = realOf(setting.words);
    if (name == "baffle") request.baffle = named(setting.words, baffleCalled);
    if (name == "quantity") request.quantity = named(setting.words, quantityCalled);
    if (name == "mode") request.mode = named(setting.words, pistonfield::modeCalled);
    setTolerance(request, setting);
    if (name == "order")
        request.rule.order = static_cast<int>(wholeWithin(setting.words, INT_MIN, INT_MAX));
    if (name != "table") return;
    request.rule.table = tableOf(setting.words, readText);
    request.rule.order = static_cast<int>(request.rule.table.size() / 2);
}

void setWork(ComputeCommand& command, const Setting& setting) {
    constexpr std::int64_t mostPoints = std::int64_t{1} << 27;
    constexpr int bestLevel = 9;
    const std::string& name = setting.name;
    if (name == "output") command.output = onlyWord(setting.words);
    if (name == "part") command.part = partOf(setting.words);
    if (name == "slab") command.slabPoints = wholeWithin(setting.words, 1, mostPoints);
    if (name == "threads")
        command.threads =
            static_cast<unsigned>(wholeWithin(setting.words, 1, pistonfield::mostThreads));
    if (name == "compress")
        command.deflate = static_cast<int>(wholeWithin(setting.words, 1, bestLevel));
    if (name == "resume") command.resume = flagOf(setting.words);
    if (name == "overwrite") command.overwrite = flagOf(setting.words);
    if (name == "estimate") command.onlyEstimate = flagOf(setting.words);
    if (name == "no-magnitude") command.magnitude = !flagOf(setting.words);
}

/// Of each pair, one says otherwise what the other one does.
constexpr std::array<std::pair<const char*, const char*>, 11> alternatives{{
    {"order", "table"},
    {"resume", "overwrite"},
    {"tolerance", "order"},
    {"tolerance", "table"},
    {"precision", "mode"},
    {"device", "mode"},
    {"array", "l"},
    {"array", "s"},
    {"array", "shape"},
    {"shape", "l"},
    {"shape", "s"},
}};

void requireNotBoth(const Settings& settings, const char* one, const char* other) {
    const auto first = settings.find(one);
    const auto second = settings.find(other);
    if (first != settings.end() && second != settings.end())
        throw std::runtime_error(second->second.origin + " excludes " + first->second.origin);
}

void requireNoTwoAlternatives(const Settings& settings) {
    for (const auto& [one, other] : alternatives) requireNotBoth(settings, one, other);
}

void requireToleranceOrRule(const Settings& settings) {
    for (const char* one : toleranceOptions)
        for (const char* other : ruleOptions) requireNotBoth(settings, one, other);
}

Settings settingsOf(const std::vector<Setting>& list) {
    Settings settings;
    for (const Setting& setting : list) settings.emplace(setting.name, setting);
    requireNoTwoAlternatives(settings);
    return settings;
}

/// What a command line and its request file say. The command line counts first.
Settings settingsOf(const CommandLine& line, const TextReader& readText) {
    std::vector<Setting> list;
    for (const CommandLine::Item& item : line.items)
        if (item.name != "request") list.push_back({item.name, item.words, dashed(item.name)});
    Settings settings = settingsOf(list);
    const Words* file = line.find("request");
    if (file == nullptr) return settings;
    const std::string& name = file->front();
    const std::string text =
        use({"request", *file, "--request"}, [&](const Words&) { return readText(name); });
    Settings others = settingsOf(readRequestFile(name, text));
    for (const auto& [one, other] : alternatives) {
        if (settings.contains(one)) others.erase(other);
        if (settings.contains(other)) others.erase(one);
    }
    settings.merge(others);
    return settings;
}

/// Takes the array of a request file, which may name a table beside it.
void takeArray(ComputeCommand& command, const Settings& settings, const TextReader& readTable) {
    const std::filesystem::path folder = command.requestFile.parent_path();
    command.request.array = arrayForm::arrayOf(settings, folder, command.request, readTable);
    if (const auto table = arrayForm::tableOf(settings, folder)) command.inputs.push_back(*table);
}

ComputeCommand computeCommand(const CommandLine& line, const Readers& readers) {
    ComputeCommand command;
    const Settings settings = settingsOf(line, readers.text);
    requireToleranceOrRule(settings);
    for (const auto& entry : settings) {
        const Setting& setting = entry.second;
        use(setting, [&](const Words&) {
            setRequest(command.request, setting, readers.text);
            setWork(command, setting);
        });
    }
    for (const RequestOption& option : requestOptions) {
        const auto found = settings.find(option.name);
        if (found != settings.end()) command.given.emplace(option.name, found->second.origin);
    }
    if (command.output.empty()) throw std::runtime_error("output is required; see --help");
    if (const Words* request = line.find("request")) {
        command.requestFile = request->front();
        command.inputs.push_back(command.requestFile);
    }
    // Numbers in the table's place name no file, and so none that is an output.
    if (const auto table = settings.find("table"); table != settings.end())
        command.inputs.emplace_back(table->second.words.front());
    if (settings.contains("array")) takeArray(command, settings, readers.elements);
    if (settings.contains("shape")) command.request.array = pistonForm::pistonOf(settings);
    if (command.part) command.output = partPath(command.output, *command.part);
    return command;
}

std::vector<std::filesystem::path> pathsOf(const CommandLine& line, const char* name) {
    const Words& words = *line.find(name);
    return {words.begin(), words.end()};
}

std::filesystem::path pathOf(const CommandLine& line, const char* name) {
    return pathsOf(line, name).front();
}

/// @throws std::runtime_error where something is said that goes with a tolerance, and there is none
void requireTolerance(const ComputeCommand& command) {
    const auto shape = command.given.find("shape");
    if (shape != command.given.end() && !command.request.tolerance)
        throw std::runtime_error(shape->second + ": takes a tolerance");
    for (const char* option : toleranceOptions)
        if (command.given.contains(option) && !command.given.contains("tolerance"))
            throw std::runtime_error(command.given.at(option) +
                                     " goes with a tolerance, and there is none");
}

/// Whether a field has to have an option; an array, or a shape, stands for sides.
bool isNeeded(const RequestOption& option, const ComputeCommand& command) {
    const std::string_view name = option.name;
    return option.needed && !(command.request.array && (name == "l" || name == "s"));
}

std::optional<double> realOf(const CommandLine& line, const char* name) {
    const Words* words = line.find(name);
    if (words == nullptr) return std::nullopt;
    return use({name, *words, dashed(name)}, [](const Words& w) { return realOf(w); });
}

BeamCommand beamCommand(const CommandLine& line) {
    BeamCommand command;
    command.source = pathOf(line, "source");
    command.drive = {{}, realOf(line, "velocity"), realOf(line, "speed"), realOf(line, "density")};
    command.duty = realOf(line, "duty");
    command.derating = realOf(line, "derating");
    command.json = line.find("json") != nullptr;
    if (const Words* size = line.find("hydrophone"))
        use({"hydrophone", *size, "--hydrophone"}, [&](const Words& words) {
            for (const std::string& word : words) command.hydrophone.push_back(numbers::real(word));
        });
    if (const Words* axis = line.find("axis"))
        command.axis = use({"axis", *axis, "--axis"},
                           [](const Words& words) { return arrayOf<3>(words, numbers::real); });
    if (const Words* threads = line.find("threads"))
        command.threads =
            static_cast<unsigned>(use({"threads", *threads, "--threads"}, [](const Words& w) {
                return wholeWithin(w, 1, pistonfield::mostThreads);
            }));
    return command;
}

std::optional<std::array<std::int64_t, 3>> threeOf(const CommandLine& line, const char* name) {
    const Words* words = line.find(name);
    if (words == nullptr) return std::nullopt;
    return use({name, *words, dashed(name)}, [](const Words& w) { return threeOf(w); });
}

}  // namespace

Command readCommand(const std::vector<std::string>& words, const Readers& readers) {
    const std::variant<Answer, CommandLine> read = readCommandLine(words);
    if (const auto* answer = std::get_if<Answer>(&read)) return *answer;
    const auto& line = std::get<CommandLine>(read);
    const bool overwrite = line.find("overwrite") != nullptr;
    if (line.command == "join")
        return JoinCommand{pathOf(line, "output"), pathsOf(line, "parts"), overwrite};
    if (line.command == "verify") return VerifyCommand{pathsOf(line, "files")};
    if (line.command == "show")
        return ShowCommand{pathOf(line, "file"), line.find("elements") != nullptr};
    if (line.command == "beam") return beamCommand(line);
    if (line.command == "extract")
        return ExtractCommand{pathOf(line, "file"), pathOf(line, "output"), threeOf(line, "first"),
                              threeOf(line, "size"), overwrite};
    return computeCommand(line, readers);
}

std::optional<std::string> contradiction(const ComputeCommand& command, const Request& request) {
    for (const RequestOption& option : requestOptions) {
        const auto given = command.given.find(option.name);
        if (given != command.given.end() && !option.same(command.request, request))
            return given->second;
    }
    return std::nullopt;
}

void refuse(const ComputeCommand& command, const InvalidRequest& reason) {
    std::string name = nameOfField(reason.field());
    // A piston with a shape is an array of one; a mode follows from the device, where there is a
    // tolerance.
    if (name == "array" && command.given.contains("shape")) name = "shape";
    if (name == "mode" && !command.given.contains(name) && isOnGpu(command.request.mode))
        name = "device";
    const auto given = command.given.find(name);
    throw std::runtime_error((given == command.given.end() ? name : given->second) + ": " +
                             reason.reason());
}

void checkComplete(const ComputeCommand& command) {
    const bool inFile = !command.requestFile.empty();
    std::string missing;
    for (const RequestOption& option : requestOptions)
        if (isNeeded(option, command) && !command.given.contains(option.name))
            missing.append(missing.empty() ? "" : ", ")
                .append(inFile ? option.name : dashed(option.name));
    if (!missing.empty())
        throw std::runtime_error((inFile ? command.requestFile.string() + ": " : "") + missing +
                                 " is missing, and there is no " + command.output.string() +
                                 " to go on with");
    try {
        requireTolerance(command);
        check(command.request);
    } catch (const InvalidRequest& error) {
        refuse(command, error);
    }
}

}  // namespace run
