#include "graphview/options.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "contract/settings.h"
#include "player/app/settings.h"

namespace vistrame {
namespace {

struct Setting {
    std::string_view name;
    std::uint32_t* variable;
};

const Setting kSettings[] = {
    {setting::kUseVmr9, &UseVMR9},       {setting::kMpeg2Codec, &MPEG2Codec},
    {setting::kMpeg4Codec, &MPEG4Codec}, {setting::kKorvixCodec, &KorvixCodec},
    {setting::kDebugOsd, &DebugOSD},
};

// Decimal, or hexadecimal behind 0x.
std::optional<std::uint32_t> Number(const std::string& text) {
    char* end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 0);
    return text.empty() || *end != '\0' ? std::nullopt : std::optional(static_cast<std::uint32_t>(number));
}

bool Set(const std::string& assignment) {
    const std::size_t equals = assignment.find('=');
    if (equals == std::string::npos) {
        return false;
    }
    const auto* const row = std::ranges::find(kSettings, assignment.substr(0, equals), &Setting::name);
    const auto number = Number(assignment.substr(equals + 1));
    if (row == std::end(kSettings) || !number) {
        return false;
    }
    *row->variable = *number;
    return true;
}

bool Take(Options& options, const std::string& name, const std::string& value) {
    if (name == "--set") {
        return Set(value);
    }
    if (name == "--dot") {
        options.dot = value;
        return true;
    }
    const auto number = Number(value);
    const auto put = [&](auto& field) {
        field = static_cast<std::remove_reference_t<decltype(field)>>(number.value_or(0));
        return number.has_value();
    };
    return name == "--video"          ? put(options.videoPid)
           : name == "--audio"        ? put(options.audioPid)
           : name == "--video-coding" ? put(options.videoCoding)
           : name == "--audio-coding" ? put(options.audioCoding)
           : name == "--clock"        ? put(options.clock)
           : name == "--seconds"      ? put(options.seconds)
                                      : false;
}

} // namespace

std::optional<Options> ParseOptions(int count, char** words) {
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string word = words[i];
        if (word.starts_with("--")) {
            if (++i == count || !Take(options, word, words[i])) {
                return std::nullopt;
            }
        } else if (options.stream.empty()) {
            options.stream = word;
        } else {
            return std::nullopt;
        }
    }
    return options.stream.empty() ? std::nullopt : std::optional(options);
}

const char* Usage() {
    return "usage: vistrame-graph.exe [options] STREAM.ts\n"
           "Builds the player's graph, plays the stream in it and prints what it looks like then.\n\n"
           "  --video PID, --audio PID       the programme; decimal or 0x...\n"
           "  --video-coding N               0 MPEG-2, 1 H.264, 2 HEVC\n"
           "  --audio-coding N               0 MPEG, 1 AC-3, 2 AAC, 3 E-AC-3\n"
           "  --clock N                      1 demultiplexer, 2 audio renderer, 3 feed filter, else the "
           "graph's own\n"
           "  --set NAME=NUMBER              a setting of the player, for this run only\n"
           "  --seconds N                    how long it plays before it is looked at (3)\n"
           "  --dot FILE                     the same for Graphviz; dot -Tsvg FILE makes a picture of it\n\n"
           "Exit codes: 0 well, 1 usage, 2 stream or file, 3 the graph cannot be built (why is on standard "
           "error).\n";
}

} // namespace vistrame
