#include "filters/osd_source/osd_source.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 360;

// Pixels of one delivered picture.
struct Counts {
    int transparent = 0;
    int text = 0;     // near white
    int lastRow = -1; // with text, from the top

    explicit Counts(const SinkFilter::Sample& sample, int width = kWidth, int height = kHeight,
                    int padding = 0, bool topDown = false) {
        const int stride = width + padding;
        EXPECT_EQ(sample.data.size(), static_cast<std::size_t>(stride) * height * 4);
        EXPECT_FALSE(sample.time.has_value());
        for (std::size_t at = 0; at + 4 <= sample.data.size(); at += 4) {
            if (static_cast<int>(at / 4) % stride >= width) {
                continue; // whatever stands there
            }
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, sample.data.data() + at, sizeof pixel);
            transparent += pixel == 0 ? 1 : 0;
            if ((pixel & 0xFF) > 0xC0) {
                ++text;
                const int row = static_cast<int>(at / 4) / stride;
                lastRow = std::max(lastRow, topDown ? row : height - 1 - row);
            }
        }
    }
};

struct OsdFixture {
    TestGraph graph;
    OsdSource* osd = graph.Add(MakeObject<OsdSource>(), L"OSD Generator");
    SinkFilter* sink = graph.Add(MakeObject<SinkFilter>(), L"sink");

    OsdFixture() {
        EXPECT_EQ(osd->SetText("other Demux\r\n"), S_OK);
        EXPECT_EQ(osd->SetSize(kWidth, kHeight, 1), S_OK);
    }
    void Start() {
        EXPECT_EQ(graph.Connect(PinOf(osd, L"1").Get(), &sink->Input()), S_OK);
        graph.Run();
    }
    SinkFilter::Sample Picture(std::size_t number) {
        EXPECT_TRUE(sink->Await(number + 1)) << "picture " << number;
        const auto samples = sink->Samples();
        return samples.size() > number ? samples[number] : SinkFilter::Sample{};
    }
};

} // namespace

TEST(OsdSource, ShowsItsTextAtOnceAndAgainWhenItChanges) {
    OsdFixture display;
    display.Start();
    EXPECT_EQ(display.sink->Input().Type()->subtype, MEDIASUBTYPE_ARGB32);
    const SinkFilter::Sample first = display.Picture(0);
    const Counts one(first);
    EXPECT_GT(one.text, 100);
    EXPECT_GT(one.transparent, kWidth * kHeight / 2);
    EXPECT_LT(one.lastRow, kHeight / 4) << "right side up, in the upper corner";

    EXPECT_EQ(display.osd->SetText("other Demux\r\n"), S_OK) << "the same again is no change";
    Sleep(OsdSource::kRepeat / 2);
    EXPECT_EQ(display.sink->Count(), 1u);

    EXPECT_EQ(display.osd->SetText("video PID 100\r\naudio PID 101\r\nno data\r\n"), S_OK);
    const SinkFilter::Sample second = display.Picture(1);
    EXPECT_LT(second.tick - first.tick, OsdSource::kRepeat) << "not with the next repetition";
    const Counts three(second);
    EXPECT_GT(three.lastRow, 3 * one.lastRow / 2) << "three lines";

    const SinkFilter::Sample third = display.Picture(2);
    EXPECT_NEAR(third.tick - second.tick, OsdSource::kRepeat, OsdSource::kRepeat / 2.0);
    EXPECT_TRUE(third.data == second.data) << "repeated as it was";
}

TEST(OsdSource, SizeAndVisibilityMayChange) {
    OsdFixture display;
    display.Start();
    (void)display.Picture(0);
    EXPECT_EQ(display.osd->SetSize(320, 180, 1), S_OK);
    EXPECT_GT(Counts(display.Picture(1), 320, 180).text, 20) << "the sink took the other size in mid-stream";
    EXPECT_EQ(display.osd->SetSize(320, 180, 0), S_OK);
    EXPECT_EQ(Counts(display.Picture(2), 320, 180).transparent, 320 * 180) << "hidden";
    EXPECT_EQ(display.osd->SetSize(0, 180, 1), E_INVALIDARG);
}

// As renderers with surfaces do: longer lines that run downwards, and a picture kept until the next.
TEST(OsdSource, KeepsToTheLayoutThatTheBuffersCarry) {
    constexpr int kPadding = 48;
    OsdFixture display;
    display.sink->holds = true;
    display.sink->layOut = [](VIDEOINFOHEADER2& format) {
        const bool change = format.bmiHeader.biHeight > 0;
        format.bmiHeader.biWidth += change ? kPadding : 0;
        format.bmiHeader.biHeight = -std::abs(format.bmiHeader.biHeight);
        return change;
    };
    display.Start();
    const Counts first(display.Picture(0), kWidth, kHeight, kPadding, true);
    EXPECT_GT(first.text, 100);
    EXPECT_LT(first.lastRow, kHeight / 4) << "right side up, in the upper corner";
    EXPECT_EQ(display.osd->SetText("next"), S_OK);
    EXPECT_GT(Counts(display.Picture(1), kWidth, kHeight, kPadding, true).text, 20)
        << "there is a buffer while the renderer keeps one";
    EXPECT_EQ(display.osd->SetSize(320, 180, 1), S_OK);
    EXPECT_GT(Counts(display.Picture(2), 320, 180, kPadding, true).text, 10) << "it gave its picture back";
}

TEST(OsdSource, StopsWhileTheRendererHoldsAPictureAndStartsAgain) {
    OsdFixture display;
    display.sink->check = [](const MediaType& type) { // a renderer without alpha gets plain pictures
        return type->subtype == MEDIASUBTYPE_RGB32 ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    };
    display.sink->Block(true);
    display.Start();
    ASSERT_TRUE(display.sink->AwaitReceive());
    EXPECT_EQ(display.osd->SetText("while blocked"), S_OK) << "nobody who sets a text waits";
    display.graph.Stop();
    display.sink->Block(false);
    const std::size_t before = display.sink->Count();
    display.graph.Run();
    EXPECT_GT(Counts(display.Picture(before)).text, 100);
}

} // namespace vistrame::test
