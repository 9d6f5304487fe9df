#include "filters/demux/stream_pin.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "filters/base/guarded.h"
#include "filters/demux/demux_filter.h"
#include "filters/demux/pin_types.h"
#include "filters/kept/last_picture.h"
#include "filters/kept/still_sink.h"
#include "transport/access_unit.h"

namespace vistrame {

namespace {

std::optional<std::int64_t> TimelineReference(const std::optional<TimeStamp>& stamp) {
    return stamp ? std::optional(ReferenceFromTicks(stamp->timeline)) : std::nullopt;
}

} // namespace

StreamPin::StreamPin(DemuxFilter& owner, std::wstring name)
    : OutputPin(owner, std::move(name)), owner_(owner) {}

void StreamPin::OfferTypes(std::vector<MediaType> types) {
    coding_ = types.empty() ? Coding::kOther : CodingOfPin(types.front());
    const std::lock_guard lock(typesLock_);
    types_ = std::move(types);
}

std::vector<MediaType> StreamPin::OfferedTypes() {
    const std::lock_guard lock(typesLock_);
    return types_;
}

HRESULT StreamPin::CheckMediaType(const MediaType& type) {
    const std::vector<MediaType> offered = OfferedTypes();
    if (std::ranges::find(offered, type) != offered.end()) {
        return S_OK;
    }
    const Coding coding = CodingOfPin(type);
    const bool same = coding != Coding::kOther && !offered.empty() && coding == CodingOfPin(offered.front());
    return same ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

void StreamPin::TypeAgreed(const MediaType& type) {
    if (const Coding coding = CodingOfPin(type); coding != Coding::kOther) {
        coding_ = coding;
    }
}

HRESULT StreamPin::CheckPeer(IPin* peer) {
    const ComPtr<IBaseFilter> filter = FilterOf(*peer);
    ComPtr<IUnknown> soundControl;
    return filter == nullptr || FAILED(filter->QueryInterface(
                                    IID_IBasicAudio, reinterpret_cast<void**>(soundControl.GetAddressOf())))
               ? S_OK
               : VFW_E_CANNOT_CONNECT;
}

ALLOCATOR_PROPERTIES StreamPin::NeededBuffers() {
    // Whole pictures nearly always, whole PES packets of sound always; what is larger is split.
    const bool video = IsVideo(coding_);
    return {.cBuffers = video ? 4 : 8, .cbBuffer = video ? 1L << 20 : 1L << 16, .cbAlign = 1, .cbPrefix = 0};
}

HRESULT StreamPin::Activate() {
    const HRESULT result = OutputPin::Activate();
    if (FAILED(result) || !IsConnected()) {
        return result;
    }
    showAtOnce_ = true;
    dropped_ = 0;
    broken_ = true;
    queue_.Open();
    worker_.Start([this] { Work(); });
    return S_OK;
}

void StreamPin::Deactivate() {
    queue_.Close();
    owner_.Timing().WakeWaiting();
    OutputPin::Deactivate(); // frees the worker from waiting for a buffer
    const bool worked = worker_.IsStarted();
    worker_.Join();
    if (worked) {
        Trace(*this, ": dropped ", queue_.Dropped(), " units of a full queue or late, ", dropped_.load(),
              " outside it");
    }
}

void StreamPin::SetRunning(bool running) {
    showAtOnce_ = showAtOnce_ || running;
    queue_.Hold(!running);
}

void StreamPin::Restart() {
    showAtOnce_ = true;
    queue_.Clear(true);
    owner_.Timing().WakeWaiting();
}

void StreamPin::StartFlush() {
    queue_.Clear(true);
    owner_.Timing().WakeWaiting();
    (void)DeliverBeginFlush(); // frees the worker
}

void StreamPin::FinishFlush() {
    const std::lock_guard delivery(deliveryLock_);
    queue_.Clear(true);
    showAtOnce_ = true;
    (void)DeliverEndFlush();
}

void StreamPin::ShowKept(Pid pid) const {
    const ComPtr<IPin> peer = Peer();
    const ComPtr<IBaseFilter> decoder = IsVideo(coding_) && peer != nullptr ? FilterOf(*peer.Get()) : nullptr;
    ComPtr<StillSink> sink;
    if (decoder == nullptr || FAILED(decoder.As(&sink))) {
        return;
    }
    const auto last = FindLastPicture(KeptStreamOfProcess().Take(), pid, coding_);
    // Without it the screen stays as it is until the next such picture.
    const HRESULT shown = last ? sink->ShowStill(last->data.data(), static_cast<ULONG>(last->first),
                                                 static_cast<ULONG>(last->data.size()))
                               : S_FALSE;
    Trace(*this, ": kept picture of ", last ? last->data.size() : 0, " bytes, result ", HexOf(shown));
}

bool StreamPin::CanBeginWith(const StreamUnit& unit) const {
    if (unit.continued) {
        return false;
    }
    const Coding coding = coding_;
    if (!IsVideo(coding) || unit.kind == StreamKind::kPes) {
        return true;
    }
    // Before the programme's table is in, only this pin knows what the stream is.
    return IsVideo(unit.coding) ? unit.randomAccess : IsRandomAccessPoint(coding, unit.data);
}

void StreamPin::Push(const StreamUnit& unit) {
    const HRESULT pushed = Guarded([&] {
        QueuedUnit queued{};
        queued.pts = TimelineReference(unit.pts);
        queued.discontinuity = unit.discontinuity || lost_;
        queued.randomAccess = CanBeginWith(unit);
        queued.continued = unit.continued;
        if (unit.memory != nullptr) {
            queued.dataAt = unit.memory->size() - unit.data.size(); // behind a header, if anything
            queued.memory = std::exchange(*unit.memory, queue_.Spare());
        } else {
            queued.memory.assign(unit.data.begin(), unit.data.end());
        }
        queue_.Push(std::move(queued));
        return S_OK;
    });
    lost_ = FAILED(pushed);
    dropped_ += lost_ ? 1 : 0;
}

void StreamPin::PushEndOfStream() {
    QueuedUnit end{};
    end.randomAccess = true;
    end.endOfStream = true;
    queue_.Push(std::move(end));
}

void StreamPin::Work() {
    (void)DeliverNewSegment(0, std::numeric_limits<REFERENCE_TIME>::max(), 1.0);
    while (auto unit = queue_.Take()) {
        const HRESULT handled = Guarded([&] {
            Handle(*unit);
            return S_OK;
        });
        if (FAILED(handled)) {
            ++dropped_;
            broken_ = true;
        }
    }
}

void StreamPin::Handle(QueuedUnit& unit) {
    std::optional<REFERENCE_TIME> time;
    const Verdict verdict = unit.endOfStream ? Verdict::kDeliver : Schedule(unit, &time);
    const std::lock_guard delivery(deliveryLock_);
    if (!queue_.IsCurrent(unit)) {
        return;
    }
    if (verdict == Verdict::kDrop) {
        ++dropped_;
        broken_ = true;
    } else if (unit.endOfStream) {
        (void)DeliverEndOfStream();
    } else if (!unit.Data().empty()) {
        const bool refused = SendUnit(unit, time) != S_OK;
        if (refused && !broken_) {
            Trace(*this, ": refused downstream");
        }
        broken_ = refused;
    }
}

HRESULT StreamPin::SendUnit(QueuedUnit& unit, const std::optional<REFERENCE_TIME>& time) {
    const SampleAttributes attributes{
        .start = time, .syncPoint = unit.randomAccess, .discontinuity = unit.discontinuity || broken_};
    const ByteSpan data = unit.Data();
    const auto memory = std::make_shared<std::vector<std::uint8_t>>(std::move(unit.memory));
    const HRESULT result = SendWhole(memory, data, attributes);
    if (memory.use_count() == 1) { // nobody downstream reads it any more
        queue_.GiveBack(std::move(*memory));
    }
    return result;
}

StreamPin::Verdict StreamPin::Schedule(const QueuedUnit& unit, std::optional<REFERENCE_TIME>* time) {
    if (!unit.pts) {
        return Verdict::kDeliver;
    }
    const bool video = IsVideo(coding_);
    std::optional<REFERENCE_TIME> now = owner_.Now();
    if (video && showAtOnce_.exchange(false)) {
        *time = now;
        return Verdict::kDeliver;
    }
    const std::optional<REFERENCE_TIME> offset = owner_.Timing().AwaitOffset([&] {
        now = queue_.IsCurrent(unit) ? owner_.Now() : std::nullopt;
        return now;
    });
    if (!offset) {
        return Verdict::kDrop; // flushed, paused or stopped meanwhile
    }
    const REFERENCE_TIME due = *unit.pts + *offset;
    const REFERENCE_TIME late = *now - due;
    if (video && late > kLatePicture && queue_.SkipToRandomAccess(*now - *offset + LiveTiming::kLatency)) {
        Trace(*this, ": ", MillisecondsFromReference(late), " ms late, goes on at a random-access picture");
        return Verdict::kDrop;
    }
    if (!video && late > kLateSound) {
        if (!broken_) { // the first of them
            Trace(*this, ": sound ", MillisecondsFromReference(late), " ms late is dropped");
        }
        return Verdict::kDrop;
    }
    if (-late < kFarAhead) {
        *time = due;
    }
    return Verdict::kDeliver;
}

} // namespace vistrame
