// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/partNames.h"

#include <stdexcept>
#include <string>

#include "run/numbers.h"

namespace run {

namespace {

constexpr const char* beforeNumber = ".part-";
constexpr const char* beforeCount = "-of-";

}  // namespace

std::filesystem::path partPath(const std::filesystem::path& output, const Part& part) {
    const std::string of = std::to_string(part.of);
    std::string number = std::to_string(part.number);
    number.insert(0, of.size() - number.size(), '0');
    std::filesystem::path path = output;
    return path.replace_filename(output.stem().string() + beforeNumber + number + beforeCount + of +
                                 output.extension().string());
}

std::optional<Part> partNamed(const std::filesystem::path& path) {
    const std::string name = path.stem().string();
    const std::string::size_type begin = name.rfind(beforeNumber);
    if (begin == std::string::npos) return std::nullopt;
    const std::string::size_type number = begin + std::string(beforeNumber).size();
    const std::string::size_type end = name.find(beforeCount, number);
    if (end == std::string::npos) return std::nullopt;
    const std::string::size_type count = end + std::string(beforeCount).size();
    try {
        const Part part{numbers::whole(name.substr(number, end - number)),
                        numbers::whole(name.substr(count))};
        if (part.number < 1 || part.number > part.of) return std::nullopt;
        return part;
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

}  // namespace run
