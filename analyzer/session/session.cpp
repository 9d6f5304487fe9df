#include "analyzer/session/session.h"

#include <algorithm>
#include <utility>

#include "analyzer/base/text.h"
#include "analyzer/measure/programme_state.h"
#include "analyzer/session/player_box.h"
#include "analyzer/session/player_end.h"

namespace vistrame {

namespace {

// How often an end of the player, or a first picture, is looked for.
constexpr double kPollMsec = 20;
constexpr double kForEver = 1e15;

} // namespace

Session::Session(const StreamFile& file, const Options& options, Script script, EventLog& log,
                 Windows windows)
    : file_(file),
      options_(options),
      script_(std::move(script)),
      log_(log),
      windows_(windows),
      player_(log),
      watch_(windows.area),
      pump_(file,
            {.loop = options.loop,
             .seed = options.seed,
             .clockPpm = options.clockPpm,
             .waitsForPlayer = !options.WindowMode()},
            {.announceSeam = [this] { player_.SendDiscontinuity(); },
             .sent = [this](auto packets, auto between) { monitor_.Push(packets, EventLog::Now(), between); },
             .broken = [this] { monitor_.Break(); }}),
      language_(options.audioLanguage),
      launch_{.clockSource = options.clockSource, .log = options.playerLog},
      thread_([this] { Run(); }) {}

Session::~Session() {
    End();
    thread_.join();
}

void Session::Post(Action action) {
    const std::scoped_lock hold(lock_);
    const bool newest =
        std::holds_alternative<PlayAction>(action) || std::holds_alternative<SeekAction>(action);
    if (newest && !wishes_.empty() && wishes_.back().index() == action.index()) {
        wishes_.pop_back(); // whoever holds an arrow key down wants to be where he lets go
    }
    wishes_.push_back(std::move(action));
    wake_.notify_all();
}

void Session::End() {
    const std::scoped_lock hold(lock_);
    ending_ = true;
    wake_.notify_all();
}

bool Session::Ending() {
    const std::scoped_lock hold(lock_);
    return ending_ || scriptEnded_;
}

void Session::OnAnnounced(HWND player) {
    player_.OnAnnounced(player);
}

void Session::LookForBox() {
    auto text = PlayerBoxText(player_.ProcessId());
    if (text) {
        std::ranges::replace(*text, '\n', ' '); // one line in the log
    }
    const std::scoped_lock hold(lock_);
    if (text && *text != box_) {
        log_.Line("player box \"" + *text + "\"");
    }
    box_ = text.value_or("");
    lastBox_ = text ? *text : lastBox_;
    if (text && !options_.script.empty()) {
        DismissPlayerBox(player_.ProcessId());
    }
}

Session::Status Session::Read() {
    Status status{.selection = {},
                  .counts = pump_.Count(),
                  .fileSeconds = pump_.FileSeconds(),
                  .pcr = pump_.Pcr(),
                  .last = {},
                  .pictureMsec = {},
                  .accessMsec = {}};
    const std::scoped_lock hold(lock_);
    status.selection = selection_;
    status.last = last_;
    if (!facts_.selections.empty()) {
        const SelectionFact& fact = facts_.selections.back();
        status.pictureMsec = fact.pictureMsec;
        if (fact.pictureMsec && !fact.randomAccessMsec.empty()) {
            status.accessMsec = *fact.pictureMsec - fact.randomAccessMsec.back();
        }
    }
    return status;
}

void Session::SetLaunch(const Launch& launch) {
    const std::scoped_lock hold(lock_);
    launch_ = launch;
}

std::optional<Session::Notice> Session::TakeNotice() {
    const std::scoped_lock hold(lock_);
    return std::exchange(notice_, std::nullopt);
}

ReportFacts Session::Facts() {
    const StreamPump::Counts counts = pump_.Count();
    const std::scoped_lock hold(lock_);
    facts_.sent = counts.sent;
    facts_.lost = counts.lost;
    facts_.damaged = counts.damaged;
    facts_.seams = counts.seams;
    facts_.lateMsec = counts.lateMsec;
    return facts_;
}

void Session::Note(std::string last) {
    const std::scoped_lock hold(lock_);
    last_ = std::move(last);
}

void Session::Run() {
    if (options_.play) {
        result_ = Execute(PlayAction{.programme = *options_.play, .audioPid = {}});
    }
    if (options_.WindowMode()) {
        RunWindow();
    } else if (result_.Ok()) {
        result_ = RunScript();
        if (options_.stayOpen) {
            RunWindow();
        }
    }
    if (playerThere_) {
        const Outcome end = QuitPlayer();
        result_ = result_.Ok() ? end : result_;
    }
    log_.Line(Format("end exit %d", static_cast<int>(result_.code)));
    (void)PostMessageA(windows_.main, kEndedMessage, 0, 0); // without it nobody waits any more
}

Outcome Session::RunScript() {
    const double begin = EventLog::Now();
    double done = begin;
    for (const ScriptLine& line : script_.lines) {
        Outcome outcome = WaitUntil(std::max(begin + line.seconds * 1000, done + line.after * 1000));
        if (outcome.Ok() && !Ending()) {
            outcome = Execute(line.action);
        }
        if (!outcome.Ok()) {
            outcome.reason = Format("script line %d: ", line.number) + outcome.reason;
            return outcome;
        }
        if (Ending()) {
            break;
        }
        done = EventLog::Now();
    }
    scriptEnded_ = false;
    NotePicture();
    return {};
}

void Session::RunWindow() {
    Outcome failed = result_;
    do {
        if (!failed.Ok()) {
            result_ = failed;
            const std::scoped_lock hold(lock_);
            const bool ended = failed.code == ExitCode::kPlayerEnd || failed.code == ExitCode::kPlayerStart;
            notice_ = {.what = failed.reason, .meaning = {}, .playerEnded = ended};
            if (ended) {
                notice_->meaning = ExplainPlayerEnd(
                    failed.code == ExitCode::kPlayerEnd ? facts_.playerExit : std::nullopt, lastBox_);
            }
            (void)PostMessageA(windows_.main, kNewsMessage, 0, 0); // the timer looks as well
        }
        failed = WaitUntil(kForEver);
    } while (!Ending());
}

Outcome Session::WaitUntil(double msec) {
    while (!Ending()) {
        NotePicture();
        if (Outcome unasked = CheckPlayer(); !unasked.Ok()) {
            return unasked;
        }
        if (Outcome followed = FollowTables(); !followed.Ok()) {
            return followed;
        }
        NoteState();
        std::optional<Action> wish;
        {
            std::unique_lock hold(lock_);
            const double rest = msec - EventLog::Now();
            if (wishes_.empty() && rest > 0) {
                wake_.wait_for(hold, std::chrono::duration<double, std::milli>(std::min(rest, kPollMsec)));
            }
            if (!wishes_.empty()) {
                wish = wishes_.front();
                wishes_.pop_front();
            }
        }
        if (wish) {
            if (Outcome outcome = Execute(*wish); !outcome.Ok()) {
                return outcome;
            }
        } else if (EventLog::Now() >= msec) {
            return {};
        }
    }
    return {};
}

// A player that has ended by itself.
Outcome Session::CheckPlayer() {
    const auto exitCode = playerThere_ ? player_.WaitExit(0) : std::nullopt;
    return exitCode ? PlayerEnded(*exitCode, "by itself") : Outcome();
}

std::optional<Programme> Session::FindProgramme(std::uint16_t number) {
    auto programme = monitor_.Mapped(number);
    if (const Programme* const known = programme ? nullptr : file_.Find(number)) {
        programme = *known; // not sent yet, or not any more
    }
    return programme;
}

Outcome Session::FollowTables() {
    const std::uint64_t revision = monitor_.Revision();
    std::optional<Selection> selection;
    {
        const std::scoped_lock hold(lock_);
        selection = selection_;
    }
    if (!playerThere_ || !selection || std::exchange(followed_, revision) == revision) {
        return {};
    }
    const auto programme = monitor_.Mapped(selection->programme);
    if (!programme) {
        return {}; // nothing that could be played instead
    }
    // The chosen audio as long as it is there, otherwise one in its language.
    const auto same = SelectStreams(*programme, selection->audioPid);
    const auto usual = SelectStreams(*programme, std::nullopt, language_);
    const auto& wanted = same ? same : usual;
    if (!wanted || *wanted == *selection) {
        return {};
    }
    log_.Line(Format("tables programme %u changed", programme->number));
    PlayAction again{.programme = programme->number, .audioPid = {}};
    if (wanted != usual) {
        again.audioPid = wanted->audioPid; // the user has chosen it
    }
    return Execute(again);
}

// The state of the programme that plays, into the log when it changes.
void Session::NoteState() {
    constexpr double kStateMsec = 200;
    const double now = EventLog::Now();
    if (now - stateAt_ < kStateMsec) {
        return;
    }
    stateAt_ = now;
    std::optional<Selection> selection;
    {
        const std::scoped_lock hold(lock_);
        selection = selection_;
    }
    const MultiplexReading reading = selection ? monitor_.Read(now) : MultiplexReading();
    if (!reading.tables) {
        return;
    }
    const auto found = std::ranges::find_if(reading.programmes, [&](const ProgrammeReading& each) {
        return each.programme.number == selection->programme;
    });
    std::string state = found != reading.programmes.end() ? ProgrammeState(*found) : "gone";
    state = state.substr(0, state.find(" for ")); // how long is not another state
    if (state != state_) {
        log_.Line(Format("state programme %u ", selection->programme) + (state.empty() ? "good" : state));
        state_ = state;
    }
}

void Session::NotePicture() {
    const auto picture = watch_.FirstPicture();
    const std::scoped_lock hold(lock_);
    if (!picture || facts_.selections.empty() || facts_.selections.back().pictureMsec) {
        return;
    }
    SelectionFact& fact = facts_.selections.back();
    fact.pictureMsec = *picture - selectedAt_;
    for (const double when : pump_.RandomAccessTimes()) {
        if (when <= *picture) {
            fact.randomAccessMsec.push_back(when - selectedAt_);
        }
    }
    log_.Line(Format("picture programme %u ", fact.selection.programme) + FormatPicture(fact));
}

Outcome Session::PlayerEnded(std::uint32_t exitCode, const char* when) {
    ForgetPlayer(exitCode);
    return {ExitCode::kPlayerEnd,
            Format("the player ended %s with exit code 0x%08X", when, static_cast<unsigned>(exitCode))};
}

void Session::ForgetPlayer(std::uint32_t exitCode) {
    log_.Line(Format("player exit 0x%08X", static_cast<unsigned>(exitCode)));
    pump_.ClosePipe();
    player_.Release();
    playerThere_ = false;
    const std::scoped_lock hold(lock_);
    facts_.playerExit = exitCode;
    selection_.reset();
    (void)PostMessageA(windows_.main, kNewsMessage, 0, 0); // the timer looks as well
}

} // namespace vistrame
