#pragma once

#include <string>
#include <vector>

#include "analyzer/session/setting_names.h"

namespace vistrame {

// The command line of this program. All texts are UTF-8.
struct Options {
    bool help = false;
    bool list = false;
    bool listFields = false; // for programs to read; list is set too
    std::optional<std::uint16_t> play;
    std::string script; // paths; empty: not given
    std::string log;
    std::string report;
    std::string player;
    std::string audioLanguage; // ISO 639, as the stream says it
    std::string stream;
    std::vector<SettingChange> settings;
    int clockSource = 0;
    bool playerLog = false;
    bool loop = true;
    bool stayOpen = false;
    std::uint32_t seed = 1;
    int clockPpm = 0;

    // People look at the window: what goes wrong may be shown in a box.
    bool WindowMode() const { return !list && !help && script.empty(); }
};

struct ParsedOptions {
    Options options;
    std::string error; // empty: understood
};

// `arguments` without the program's own name.
ParsedOptions ParseOptions(const std::vector<std::string>& arguments);

std::string OptionsHelp();

} // namespace vistrame
