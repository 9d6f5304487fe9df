// What a soak measured, as files: one row per change, and a picture of each figure's course.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace vistrame::live {

// A count that is corrected by what Wine keeps may fall below zero.
inline constexpr double kNotKnown = -1e9;

// The state of the player's process at the end of one change of programme.
struct Change {
    double time = 0;            // seconds since the first change
    double setPid = 0;          // ms that the command took
    double picture = kNotKnown; // ms to the first picture, where the script waited for it
    double threads = kNotKnown, files = kNotKnown;
    double addresses = kNotKnown, memory = kNotKnown; // MB
    double handles = kNotKnown; // but for registry keys, and for what Wine leaves of each graph
    double keys = kNotKnown;    // registry keys
    double gdi = kNotKnown, user = kNotKnown, windows = kNotKnown; // objects
};

struct Figure {
    const char* name;
    double Change::*value;
};
inline constexpr Figure kFigures[] = {
    {"SetPid ms", &Change::setPid},  {"first picture ms", &Change::picture}, {"threads", &Change::threads},
    {"descriptors", &Change::files}, {"addresses MB", &Change::addresses},   {"memory MB", &Change::memory},
    {"handles", &Change::handles},   {"registry keys", &Change::keys},       {"GDI objects", &Change::gdi},
    {"USER objects", &Change::user}, {"windows", &Change::windows},
};

// Two files, PATH.csv and PATH.svg. False: one of them cannot be written.
bool WriteCourse(const std::string& path, const std::string& title, std::span<const Change> changes);

} // namespace vistrame::live
