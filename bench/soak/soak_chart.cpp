#include "bench/soak/soak_chart.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

namespace vistrame::live {
namespace {

// Pixels.
constexpr int kWidth = 900;
constexpr int kPanel = 80;
constexpr int kLeft = 170; // for names and limits
constexpr int kGap = 14;
constexpr int kTitle = 30;

std::string Text(double x, double y, const std::string& text) {
    return "<text x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\">" + text + "</text>\n";
}

std::string Number(double value) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

// One figure over the number of the change, between its own least and most.
std::string Panel(const Figure& figure, int top, std::span<const Change> changes) {
    double least = 1e18;
    double most = -1e18;
    for (const Change& change : changes) {
        if (const double value = change.*figure.value; value != kNotKnown) {
            least = std::min(least, value);
            most = std::max(most, value);
        }
    }
    std::string svg = Text(4, top + kPanel / 2.0, figure.name);
    if (least > most) {
        return svg + Text(kLeft, top + kPanel / 2.0, "not known here");
    }
    svg += Text(kLeft - 54, top + 10, Number(most)) + Text(kLeft - 54, top + kPanel, Number(least)) +
           "<polyline points=\"";
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (const double value = changes[i].*figure.value; value != kNotKnown) {
            const double part = most > least ? (value - least) / (most - least) : 0;
            svg += Number(kLeft +
                          static_cast<double>(i) * (kWidth - kLeft) / static_cast<double>(changes.size())) +
                   "," + Number(top + kPanel * (1 - part)) + " ";
        }
    }
    return svg + "\"/>\n";
}

} // namespace

bool WriteCourse(const std::string& path, const std::string& title, std::span<const Change> changes) {
    std::ofstream csv(path + ".csv");
    csv << "change,seconds";
    for (const Figure& figure : kFigures) {
        csv << ',' << figure.name;
    }
    for (std::size_t i = 0; i < changes.size(); ++i) {
        csv << '\n' << i + 1 << ',' << changes[i].time;
        for (const Figure& figure : kFigures) {
            const double value = changes[i].*figure.value;
            csv << ',' << (value == kNotKnown ? "" : Number(value));
        }
    }
    csv << '\n';
    csv.close();

    std::ofstream svg(path + ".svg");
    constexpr int kHeight = kTitle + static_cast<int>(std::size(kFigures)) * (kPanel + kGap);
    svg << R"(<svg xmlns="http://www.w3.org/2000/svg" width=")" << kWidth << R"(" height=")" << kHeight
        << "\" font-family=\"sans-serif\" font-size=\"11\">\n"
        << "<style>polyline{fill:none;stroke:#1838c0}</style>\n<rect width=\"100%\" height=\"100%\" "
           "fill=\"white\"/>\n"
        << Text(4, 16, title);
    int top = kTitle;
    for (const Figure& figure : kFigures) {
        svg << Panel(figure, top, changes);
        top += kPanel + kGap;
    }
    svg << "</svg>\n";
    svg.close();
    return csv.good() && svg.good();
}

} // namespace vistrame::live
