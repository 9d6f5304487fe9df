#include "bench/players/bar_chart.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <vector>

namespace vistrame::bench {
namespace {

// Pixels.
constexpr int kWidth = 760;
constexpr int kBarHeight = 14;
constexpr int kGroupGap = 26;
constexpr int kLeft = 190; // room for names
constexpr int kTop = 44;
constexpr int kRight = 60; // and for the numbers behind the bars

constexpr std::array kColours = {"#2a6fbb", "#7fb2e5", "#c8553d", "#588157", "#a3b18a", "#8d6a9f"};

template <class... Values>
std::string Line(const char* format, Values... values) {
    std::array<char, 400> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::vector<std::string> Distinct(std::span<const Bar> bars, std::string Bar::*what) {
    std::vector<std::string> values;
    for (const Bar& bar : bars) {
        if (std::ranges::find(values, bar.*what) == values.end()) {
            values.push_back(bar.*what);
        }
    }
    return values;
}

} // namespace

bool WriteBars(const std::string& path, const std::string& title, std::span<const Bar> bars) {
    const std::vector<std::string> groups = Distinct(bars, &Bar::group);
    const std::vector<std::string> names = Distinct(bars, &Bar::name);
    const double largest = bars.empty() ? 1 : std::max(1e-9, std::ranges::max(bars, {}, &Bar::value).value);
    const int height =
        kTop + static_cast<int>(bars.size()) * kBarHeight + static_cast<int>(groups.size()) * kGroupGap;
    std::ofstream file(path);
    file << Line(R"(<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d" )"
                 R"(font-family="sans-serif" )"
                 "font-size=\"11\">\n<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
                 kWidth, height)
         << Line("<text x=\"10\" y=\"24\" font-size=\"15\">%s</text>\n", title.c_str());
    int y = kTop;
    for (const std::string& group : groups) {
        file << Line("<text x=\"10\" y=\"%d\" font-weight=\"bold\">%s</text>\n", y + 12, group.c_str());
        y += kGroupGap - kBarHeight / 2;
        for (const Bar& bar : bars) {
            if (bar.group != group) {
                continue;
            }
            const auto name = static_cast<std::size_t>(std::ranges::find(names, bar.name) - names.begin());
            const double length = bar.value / largest * (kWidth - kLeft - kRight);
            file << Line(R"(<text x="%d" y="%d" text-anchor="end">%s</text>)", kLeft - 6, y + 10,
                         bar.name.c_str())
                 << Line(R"(<rect x="%d" y="%d" width="%.1f" height="%d" fill="%s"/>)", kLeft, y, length,
                         kBarHeight - 3, kColours[name % kColours.size()])
                 << Line("<text x=\"%.1f\" y=\"%d\">%.3g</text>\n", kLeft + length + 4, y + 10, bar.value);
            y += kBarHeight;
        }
        y += kBarHeight / 2;
    }
    file << "</svg>\n";
    return static_cast<bool>(file);
}

} // namespace vistrame::bench
