#include "tests/filters/play/playing_graph.h"

#include <algorithm>

#include "filters/pictures/picture_types.h"
#include "tests/filters/decoders/stream_fixture.h"

namespace vistrame::test {

namespace {

constexpr DWORD kLength = 3000; // milliseconds of the stream
constexpr DWORD kChunk = 20;

} // namespace

bool InMultithreadedApartment() {
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    return CoGetApartmentType(&type, &qualifier) == S_OK && type == APTTYPE_MTA &&
           qualifier == APTTYPEQUALIFIER_NONE;
}

void CountingSink::Look(ByteSpan /*data*/, Sample& sample) {
    timed += sample.time ? 1 : 0;
    outside += InMultithreadedApartment() ? 0 : 1;
    if (firstWidth == 0) {
        const auto picture = ReadPictureType(Input().Type());
        firstWidth = picture ? picture->width : 0;
    }
}

Broadcast::Broadcast() : stream_(ReadTransportStream("mpeg2_576i.ts")) {}

void Broadcast::Send(FeedData& feed, DWORD milliseconds) {
    const std::size_t chunk = stream_.size() * kChunk / kLength;
    const DWORD begin = GetTickCount();
    for (DWORD sent = 0; sent < milliseconds; sent += kChunk) {
        const std::size_t bytes = std::min(chunk, stream_.size() - at_);
        (void)feed.DeliverData(stream_.data() + at_, static_cast<ULONG>(bytes));
        at_ += bytes;
        if (at_ == stream_.size()) {
            at_ = 0;
            (void)feed.SendDiscontinuity();
        }
        while (GetTickCount() - begin < sent) {
            Sleep(1);
        }
    }
}

PlayingGraph::PlayingGraph() {
    pictures->check = [](const MediaType& type) {
        return ReadPictureType(type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    };
    EXPECT_EQ(graph.Connect(PinOf(feed, L"TS Out").Get(), PinOf(demux, L"TS In").Get()), S_OK);
    EXPECT_EQ(graph.Connect(PinOf(demux, L"Video Out").Get(), &video->Input()), S_OK);
    EXPECT_EQ(graph.Connect(PinOf(demux, L"Audio Out").Get(), &audio->Input()), S_OK);
    EXPECT_EQ(graph.Connect(&video->Output(), &pictures->Input()), S_OK);
    EXPECT_EQ(graph.Connect(&audio->Output(), &sound->Input()), S_OK);
    EXPECT_EQ(demux->SetPids(kBroadcastVideo, kBroadcastAudio, kBroadcastVideo), S_OK);
}

ComPtr<IPin> PlayingGraph::AddVmr9() {
    EXPECT_HRESULT_SUCCEEDED(graph.graph->Disconnect(&video->Output()));
    EXPECT_HRESULT_SUCCEEDED(graph.graph->Disconnect(&pictures->Input()));
    ComPtr<IBaseFilter> renderer;
    EXPECT_HRESULT_SUCCEEDED(CoCreateInstance(CLSID_VideoMixingRenderer9, nullptr, CLSCTX_INPROC_SERVER,
                                              IID_PPV_ARGS(renderer.GetAddressOf())));
    return PinOf(graph.Add(renderer, L"VMR9"), L"VMR Input0");
}

} // namespace vistrame::test
