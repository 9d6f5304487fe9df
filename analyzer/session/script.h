// A script: time-stamped commands, one per line, carried out in order.
//
// Units      seconds; PIDs, codes and arguments as numbers; shares of packets in 0 to 1.
// Errors     the first line that cannot be understood is reported with its number; nothing of the script is
//            used then.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "analyzer/session/setting_names.h"
#include "analyzer/stream/paced_stream.h"
#include "analyzer/stream/packet_faults.h"

namespace vistrame {

struct PlayAction {
    std::uint16_t programme = 0;
    std::optional<Pid> audioPid;
};
struct CommandAction {
    std::uint32_t code = 0;
    std::uint32_t argument = 0;
};
struct QuitAction {};
struct StallAction {};
struct SeekAction {
    double seconds = 0; // of the file
    bool announced = false;
};
struct LoseAction {
    double share = 0;
};
struct DamageAction {
    double share = 0;
};
struct SpoilAction {
    Spoiling spoiling = Spoiling::kNothing;
};
struct CloseAction {};
struct SizeAction {
    int width = 0;
    int height = 0;
};
struct WaitPictureAction {
    double seconds = 0;
};
struct WaitExitAction {
    std::uint32_t code = 0;
    double seconds = 0;
};
struct BeginMotionAction {};
struct EndMotionAction {
    std::string name;
};
struct CountAction {};
struct MarkAction {
    std::string name;
};
struct PressAction {
    std::string name; // of a command of the window
};
struct EndAction {};

using Action = std::variant<PlayAction, CommandAction, QuitAction, StallAction, ResumeAction, SeekAction,
                            LoseAction, DamageAction, SpoilAction, CloseAction, SizeAction, SettingChange,
                            WaitPictureAction, WaitExitAction, BeginMotionAction, EndMotionAction,
                            CountAction, MarkAction, PressAction, EndAction>;

struct ScriptLine {
    int number = 0;     // in the file, from 1
    double seconds = 0; // since the script's start, and
    double after = 0;   // since the end of the line before: whichever is later
    Action action;
};

struct Script {
    std::vector<ScriptLine> lines;
    std::string error; // empty: understood
};

Script ParseScript(std::string_view text);

// Every command's form and meaning, one per line, for --help.
std::string ScriptHelp();

} // namespace vistrame
