#include "analyzer/session/session.h"

#include <algorithm>

#include "analyzer/base/patience.h"
#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/session/player_counts.h"
#include "analyzer/session/player_settings.h"

namespace vistrame {

namespace {

constexpr std::uint32_t kQuitMsec = 10'000; // a graph is taken down well within that
constexpr double kWaitStepMsec = 10;        // what is waited for is looked for this often

std::string OwnFolder() {
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::string own = Narrow(std::wstring(path, length));
    return own.substr(0, own.find_last_of("\\/") + 1);
}

} // namespace

Outcome Session::Execute(const Action& action) {
    return std::visit([this](const auto& what) { return On(what); }, action);
}

std::string Session::PlayerPath() const {
    return options_.player.empty() ? OwnFolder() + "vistrame.exe" : options_.player;
}

Outcome Session::StartPlayer(const Selection& selection) {
    const std::uint32_t pipeId = GetCurrentProcessId() << 8 | (++playersStarted_ & 0xFF);
    if (!pump_.OpenPipe(pipeId)) {
        return {ExitCode::kPlayerStart, "the stream pipe cannot be made: " + ErrorText(GetLastError())};
    }
    Launch launch;
    {
        const std::scoped_lock hold(lock_);
        launch = launch_;
        lastBox_.clear();
    }
    Outcome started = player_.Start(
        PlayerPath(), {.parentWindow = static_cast<std::uint32_t>(reinterpret_cast<UINT_PTR>(windows_.area)),
                       .pipeId = pipeId,
                       .clockSource = launch.clockSource,
                       .log = launch.log,
                       .videoType = selection.videoType,
                       .audioType = selection.audioType});
    if (!started.Ok()) {
        pump_.ClosePipe();
        player_.Release();
        return started;
    }
    playerThere_ = true;
    mappedAudio_ = kNullPid;
    return {};
}

Outcome Session::On(const PlayAction& action) {
    const auto programme = FindProgramme(action.programme);
    if (!programme) {
        return {ExitCode::kProgramme,
                Format("programme %u does not exist in ", action.programme) + file_.Path()};
    }
    const auto selection = SelectStreams(*programme, action.audioPid, language_);
    if (!selection) {
        return {ExitCode::kProgramme,
                Format("programme %u has nothing that the player can play", action.programme)};
    }
    if (const auto audio = std::ranges::find(programme->streams, selection->audioPid, &ElementaryStream::pid);
        action.audioPid && audio != programme->streams.end()) {
        language_ = audio->language;
    }
    if (playerThere_ && selection_ && !selection_->SamePlayer(*selection)) {
        if (Outcome quit = QuitPlayer(); !quit.Ok()) {
            return quit;
        }
    }
    if (!playerThere_) {
        if (Outcome started = StartPlayer(*selection); !started.Ok()) {
            return started;
        }
    }
    const std::uint32_t argument = PackPids({selection->videoPid, selection->audioPid});
    {
        const std::scoped_lock hold(lock_);
        selection_ = selection;
        facts_.selections.push_back({.selection = *selection, .pictureMsec = {}, .randomAccessMsec = {}});
    }
    (void)PostMessageA(windows_.main, kNewsMessage, 0, 0); // the timer looks as well
    log_.Line(Format("select programme %u video 0x%04X audio 0x%04X argument %08X", action.programme,
                     selection->videoPid, selection->audioPid, static_cast<unsigned>(argument)));
    watch_.Expect();
    pump_.WatchRandomAccess(selection->videoPid);
    selectedAt_ = EventLog::Now();
    Outcome sent = Send(CommandCode::SetPid, argument);
    watch_.Settle();
    // The player leaves a new graph stopped when there is no sound in it or the sound's PID has not changed.
    const bool stopped = selection->audioPid == kNullPid || selection->audioPid == mappedAudio_;
    if (selection->audioPid != kNullPid) {
        mappedAudio_ = selection->audioPid;
    }
    return sent.Ok() && stopped ? Send(CommandCode::Run, 0) : sent;
}

Outcome Session::Send(CommandCode command, std::uint32_t argument) {
    return On(CommandAction{static_cast<std::uint32_t>(command), argument});
}

Outcome Session::On(const CommandAction& action) {
    const std::string name(CommandName(static_cast<CommandCode>(action.code)));
    const std::string what = name.empty() ? Format("command %u", static_cast<unsigned>(action.code)) : name;
    if (!playerThere_) {
        return {ExitCode::kPlayerEnd, what + " cannot be sent: no player runs"};
    }
    const double begin = EventLog::Now();
    const bool answered = player_.Send(action.code, action.argument);
    Note(what + Format(" %08X, %.0f ms", static_cast<unsigned>(action.argument), EventLog::Now() - begin));
    if (answered) {
        return {};
    }
    constexpr std::uint32_t kEndingMsec = 2000; // its windows go before the process does
    if (const auto exitCode = player_.WaitExit(Patiently(kEndingMsec))) {
        return PlayerEnded(*exitCode, ("during " + what).c_str());
    }
    player_.Terminate();
    return PlayerEnded(player_.WaitExit(0).value_or(0), ("by force, as it did not answer " + what).c_str());
}

Outcome Session::On(const QuitAction&) {
    return QuitPlayer();
}

Outcome Session::QuitPlayer() {
    if (Outcome sent = Send(CommandCode::Quit, 0); !sent.Ok()) {
        return sent;
    }
    const auto exitCode = player_.WaitExit(Patiently(kQuitMsec));
    if (!exitCode) {
        player_.Terminate();
        return PlayerEnded(player_.WaitExit(0).value_or(0), "by force, as it did not end after Quit");
    }
    if (*exitCode != 0) {
        return PlayerEnded(*exitCode, "after Quit");
    }
    ForgetPlayer(0);
    return {};
}

Outcome Session::On(const StallAction&) {
    pump_.Stall();
    log_.Line("stall");
    return {};
}

Outcome Session::On(const ResumeAction& action) {
    pump_.Resume(action);
    log_.Line("resume");
    return {};
}

Outcome Session::On(const SeekAction& action) {
    log_.Line(Format("seek %.3f%s", action.seconds, action.announced ? " announced" : ""));
    return pump_.Seek(action.seconds, action.announced)
               ? Outcome()
               : Outcome{ExitCode::kUsage,
                         Format("there is no second %.3f in ", action.seconds) + file_.Path()};
}

Outcome Session::On(const LoseAction& action) {
    pump_.SetLoss(action.share);
    log_.Line(Format("lose %.4f%%", action.share * 100));
    return {};
}

Outcome Session::On(const DamageAction& action) {
    pump_.SetDamage(action.share);
    log_.Line(Format("damage %.4f%%", action.share * 100));
    return {};
}

Outcome Session::On(const SpoilAction& action) {
    pump_.SetSpoiling(action.spoiling);
    log_.Line(action.spoiling == Spoiling::kNothing ? "spoil nothing" : "spoil");
    return {};
}

Outcome Session::On(const CloseAction&) {
    pump_.ClosePipe();
    log_.Line("close");
    return {};
}

Outcome Session::On(const SizeAction& action) {
    // Answers 0.
    (void)SendMessageA(windows_.main, kSizeMessage, static_cast<WPARAM>(action.width), action.height);
    log_.Line(Format("size %d %d", action.width, action.height));
    return {};
}

Outcome Session::On(const SettingChange& change) {
    const std::string name(change.row.name);
    if (!StoreSetting(change)) {
        return {ExitCode::kOutput, "the setting " + name + " cannot be stored"};
    }
    const std::string value =
        change.row.isText ? change.text : Format("%lu", static_cast<unsigned long>(change.number));
    log_.Line("set " + name + " " + value);
    return {};
}

Outcome Session::On(const WaitPictureAction& action) {
    const double seconds = action.seconds * Patience();
    const double end = EventLog::Now() + seconds * 1000;
    while (watch_.Expecting() && !Ending()) {
        if (EventLog::Now() >= end) {
            return {ExitCode::kWait, Format("no picture within %.1f s", seconds)};
        }
        if (Outcome unasked = WaitUntil(EventLog::Now() + kWaitStepMsec); !unasked.Ok()) {
            return unasked;
        }
    }
    NotePicture();
    return {};
}

Outcome Session::On(const WaitExitAction& action) {
    const double seconds = action.seconds * Patience();
    const double end = EventLog::Now() + seconds * 1000;
    auto exitCode = playerThere_ ? player_.WaitExit(0) : std::nullopt;
    while (playerThere_ && !exitCode && !Ending() && EventLog::Now() < end) {
        NotePicture();
        exitCode = player_.WaitExit(static_cast<std::uint32_t>(kWaitStepMsec));
    }
    if (!exitCode) {
        return {ExitCode::kWait, playerThere_ ? Format("the player did not end within %.1f s", seconds)
                                              : std::string("no player runs")};
    }
    if (*exitCode != action.code) {
        return PlayerEnded(*exitCode,
                           Format("not with 0x%08X but", static_cast<unsigned>(action.code)).c_str());
    }
    ForgetPlayer(*exitCode);
    return {};
}

Outcome Session::On(const BeginMotionAction&) {
    watch_.BeginMotion();
    return {};
}

Outcome Session::On(const EndMotionAction& action) {
    const PictureWatch::Motion motion = watch_.EndMotion();
    log_.Line("motion " + action.name +
              Format(" longest-msec %.0f changes %u", motion.longestMsec, motion.changes));
    return {};
}

Outcome Session::On(const CountAction&) {
    log_.Line("count " + FormatCounts(CountOf(player_.ProcessId())));
    return {};
}

Outcome Session::On(const MarkAction& action) {
    log_.Line("mark " + action.name);
    return {};
}

Outcome Session::On(const PressAction& action) {
    const auto name = reinterpret_cast<LPARAM>(action.name.c_str());
    if (SendMessageA(windows_.main, kPressMessage, 0, name) == 0) {
        return {ExitCode::kUsage, "\"" + action.name + "\" is nothing that the window does"};
    }
    log_.Line("press " + action.name);
    return {};
}

Outcome Session::On(const EndAction&) {
    scriptEnded_ = true;
    return {};
}

} // namespace vistrame
