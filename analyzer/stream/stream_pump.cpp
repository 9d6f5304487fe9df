#include "analyzer/stream/stream_pump.h"

#include <utility>

namespace vistrame {

namespace {

// Packets that come due in one round go out together, at 8 Mbit/s some 100 of them: a receiver's driver hands
// on no smaller blocks. At 4 ms player and stand-in took 0.05 s/s more, Wine's server as much.
constexpr auto kRound = std::chrono::milliseconds(20);
// Between the last bytes before a seam and its announcement, so that the player's reader has taken them.
constexpr auto kBeforeSeam = std::chrono::milliseconds(10);

// 27 MHz, of a clock that never runs back.
std::int64_t Ticks() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() / 1000 * 27;
}

} // namespace

StreamPump::StreamPump(const StreamFile& file, Manner manner, Watchers watchers)
    : manner_(manner),
      watchers_(std::move(watchers)),
      origin_(Ticks()),
      live_(file.Live()),
      stream_(file, manner.loop),
      faults_(manner.seed),
      thread_([this] { Run(); }) {}

std::int64_t StreamPump::StreamTime() const {
    const std::int64_t passed = Ticks() - origin_;
    return passed + passed / 1'000'000 * manner_.clockPpm;
}

StreamPump::~StreamPump() {
    stop_ = true;
    pipe_.Cancel();
    thread_.join();
}

bool StreamPump::OpenPipe(std::uint32_t pipeId) {
    pipe_.Cancel();
    const std::scoped_lock hold(pipeLock_);
    return pipe_.Create(pipeId);
}

void StreamPump::ClosePipe() {
    pipe_.Cancel();
    const std::scoped_lock hold(pipeLock_);
    pipe_.Close();
}

void StreamPump::SetLoop(bool loop) {
    const std::scoped_lock hold(lock_);
    stream_.SetLoop(loop);
}

void StreamPump::Stall() {
    const std::scoped_lock hold(lock_);
    stream_.Stall();
}

void StreamPump::Resume(ResumeAction kind) {
    const std::scoped_lock hold(lock_);
    stream_.Resume(kind, StreamTime());
}

bool StreamPump::Seek(double seconds, bool announced) {
    const std::scoped_lock hold(lock_);
    if (live_ != nullptr) {
        return false; // what was sent is gone
    }
    announce_ = announced;
    broken_ = true;
    return stream_.Seek(seconds);
}

void StreamPump::SetLoss(double share) {
    const std::scoped_lock hold(lock_);
    faults_.SetLoss(share);
}

void StreamPump::SetDamage(double share) {
    const std::scoped_lock hold(lock_);
    faults_.SetDamage(share);
}

void StreamPump::SetSpoiling(Spoiling spoiling) {
    const std::scoped_lock hold(lock_);
    faults_.SetSpoiling(spoiling);
}

void StreamPump::WatchRandomAccess(Pid pid) {
    const std::scoped_lock hold(lock_);
    watchedPid_ = pid;
    randomAccess_.clear();
}

std::vector<double> StreamPump::RandomAccessTimes() {
    const std::scoped_lock hold(lock_);
    return randomAccess_;
}

StreamPump::Counts StreamPump::Count() {
    const std::scoped_lock hold(lock_);
    return {.sent = sent_,
            .lost = faults_.Lost(),
            .damaged = faults_.Damaged(),
            .seams = seams_,
            .lateMsec = static_cast<double>(stream_.LatestEver()) * 1000 / kPcrPerSecond};
}

double StreamPump::FileSeconds() {
    const std::scoped_lock hold(lock_);
    return stream_.FileSeconds();
}

std::optional<std::uint64_t> StreamPump::Pcr() {
    const std::scoped_lock hold(lock_);
    return stream_.Pcr();
}

void StreamPump::NoteRandomAccess(std::span<const std::uint8_t> packets) {
    for (; packets.size() >= kPacketSize; packets = packets.subspan(kPacketSize)) {
        const PacketView packet(packets.first<kPacketSize>());
        if (packet.PacketId() == watchedPid_ && packet.RandomAccessIndicator()) {
            randomAccess_.push_back(EventLog::Now());
        }
    }
}

// One round: what is due goes out. True: more of it is wanted at once.
bool StreamPump::Pump() {
    PacedStream::Portion portion;
    bool announce = false;
    bool hurries = false;
    bool broken = false;
    {
        const std::scoped_lock hold(lock_);
        announce = std::exchange(announce_, false);
        broken = std::exchange(broken_, false);
        if (!announce) { // otherwise the new place's packets wait for their announcement
            if (live_ != nullptr) {
                portion.packets = live_->Take();
                portion.sync = live_->TakeErrors();
            } else {
                portion = stream_.Due(StreamTime());
            }
            faults_.Apply(portion.packets);
            NoteRandomAccess(portion.packets);
            announce = portion.seam;
            seams_ += portion.seam ? 1 : 0;
        }
        hurries = stream_.Hurries();
    }
    if (broken) {
        watchers_.broken();
    }
    if (!portion.packets.empty() || portion.sync.bytes > 0) {
        watchers_.sent(portion.packets, portion.sync);
    }
    if (portion.seam) {
        watchers_.broken();
    }
    const std::size_t count = portion.packets.size() / kPacketSize;
    {
        const std::scoped_lock hold(lock_);
        faults_.Spoil(portion.packets); // for the player alone: who watches has seen what it was
    }
    if (Write(portion.packets)) {
        const std::scoped_lock hold(lock_);
        sent_ += count;
    }
    if (announce) {
        std::this_thread::sleep_for(kBeforeSeam);
        watchers_.announceSeam();
    }
    return hurries || announce;
}

bool StreamPump::Write(std::span<const std::uint8_t> packets) {
    const std::scoped_lock hold(pipeLock_);
    return pipe_.Connected() && pipe_.Write(packets);
}

void StreamPump::Run() {
    // The pace only gets less even when this is refused.
    (void)SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL);
    bool begun = !manner_.waitsForPlayer || live_ != nullptr;
    while (!stop_) {
        begun = begun || Write({});
        if (!begun || !Pump()) {
            std::this_thread::sleep_for(kRound);
        }
    }
}

} // namespace vistrame
