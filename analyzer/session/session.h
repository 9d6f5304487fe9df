#pragma once

#include <condition_variable>
#include <deque>
#include <memory>

#include "analyzer/measure/multiplex_monitor.h"
#include "analyzer/session/options.h"
#include "analyzer/session/picture_watch.h"
#include "analyzer/session/player_process.h"
#include "analyzer/session/report.h"
#include "analyzer/session/script.h"
#include "analyzer/stream/selection.h"
#include "analyzer/stream/stream_pump.h"
#include "contract/commands.h"

namespace vistrame {

// One stream and the player that shows it: carries out a script or what its window's user asks for, one after
// the other.
//
// Threads    one of its own, so that the window stays alive while the player is waited for (the player's
//            windows are children of ours, and their messages must be answered meanwhile). Post, End,
//            OnAnnounced and the readings are for the window's thread.
// Ownership  borrows stream file, options, log and windows for its life.
// Errors     the first failure ends a script and is the result. What a user of the window asks for and fails
//            is a notice, and the last of those is the result.
class Session {
public:
    // Sent or posted to the main window.
    static constexpr UINT kNewsMessage = WM_APP + 1;  // a notice waits, or the programme has changed
    static constexpr UINT kEndedMessage = WM_APP + 2; // the session is over; Result() stands
    static constexpr UINT kSizeMessage = WM_APP + 3;  // give the area the size wParam x lParam

    // Do what the command named by the text at lParam (char*) does; answers 0 when there is none of the name.
    static constexpr UINT kPressMessage = WM_APP + 4;

    struct Windows {
        HWND main = nullptr;
        HWND area = nullptr; // parent of the player's window
    };

    // What the player is started with besides its codings.
    struct Launch {
        int clockSource = 0; // as the launch line numbers them
        bool log = false;
    };
    // What a user has to know; `meaning` is its cause and cure.
    struct Notice {
        std::string what;
        std::string meaning;
        bool playerEnded = false;
    };

    struct Status {
        std::optional<Selection> selection;
        StreamPump::Counts counts;
        double fileSeconds = 0;
        std::optional<std::uint64_t> pcr;
        std::string last;                  // what was done last
        std::optional<double> pictureMsec; // of the last selection
        // From the last random-access picture that was sent before to that picture.
        std::optional<double> accessMsec;
    };

    Session(const StreamFile& file, const Options& options, Script script, EventLog& log, Windows windows);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    // A choice of a programme or a place takes the place of one that still waits.
    void Post(Action action);
    // Ends script and player; kEndedMessage follows.
    void End();
    void OnAnnounced(HWND player);
    // Tells, and without a user dismisses, a box that the player has opened: it waits for that.
    void LookForBox();

    HWND PlayerWindow() const { return player_.Window(); }
    Status Read();
    // What is sent, measured now.
    MultiplexReading Measure() { return monitor_.Read(EventLog::Now()); }
    void SetLoop(bool loop) { pump_.SetLoop(loop); }
    std::optional<Notice> TakeNotice();
    // Of the next player that is started.
    void SetLaunch(const Launch& launch);
    const Outcome& Result() const { return result_; }
    ReportFacts Facts();

private:
    void Run();
    Outcome RunScript();
    void RunWindow();
    // Serves the window's wishes until `msec` of EventLog::Now(). What happens unasked meanwhile is the
    // answer.
    Outcome WaitUntil(double msec);
    Outcome CheckPlayer();
    // The tables may say otherwise now than when the programme was chosen.
    Outcome FollowTables();
    void NoteState();
    std::optional<Programme> FindProgramme(std::uint16_t number);
    void NotePicture();
    bool Ending();
    void Note(std::string last);

    Outcome Execute(const Action& action);
    Outcome On(const PlayAction& action);
    Outcome On(const CommandAction& action);
    Outcome On(const QuitAction&);
    Outcome On(const StallAction&);
    Outcome On(const ResumeAction& action);
    Outcome On(const SeekAction& action);
    Outcome On(const LoseAction& action);
    Outcome On(const DamageAction& action);
    Outcome On(const SpoilAction& action);
    Outcome On(const CloseAction&);
    Outcome On(const SizeAction& action);
    Outcome On(const SettingChange& change);
    Outcome On(const WaitPictureAction& action);
    Outcome On(const WaitExitAction& action);
    Outcome On(const BeginMotionAction&);
    Outcome On(const EndMotionAction& action);
    Outcome On(const CountAction&);
    Outcome On(const MarkAction& action);
    Outcome On(const PressAction& action);
    Outcome On(const EndAction&);

    Outcome StartPlayer(const Selection& selection);
    Outcome QuitPlayer();
    Outcome Send(CommandCode command, std::uint32_t argument);
    Outcome PlayerEnded(std::uint32_t exitCode, const char* when);
    void ForgetPlayer(std::uint32_t exitCode);
    std::string PlayerPath() const;

    const StreamFile& file_;
    const Options& options_;
    const Script script_;
    EventLog& log_;
    const Windows windows_;
    PlayerProcess player_;
    PictureWatch watch_;
    MultiplexMonitor monitor_;
    StreamPump pump_;

    // Session's thread only.
    bool playerThere_ = false; // started, and its end not noticed yet
    std::uint32_t playersStarted_ = 0;
    Pid mappedAudio_ = kNullPid; // what the player mapped last
    double selectedAt_ = 0;
    std::uint64_t followed_ = 0; // revision of the tables
    std::string language_;       // of the audio that the user chose
    double stateAt_ = 0;         // when the state was looked at
    std::string state_;          // last logged
    bool scriptEnded_ = false;
    Outcome result_;

    std::mutex lock_; // guards what follows
    std::condition_variable wake_;
    std::deque<Action> wishes_;
    bool ending_ = false;
    std::optional<Selection> selection_;
    std::string last_;
    std::optional<Notice> notice_;
    std::string box_;     // text last logged
    std::string lastBox_; // of the player that runs or ran last
    Launch launch_;
    ReportFacts facts_;

    std::thread thread_; // last: it uses everything above
};

} // namespace vistrame
