#include "filters/overlay/overlay_mixer.h"

#include "filters/decoders/video_decoder_filter.h"
#include "tests/filters/decoders/picture_sink.h"
#include "tests/filters/decoders/stream_fixture.h"

namespace vistrame::test {

// The player renders the output while the input is still free; whichever comes first, the input's type is the
// renderer's. A change of size goes through to the renderer, or back to the decoder, which then scales.
TEST(OverlayMixer, ShowsTheDecodersPicturesWhateverTheOrderAndTheRenderer) {
    const std::vector<StreamPiece> pieces = ReadStream("mpeg2_288p.ts", true);
    for (const auto& [outputFirst, reconnects] :
         {std::pair(true, true), std::pair(true, false), std::pair(false, true)}) {
        SCOPED_TRACE(testing::Message() << outputFirst << reconnects);
        DecoderFixture<VideoDecoderFilter, PictureSinkFilter> fixture;
        auto& [graph, source, decoder, sink] = fixture;
        auto* mixer = graph.Add(MakeObject<OverlayMixer>(), L"mixer");
        sink->reconnects = reconnects;
        source->offered = {MediaType(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO)};
        const ComPtr<IPin> input = PinOf(mixer, L"Input0"), output = PinOf(mixer, L"Output");
        EXPECT_NE(graph.Connect(output.Get(), input.Get()), S_OK) << "never to itself";
        EXPECT_NE(graph.Connect(&source->Output(), input.Get()), S_OK) << "no pictures";
        EXPECT_EQ(graph.Connect(&source->Output(), &decoder->Input()), S_OK);
        for (const bool connectOutput : {outputFirst, !outputFirst}) {
            EXPECT_EQ(connectOutput ? graph.Connect(output.Get(), &sink->Input())
                                    : graph.Connect(&decoder->Output(), input.Get()),
                      S_OK);
        }
        EXPECT_TRUE(sink->Input().Type() == decoder->Output().Type());
        graph.Run();
        sink->AwaitWarmUp();
        for (std::size_t i = 0; i < 10; ++i) {
            ASSERT_EQ(source->Send(pieces[i].data, pieces[i].time), S_OK);
        }
        EXPECT_EQ(source->Output().DeliverEndOfStream(), S_OK);
        EXPECT_TRUE(static_cast<OutputPin*>(output.Get())->Type() == sink->Input().Type());
        ASSERT_GT(sink->Count(), 10u);
        for (const SeenPicture& seen : sink->Pictures()) {
            EXPECT_EQ(seen.width, reconnects ? 352 : PictureOutput::kConnectWidth);
            EXPECT_EQ(seen.aspect, (Aspect{4, 3}));
            EXPECT_TRUE(seen.columns);
        }
    }
}

} // namespace vistrame::test
