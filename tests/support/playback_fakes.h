// What the objects of a playback graph can do, recorded; and a set of them for tests of those who use a built
// graph.
#pragma once

#include <array>
#include <atomic>
#include <functional>

#include <windows.h>
#include <dshow.h>
#include <d3d9.h>
#include <vmr9.h>

#include "tests/support/com_fake.h"

namespace vistrame::test {

void OfferControl(FakeObject& graph);
void OfferFeedData(FakeObject& feed); // but for DeliverData
void OfferPidMap(FakeObject& pin);
void OfferKorvixDemux(FakeObject& demux, const std::array<ULONG, 2>& stallCounts);

class FakeMixer : public FakeObject {
public:
    explicit FakeMixer(Journal& journal);

    const VMR9AlphaBitmap* last = nullptr; // the last one to be mixed
};

// Records levels as "-6000".
class FakeVolume : public FakeObject {
public:
    explicit FakeVolume(Journal& journal);
    void Use(); // as a build does, with one reference

    std::function<void(long level)> onLevel; // on the fade-in thread
};

// What ThePlayerGraph holds of a built graph. Every call fails, because nobody may rely on success.
struct PlaybackFakes {
    PlaybackFakes();

    void Fill(); // ThePlayerGraph with all but the maker's demultiplexer

    Journal journal;
    Journal levels; // the volume's: they come from other threads
    FakeObject control{journal, "control"};
    FakeObject video{journal, "video"};
    FakeObject audio{journal, "audio"};
    FakeObject feed{journal, "feed"};
    FakeMixer mixer{journal};
    FakeObject demux{journal, "demux"};
    FakeVolume volume{levels};
    std::array<ULONG, 2> stallCounts{};
};

} // namespace vistrame::test
