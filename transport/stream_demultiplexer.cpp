#include "transport/stream_demultiplexer.h"

#include <cassert>
#include <deque>
#include <functional>
#include <utility>

#include "transport/demultiplexer_core.h"

namespace vistrame {

// Stands between the core and the owner's handler, so that what the handler asks for is carried out after it returns.
class StreamDemultiplexer::Deferring final : public StreamHandler {
public:
    explicit Deferring(StreamHandler& owner) : core(*this), owner_(owner) {}

    void Change(std::function<void()> change) {
        changes_.push_back(std::move(change));
        if (!inHandler) {
            CarryOut();
        }
    }

    void OnUnit(const StreamUnit& unit) override {
        Call([&] { owner_.OnUnit(unit); });
    }
    void OnClock(const ClockReference& clock) override {
        Call([&] { owner_.OnClock(clock); });
    }
    void OnProgrammes() override {
        Call([&] { owner_.OnProgrammes(); });
    }

    DemultiplexerCore core;
    bool inHandler = false;

private:
    // A mark that is up for as long as this lives: a handler may throw.
    class Raised {
    public:
        explicit Raised(bool& mark) : mark_(mark) { mark_ = true; }
        Raised(const Raised&) = delete;
        Raised& operator=(const Raised&) = delete;
        ~Raised() { mark_ = false; }

    private:
        bool& mark_;
    };

    template <typename Handler>
    void Call(Handler handler) {
        {
            const Raised raised(inHandler);
            handler();
        }
        CarryOut();
    }

    // A change may call the handler, whose own changes then queue up behind it.
    void CarryOut() {
        if (carryingOut_) {
            return;
        }
        const Raised raised(carryingOut_);
        while (!changes_.empty()) {
            const auto change = std::move(changes_.front());
            changes_.pop_front();
            change();
        }
    }

    StreamHandler& owner_;
    std::deque<std::function<void()>> changes_;
    bool carryingOut_ = false;
};

StreamDemultiplexer::StreamDemultiplexer(StreamHandler& handler)
    : deferring_(std::make_unique<Deferring>(handler)) {}
StreamDemultiplexer::~StreamDemultiplexer() = default;

void StreamDemultiplexer::Feed(ByteSpan chunk) {
    assert(!deferring_->inHandler);
    deferring_->core.Feed(chunk);
}

void StreamDemultiplexer::Flush() {
    deferring_->Change([this] { deferring_->core.Flush(); });
}

void StreamDemultiplexer::Reset() {
    deferring_->Change([this] { deferring_->core.Reset(); });
}

void StreamDemultiplexer::AnnounceDiscontinuity() {
    deferring_->Change([this] { deferring_->core.AnnounceDiscontinuity(); });
}

void StreamDemultiplexer::AddStream(Pid pid, StreamKind kind, Coding assumed) {
    deferring_->Change([=, this] { deferring_->core.AddStream(pid, kind, assumed); });
}

void StreamDemultiplexer::RemoveStream(Pid pid) {
    deferring_->Change([=, this] { deferring_->core.RemoveStream(pid); });
}

void StreamDemultiplexer::RemoveAllStreams() {
    deferring_->Change([this] { deferring_->core.RemoveAllStreams(); });
}

void StreamDemultiplexer::SetClockPid(std::optional<Pid> pid) {
    deferring_->Change([=, this] { deferring_->core.SetClockPid(pid); });
}

void StreamDemultiplexer::EarlyUnits(bool on) {
    deferring_->Change([=, this] { deferring_->core.EarlyUnits(on); });
}

bool StreamDemultiplexer::Selected(Pid pid) const {
    return deferring_->core.Find(pid) != nullptr;
}

std::vector<Pid> StreamDemultiplexer::SelectedPids() const {
    std::vector<Pid> pids;
    for (const auto& stream : deferring_->core.Streams()) {
        pids.push_back(stream->packets.PacketId());
    }
    return pids;
}

StreamCounters StreamDemultiplexer::Counters(Pid pid) const {
    DemultiplexerCore::Stream* stream = deferring_->core.Find(pid);
    return stream != nullptr ? stream->packets.Counters() : StreamCounters{};
}

Pid StreamDemultiplexer::ClockPid() const {
    return deferring_->core.ClockPid();
}

const ProgrammeTable& StreamDemultiplexer::Programmes() const {
    return deferring_->core.Programmes();
}

std::uint64_t StreamDemultiplexer::Packets() const {
    return deferring_->core.Packets();
}

std::uint64_t StreamDemultiplexer::DroppedBytes() const {
    return deferring_->core.DroppedBytes();
}

} // namespace vistrame
