// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/xdmf.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <iostream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "run/file/Descriptor.h"
#include "run/file/TemporaryFile.h"
#include "run/file/outputs.h"

namespace run {

namespace {

namespace fs = std::filesystem;

/// How every such file of this program begins.
const std::string words = R"(<?xml version="1.0"?>
<Xdmf Version="2.0">
 <Information Name="creator" Value="pistonfield-run"/>
)";

using Three = std::array<double, 3>;

/// Where a lattice lies whose directions are taken for those of the axes.
struct Placing {
    Three origin;
    Three step;
    bool exact;
};

Placing placingOf(const Layout& layout) {
    const auto element = [&](std::size_t row, std::size_t column) {
        return layout.request.lattice.transform[4 * row + column] /
               layout.request.lattice.transform.back();
    };
    Placing placing{{element(0, 3), element(1, 3), element(2, 3)}, {}, true};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            placing.exact = placing.exact && (i == j ? element(i, i) > 0 : element(i, j) == 0);
    for (std::size_t i = 0; i < 3; ++i)
        placing.step[i] = std::hypot(element(0, i), element(1, i), element(2, i));
    if (!placing.exact) placing.origin = {};
    for (std::size_t i = 0; i < 3; ++i)
        placing.origin[i] += static_cast<double>(layout.box.first[i]) * placing.step[i];
    return placing;
}

/// Slowest first, as the file has them.
template <class T>
std::string listed(const std::array<T, 3>& values) {
    std::ostringstream out;
    out.precision(std::numeric_limits<double>::max_digits10);
    out << values[2] << " " << values[1] << " " << values[0];
    return out.str();
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '&')
            result += "&amp;";
        else if (c == '<')
            result += "&lt;";
        else
            result += c;
    }
    return result;
}

/// @param file what it is for
std::string textOf(const fs::path& file, const Layout& layout) {
    const Placing placing = placingOf(layout);
    std::ostringstream out;
    out << words << R"( <Domain>
  <Grid Name=")"
        << (placing.exact ? "field" : "field, in the frame of its lattice")
        << R"(" GridType="Uniform">
   <Topology TopologyType="3DCoRectMesh" Dimensions=")"
        << listed(layout.box.size) << R"("/>
   <Geometry GeometryType="ORIGIN_DXDYDZ">
    <DataItem Format="XML" Dimensions="3" NumberType="Float" Precision="8">)"
        << listed(placing.origin) << R"(</DataItem>
    <DataItem Format="XML" Dimensions="3" NumberType="Float" Precision="8">)"
        << listed(placing.step) << R"(</DataItem>
   </Geometry>
   <Attribute Name="magnitude" AttributeType="Scalar" Center="Node">
    <DataItem Format="HDF" NumberType="Float" Precision="4" Dimensions=")"
        << listed(layout.box.size) << R"(">)" << escaped(file.filename().string())
        << R"(:/magnitude</DataItem>
   </Attribute>
  </Grid>
 </Domain>
</Xdmf>
)";
    return out.str();
}

}  // namespace

fs::path xdmfPath(const fs::path& file) { return file.string() + ".xdmf"; }

bool mayReplaceXdmf(const fs::path& path) {
    std::error_code none;
    const fs::file_status status = fs::status(path, none);
    if (!fs::exists(status)) return true;
    if (!fs::is_regular_file(status)) return false;
    if (fs::file_size(path) == 0) return true;
    std::string begin(words.size(), ' ');
    return Descriptor(path, O_RDONLY).read(begin.data(), begin.size(), 0) && begin == words;
}

void writeXdmf(const fs::path& file, const Layout& layout, bool overwrite) {
    const fs::path path = xdmfPath(file);
    const std::string name = file.filename().string();
    if (std::ranges::any_of(name,
                            [](unsigned char c) { return c == ':' || std::iscntrl(c) != 0; })) {
        std::cout
            << "note    there is no " << path.string()
            << ": viewers cannot read files with a colon or a control character in their names\n";
        return;
    }
    if (!overwrite && !mayReplaceXdmf(path))
        throw std::runtime_error(path.string() + " exists, and is no file of this program");
    const std::string text = textOf(file, layout);
    const fs::path target = outputs::target(path);
    TemporaryFile::removeLeftovers(target);
    TemporaryFile temporary(target);
    static_cast<void>(
        temporary.takePlace(/*replacing=*/true, text, static_cast<std::int64_t>(text.size())));
}

}  // namespace run
