// What the objects of a RecordingPlatform can do: each function equips one with its recording interfaces.
#pragma once

#include "tests/support/recording_platform.h"

namespace vistrame::test {

// A filter: its identity and its pins, which are objects of their own named "filter/pin".
class FakeFilter final : public FakeObject {
public:
    using FakeObject::FakeObject;
    struct Pin {
        std::string name;
        FakeObject* object;
    };
    std::vector<Pin> pins;
};

void FurnishFilter(RecordingPlatform& platform, FakeFilter& filter); // pins; the first for every filter
void FurnishPin(FakeObject& pin, PIN_DIRECTION direction);
void FurnishGraph(RecordingPlatform& platform, FakeObject& graph);
void FurnishMapper(RecordingPlatform& platform, FakeObject& mapper);

void FurnishFeed(RecordingPlatform& platform, FakeFilter& filter);
void FurnishDemux(RecordingPlatform& platform, FakeFilter& filter);
void FurnishKorvixDemux(RecordingPlatform& platform, FakeFilter& filter);
void FurnishOsdSource(RecordingPlatform& platform, FakeFilter& filter);
void FurnishVideoDecoder(RecordingPlatform& platform, FakeFilter& filter);
void FurnishSound(RecordingPlatform& platform, FakeFilter& filter);
void FurnishVmr9(RecordingPlatform& platform, FakeFilter& filter);

// For the records: an object's name, a text in ASCII.
std::string NameOf(IUnknown* object);
std::string Narrow(const wchar_t* text);
// Puts a counted reference to the object's identity where `out` points.
void Hand(FakeObject* object, void* out);

} // namespace vistrame::test
