#include "player/graph/demultiplexer.h"

#include <string>

#include "player/app/launch_fields.h"
#include "player/app/settings.h"
#include "player/graph/com.h"
#include "player/graph/pins.h"

namespace vistrame {
namespace {

// Its output pins are made on request, and PIDs are mapped to them.
class PlatformDemultiplexer final : public Demultiplexer {
public:
    PlatformDemultiplexer(PlayerGraph& player, std::uint32_t mpeg2Codec)
        : Demultiplexer(player, CLSID_MPEG2Demultiplexer), mpeg2Codec_(mpeg2Codec) {}

    bool TakeControl() override {
        Player().demuxControl = Query<IMpeg2Demultiplexer>(AsFilter());
        return Player().demuxControl != nullptr;
    }

    [[nodiscard]] Pin Input() const override { return FindPin(AsFilter(), L"MPEG-2 Stream"); }

    VideoOutput OpenVideo() override {
        Pin pin = CreateOutputPin(L"Video Out", PlatformVideoType(VideoType));
        Player().videoPidMap = Query<IMPEG2PIDMap>(pin);
        return {std::move(pin), std::nullopt};
    }

    void MakeAudioOutput() override {
        Player().audioOutPin = CreateOutputPin(L"Audio Out", PlatformAudioType(AudioType, mpeg2Codec_));
        Player().audioPidMap = Query<IMPEG2PIDMap>(Player().audioOutPin);
    }

private:
    [[nodiscard]] Pin CreateOutputPin(std::wstring name, FixedMediaType type) const {
        Pin pin;
        (void)Player().demuxControl->CreateOutputPin(type.Get(), name.data(), pin.GetAddressOf());
        return pin;
    }

    std::uint32_t mpeg2Codec_;
};

// Its pins are always there; codings and PIDs are set on it.
class KorvixDemultiplexer final : public Demultiplexer {
public:
    explicit KorvixDemultiplexer(PlayerGraph& player) : Demultiplexer(player, CLSID_KorvixDemux) {}

    // Without its interface the filter does what it does by default.
    void Prepare() override {
        Player().korvixDemux = Query<KorvixDemux>(AsFilter()); // lets go of the one an earlier graph left
        if (Player().korvixDemux) {
            (void)Player().korvixDemux->SetAudioType(static_cast<ULONG>(AudioType));
            (void)Player().korvixDemux->SetVideoType(static_cast<ULONG>(VideoType));
        }
    }

    bool TakeControl() override { return true; }

    [[nodiscard]] Pin Input() const override { return FindPin(AsFilter(), L"TS In"); }

    VideoOutput OpenVideo() override {
        return {FindPin(AsFilter(), L"Video Out"), KorvixVideoType(VideoType)};
    }

    void FindAudioOutput() override { Player().audioOutPin = FindPin(AsFilter(), L"Audio Out"); }
};

} // namespace

bool Demultiplexer::Create() {
    filter_ = vistrame::Create<IBaseFilter>(classId_);
    return filter_ != nullptr;
}

std::unique_ptr<Demultiplexer> ChooseDemultiplexer(PlayerGraph& player, std::uint32_t mpeg2Codec) {
    if (KorvixCodec != 0) {
        return std::make_unique<KorvixDemultiplexer>(player);
    }
    return std::make_unique<PlatformDemultiplexer>(player, mpeg2Codec);
}

} // namespace vistrame
