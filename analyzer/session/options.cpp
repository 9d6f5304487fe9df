#include "analyzer/session/options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>

#include "analyzer/base/text.h"

namespace vistrame {

namespace {

using Taker = bool (*)(Options& options, const std::string& value);

template <std::string Options::*member>
bool TakeText(Options& options, const std::string& value) {
    options.*member = value;
    return !value.empty();
}

template <bool Options::*member, bool set>
bool TakeFlag(Options& options, const std::string&) {
    options.*member = set;
    return true;
}

bool TakeListFields(Options& options, const std::string&) {
    options.list = options.listFields = true;
    return true;
}

bool TakePlay(Options& options, const std::string& value) {
    const auto number = ParseNumber(value);
    if (!number || *number > 0xFFFF) {
        return false;
    }
    options.play = static_cast<std::uint16_t>(*number);
    return true;
}

bool TakeSet(Options& options, const std::string& value) {
    const auto equals = value.find('=');
    if (equals == std::string::npos) {
        return false;
    }
    const auto change = ParseSetting(value.substr(0, equals), value.substr(equals + 1));
    if (change) {
        options.settings.push_back(*change);
    }
    return change.has_value();
}

bool TakeClockSource(Options& options, const std::string& value) {
    const auto number = ParseNumber(value);
    options.clockSource = static_cast<int>(number.value_or(0));
    return number.has_value();
}

bool TakeSeed(Options& options, const std::string& value) {
    const auto number = ParseNumber(value);
    options.seed = number.value_or(0);
    return number.has_value();
}

bool TakeClockPpm(Options& options, const std::string& value) {
    const char* end = value.data() + value.size();
    const auto [rest, error] = std::from_chars(value.data(), end, options.clockPpm);
    return error == std::errc() && rest == end && std::abs(options.clockPpm) <= 100'000;
}

struct OptionRow {
    std::string_view name;
    std::string_view value; // empty: the option takes none
    std::string_view about;
    Taker take;
};

constexpr std::array kOptions{
    OptionRow{"--list", "", "print the programme table and end", TakeFlag<&Options::list, true>},
    OptionRow{"--list-fields", "", "the same for programs: a line per programme, fields between tabs",
              TakeListFields},
    OptionRow{"--play", "N", "choose programme N at once", TakePlay},
    OptionRow{"--audio-language", "CODE", "of several audios the one in this language (deu, eng, ...)",
              TakeText<&Options::audioLanguage>},
    OptionRow{"--script", "FILE", "carry out the commands of FILE, then end", TakeText<&Options::script>},
    OptionRow{"--stay-open", "", "keep the window when the script has ended",
              TakeFlag<&Options::stayOpen, true>},
    OptionRow{"--log", "FILE", "write what happens, as it happens", TakeText<&Options::log>},
    OptionRow{"--report", "FILE", "write a summary at the end", TakeText<&Options::report>},
    OptionRow{"--player", "PATH", "the player; otherwise vistrame.exe beside this program",
              TakeText<&Options::player>},
    OptionRow{"--set", "NAME=VALUE", "store a setting of the player; may be repeated", TakeSet},
    OptionRow{"--clock-source", "N", "1 demultiplexer, 2 audio renderer, 3 feed filter, else the graph's own",
              TakeClockSource},
    OptionRow{"--player-log", "", "the player writes its diagnostic log",
              TakeFlag<&Options::playerLog, true>},
    OptionRow{"--no-loop", "", "send the file once instead of without end", TakeFlag<&Options::loop, false>},
    OptionRow{"--seed", "N", "seed of the random losses and errors (1)", TakeSeed},
    OptionRow{"--clock-ppm", "N", "the sender's clock runs that many millionths fast; negative: slow (0)",
              TakeClockPpm},
    OptionRow{"--help", "", "this text", TakeFlag<&Options::help, true>},
};

// Whoever asked for a list or a script anywhere on the line wants no box about the rest of it.
ParsedOptions Wrong(const std::vector<std::string>& arguments, std::string error) {
    ParsedOptions wrong{.options = {}, .error = std::move(error)};
    wrong.options.list = std::ranges::any_of(
        arguments, [](const std::string& word) { return word.starts_with("--list") || word == "--script"; });
    return wrong;
}

} // namespace

ParsedOptions ParseOptions(const std::vector<std::string>& arguments) {
    ParsedOptions parsed;
    Options& options = parsed.options;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& word = arguments[at];
        if (!word.starts_with("--")) {
            if (!options.stream.empty()) {
                return Wrong(arguments,
                             "more than one stream: \"" + options.stream + "\" and \"" + word + "\"");
            }
            options.stream = word;
            continue;
        }
        const auto* const row = std::ranges::find(kOptions, word, &OptionRow::name);
        if (row == kOptions.end()) {
            return Wrong(arguments, "unknown option " + word + ", see --help");
        }
        const bool valued = !row->value.empty();
        if (valued && at + 1 == arguments.size()) {
            return Wrong(arguments, word + " needs " + std::string(row->value));
        }
        if (!row->take(options, valued ? arguments[++at] : word)) {
            return Wrong(arguments,
                         word + " " + arguments[at] + ": " + std::string(row->value) + " is needed");
        }
    }
    if (options.stream.empty() && !options.help && !options.WindowMode()) {
        return Wrong(arguments, "no stream given, see --help");
    }
    return parsed;
}

std::string OptionsHelp() {
    std::string help;
    for (const OptionRow& row : kOptions) {
        const std::string form = std::string(row.name) + " " + std::string(row.value);
        help += Format("  %-20s %s\n", form.c_str(), std::string(row.about).c_str());
    }
    return help;
}

} // namespace vistrame
