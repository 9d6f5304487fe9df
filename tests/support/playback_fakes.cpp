#include "tests/support/playback_fakes.h"

#include <bdaiface.h>

#include <gtest/gtest.h>

#include "player/graph/audio_volume.h"
#include "player/graph/com.h"
#include "player/graph/player_graph.h"

namespace vistrame::test {

void OfferControl(FakeObject& graph) {
    graph.Offer<IMediaControl>().Records<&IMediaControl::Run, &IMediaControl::Pause, &IMediaControl::Stop>();
}

void OfferFeedData(FakeObject& feed) {
    feed.Offer<FeedData>().Records<&FeedData::SendDiscontinuity, &FeedData::SetPids2>();
}

void OfferPidMap(FakeObject& pin) {
    pin.Offer<IMPEG2PIDMap>()
        .On<&IMPEG2PIDMap::MapPID>([&pin](ULONG count, ULONG* pids, MEDIA_SAMPLE_CONTENT content) {
            EXPECT_TRUE(count == 1 && content == MEDIA_ELEMENTARY_STREAM);
            return pin.Record("MapPID", *pids);
        })
        .On<&IMPEG2PIDMap::UnmapPID>([&pin](ULONG count, ULONG* pids) {
            EXPECT_EQ(count, 1U);
            return pin.Record("UnmapPID", *pids);
        });
}

void OfferKorvixDemux(FakeObject& demux, const std::array<ULONG, 2>& stallCounts) {
    demux.Offer<KorvixDemux>()
        .Records<&KorvixDemux::SetAudioType, &KorvixDemux::SetVideoType, &KorvixDemux::SetPids,
                 &KorvixDemux::AttachOsd>()
        .On<&KorvixDemux::GetStallCount>([&](ULONG stream, ULONG* count) {
            *count = stallCounts.at(stream);
            return demux.Record("GetStallCount", stream);
        });
}

FakeMixer::FakeMixer(Journal& journal) : FakeObject(journal, "mixer") {
    Offer<IVMRMixerBitmap9>()
        .On<&IVMRMixerBitmap9::SetAlphaBitmap>([this](const VMR9AlphaBitmap* bitmap) {
            last = bitmap;
            return Record("SetAlphaBitmap");
        })
        .On<&IVMRMixerBitmap9::GetAlphaBitmapParameters>(
            [this](VMR9AlphaBitmap*) { return Record("GetAlphaBitmapParameters"); });
    result = E_FAIL;
}

FakeVolume::FakeVolume(Journal& journal) : FakeObject(journal, "volume") {
    Offer<IBasicAudio>().On<&IBasicAudio::put_Volume>([this, &journal](long level) {
        journal.Add(std::to_string(level));
        if (onLevel) {
            onLevel(level);
        }
        return E_FAIL;
    });
}

void FakeVolume::Use() {
    ++references;
    SetAudioVolume(As<IBasicAudio>());
}

PlaybackFakes::PlaybackFakes() {
    OfferControl(control);
    OfferPidMap(video);
    OfferPidMap(audio);
    OfferFeedData(feed);
    OfferKorvixDemux(demux, stallCounts);
    for (FakeObject* const object : {&control, &video, &audio, &feed, &demux}) {
        object->result = E_FAIL;
    }
}

void PlaybackFakes::Fill() {
    PlayerGraph& graph = ThePlayerGraph();
    graph.control = control.As<IMediaControl>();
    graph.videoPidMap = video.As<IMPEG2PIDMap>();
    graph.audioPidMap = audio.As<IMPEG2PIDMap>();
    graph.mixerBitmap = mixer.As<IVMRMixerBitmap9>();
    ++feed.references;
    graph.feedData = feed.As<FeedData>();
    graph.built = 1;
}

} // namespace vistrame::test
