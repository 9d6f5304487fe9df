#include "analyzer/session/script.h"

#include <algorithm>
#include <array>

#include "analyzer/base/text.h"
#include "contract/commands.h"

namespace vistrame {

namespace {

constexpr double kDefaultWait = 20;      // s: a cold start of Wine included
constexpr double kLongest = 24.0 * 3600; // s: no script runs longer

using Arguments = std::span<const std::string>;

std::optional<Action> ParsePlay(Arguments words) {
    if (words.size() != 1 && (words.size() != 3 || words[1] != "audio")) {
        return std::nullopt;
    }
    const auto programme = ParseNumber(words[0]);
    const auto audio = words.size() == 3 ? ParseNumber(words[2]) : kNullPid;
    if (!programme || *programme > 0xFFFF || !audio || *audio > kNullPid) {
        return std::nullopt;
    }
    PlayAction action{.programme = static_cast<std::uint16_t>(*programme), .audioPid = {}};
    if (words.size() == 3) {
        action.audioPid = static_cast<Pid>(*audio);
    }
    return action;
}

template <CommandCode code>
std::optional<Action> ParsePlain(Arguments words) {
    return words.empty() ? std::optional<Action>(CommandAction{static_cast<std::uint32_t>(code), 0})
                         : std::nullopt;
}

template <typename Simple>
std::optional<Action> ParseBare(Arguments words) {
    return words.empty() ? std::optional<Action>(Simple()) : std::nullopt;
}

std::optional<Action> ParseUnmute(Arguments words) {
    const auto delay = words.empty() ? 0U : ParseNumber(words[0]);
    if (words.size() > 1 || !delay) {
        return std::nullopt;
    }
    return CommandAction{static_cast<std::uint32_t>(CommandCode::UnmuteAudio), *delay};
}

std::optional<Action> ParseCommand(Arguments words) {
    if (words.size() != 2) {
        return std::nullopt;
    }
    const auto code = ParseNumber(words[0]);
    const auto argument = ParseNumber(words[1]);
    return code && argument ? std::optional<Action>(CommandAction{*code, *argument}) : std::nullopt;
}

std::optional<Action> ParseResume(Arguments words) {
    constexpr std::array<std::string_view, 3> kKinds{"late", "backlog", "skip"};
    const auto* const kind = words.empty() ? kKinds.begin() : std::ranges::find(kKinds, words[0]);
    if (words.size() > 1 || kind == kKinds.end()) {
        return std::nullopt;
    }
    return static_cast<ResumeAction>(kind - kKinds.begin());
}

std::optional<Action> ParseSeek(Arguments words) {
    if (words.empty() || words.size() > 2 || (words.size() == 2 && words[1] != "announced")) {
        return std::nullopt;
    }
    const auto seconds = ParseAmount(words[0], kLongest);
    return seconds ? std::optional<Action>(SeekAction{*seconds, words.size() == 2}) : std::nullopt;
}

template <typename Share>
std::optional<Action> ParseShare(Arguments words) {
    if (words.size() != 1) {
        return std::nullopt;
    }
    std::string_view number = words[0];
    if (number.ends_with('%')) {
        number.remove_suffix(1);
    }
    const auto percent = ParseAmount(number, 100);
    return percent ? std::optional<Action>(Share{*percent / 100}) : std::nullopt;
}

std::optional<Action> ParseSize(Arguments words) {
    constexpr std::uint32_t kLargest = 8192; // pixels
    const auto width = words.size() == 2 ? ParseNumber(words[0]) : std::nullopt;
    const auto height = words.size() == 2 ? ParseNumber(words[1]) : std::nullopt;
    if (!width || !height || *width == 0 || *height == 0 || *width > kLargest || *height > kLargest) {
        return std::nullopt;
    }
    return SizeAction{static_cast<int>(*width), static_cast<int>(*height)};
}

std::optional<Action> ParseSpoil(Arguments words) {
    constexpr std::array<std::string_view, 6> kNames{"nothing",  "truncated", "flipped",
                                                     "shuffled", "sized",     "random"};
    const auto* const name = words.size() == 1 ? std::ranges::find(kNames, words[0]) : kNames.end();
    return name == kNames.end()
               ? std::nullopt
               : std::optional<Action>(SpoilAction{static_cast<Spoiling>(name - kNames.begin())});
}

std::optional<Action> ParseSet(Arguments words) {
    const auto change = words.size() == 2 ? ParseSetting(words[0], words[1]) : std::nullopt;
    return change ? std::optional<Action>(*change) : std::nullopt;
}

std::optional<Action> ParseWait(Arguments words) {
    const bool forExit = !words.empty() && words[0] == "exit";
    const std::size_t fixed = forExit ? 2 : 1;
    if (words.size() < fixed || words.size() > fixed + 1 || (!forExit && words[0] != "picture")) {
        return std::nullopt;
    }
    const auto seconds = words.size() > fixed ? ParseAmount(words[fixed], kLongest) : kDefaultWait;
    const auto code = forExit ? ParseNumber(words[1]) : 0U;
    if (!seconds || !code) {
        return std::nullopt;
    }
    return forExit ? Action(WaitExitAction{*code, *seconds}) : Action(WaitPictureAction{*seconds});
}

std::optional<Action> ParseMotion(Arguments words) {
    if (words.size() == 1 && words[0] == "begin") {
        return BeginMotionAction();
    }
    return words.size() == 2 && words[0] == "end" ? std::optional<Action>(EndMotionAction{words[1]})
                                                  : std::nullopt;
}

std::optional<Action> ParseMark(Arguments words) {
    return words.size() == 1 ? std::optional<Action>(MarkAction{words[0]}) : std::nullopt;
}

std::optional<Action> ParsePress(Arguments words) {
    return words.size() == 1 ? std::optional<Action>(PressAction{words[0]}) : std::nullopt;
}

struct CommandRow {
    std::string_view name;
    std::string_view arguments;
    std::string_view about;
    std::optional<Action> (*parse)(Arguments words);
};

constexpr std::array kCommands{
    CommandRow{"play", "N [audio PID]", "select a programme, starting the player as needed", ParsePlay},
    CommandRow{"run", "", "player command 3", ParsePlain<CommandCode::Run>},
    CommandRow{"stop", "", "player command 4", ParsePlain<CommandCode::Stop>},
    CommandRow{"pause", "", "player command 5", ParsePlain<CommandCode::Pause>},
    CommandRow{"discontinuity", "", "player command 6", ParsePlain<CommandCode::SendDisc>},
    CommandRow{"unmute", "[MSEC]", "player command 8", ParseUnmute},
    CommandRow{"quit", "", "player command 11, and wait for its end", ParseBare<QuitAction>},
    CommandRow{"command", "CODE ARGUMENT", "any player command", ParseCommand},
    CommandRow{"stall", "", "send nothing any more", ParseBare<StallAction>},
    CommandRow{"resume", "[late|backlog|skip]",
               "end a stall: go on where it stopped, send what was missed at once, "
               "or leave it out",
               ParseResume},
    CommandRow{"seek", "SECONDS [announced]", "go on at that time of the file", ParseSeek},
    CommandRow{"lose", "PERCENT", "drop that share of packets", ParseShare<LoseAction>},
    CommandRow{"damage", "PERCENT", "flip one bit in that share of packets", ParseShare<DamageAction>},
    CommandRow{"spoil", "truncated|flipped|shuffled|sized|random|nothing",
               "break all that is sent to the player from here on, the packets' beginnings too", ParseSpoil},
    CommandRow{"close", "", "close the pipe", ParseBare<CloseAction>},
    CommandRow{"size", "WIDTH HEIGHT", "size of the area the player fills", ParseSize},
    CommandRow{"set", "NAME VALUE", "store a setting of the player", ParseSet},
    CommandRow{"wait", "picture [SECONDS] | exit CODE [SECONDS]",
               "wait for the first picture, or the player's end", ParseWait},
    CommandRow{"motion", "begin | end NAME", "watch, and log, how evenly pictures follow each other",
               ParseMotion},
    CommandRow{"count", "", "write into the log what the player holds of the system", ParseBare<CountAction>},
    CommandRow{"mark", "NAME", "write a line into the log", ParseMark},
    CommandRow{
        "press", "NAME",
        "what the window does by button or key: settings, full-screen, screenshot, fit-shape, fit-whole, "
        "fit-fill",
        ParsePress},
    CommandRow{"end", "", "end the script", ParseBare<EndAction>},
};

// Empty: understood.
std::string ParseLine(const std::vector<std::string>& words, ScriptLine& line) {
    const std::string_view time = words[0];
    const std::size_t plus = time.find('+');
    const auto seconds = plus == 0 ? 0 : ParseAmount(time.substr(0, plus), kLongest);
    const auto after = plus == std::string_view::npos ? 0 : ParseAmount(time.substr(plus + 1), kLongest);
    if (!seconds || !after) {
        return "\"" + words[0] + "\" is no time";
    }
    line.seconds = *seconds;
    line.after = *after;
    if (words.size() < 2) {
        return "a command is missing";
    }
    const auto* const row = std::ranges::find(kCommands, words[1], &CommandRow::name);
    if (row == kCommands.end()) {
        return "\"" + words[1] + "\" is no command";
    }
    const auto action = row->parse(Arguments(words).subspan(2));
    if (!action) {
        return row->arguments.empty() ? words[1] + " takes nothing"
                                      : words[1] + " takes " + std::string(row->arguments);
    }
    line.action = *action;
    return {};
}

} // namespace

Script ParseScript(std::string_view text) {
    Script script;
    int number = 0;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size() - 1);
        const auto words = Words(text.substr(0, end + 1));
        text.remove_prefix(end + 1);
        ScriptLine line{.number = ++number, .action = EndAction()};
        if (words.empty()) {
            continue;
        }
        if (const std::string error = ParseLine(words, line); !error.empty()) {
            return {.lines = {}, .error = Format("line %d: ", number) + error};
        }
        script.lines.push_back(line);
    }
    return script;
}

std::string ScriptHelp() {
    std::string help;
    for (const CommandRow& row : kCommands) {
        const std::string form = std::string(row.name) + " " + std::string(row.arguments);
        help += Format("  %-34s %s\n", form.c_str(), std::string(row.about).c_str());
    }
    return help;
}

} // namespace vistrame
