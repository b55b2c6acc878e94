// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/xdmf.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace run {

namespace {

using Three = std::array<double, 3>;

/// Where a lattice lies whose directions are taken for those of the axes.
struct Placing {
    Three origin;
    Three step;
    bool exact;
};

Placing placingOf(const Layout& layout) {
    const auto element = [&](std::size_t row, std::size_t column) {
        return layout.request.transform[4 * row + column] / layout.request.transform.back();
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

}  // namespace

void writeXdmf(const std::filesystem::path& file, const Layout& layout) {
    const std::filesystem::path path = file.string() + ".xdmf";
    const Placing placing = placingOf(layout);
    std::ofstream out(path);
    out << R"(<?xml version="1.0"?>
<Xdmf Version="2.0">
 <Domain>
  <Grid Name="field" GridType="Uniform">
)";
    if (!placing.exact)
        out << R"(   <Information Name="frame" Value="the lattice's own, not that of the piston"/>
)";
    out << R"(   <Topology TopologyType="3DCoRectMesh" Dimensions=")" << listed(layout.box.size)
        << R"("/>
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
    out.close();
    if (!out)
        throw std::runtime_error(path.string() +
                                 " cannot be written: " + std::generic_category().message(errno));
}

}  // namespace run
