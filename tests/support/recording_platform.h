// DirectShow as the player meets it on a machine, every class recording: filter graph, filter mapper, feed filter,
// both demultiplexers, renderers, OSD source and whatever decoders a test installs, behind the real class
// identifiers.
//
// What is created and called stands in `record` as readable lines, in order. Ends with the test's last reference:
// let go of everything before the platform goes.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <windows.h>
#include <dshow.h>

#include "tests/support/com_fake.h"

namespace vistrame::test {

class FakeFilter;

struct PinPlan {
    std::string name;
    PIN_DIRECTION direction;
};

// A filter the mapper knows. Without an identifier it is a broken registration.
struct MapperEntry {
    std::optional<CLSID> id;
    std::wstring friendlyName;
};

class RecordingPlatform {
public:
    RecordingPlatform();
    RecordingPlatform(const RecordingPlatform&) = delete;
    RecordingPlatform& operator=(const RecordingPlatform&) = delete;
    ~RecordingPlatform();

    // Decoders have several pins of each direction, so that every way of choosing one chooses another.
    void InstallAudioDecoder(REFCLSID id, const std::string& name);
    void InstallVideoDecoder(REFCLSID id, const std::string& name);

    CallRecord record;

    // Set before the build, all by the names that stand in the lines.
    std::set<std::string> broken;                             // classes that cannot be created
    std::vector<std::pair<std::string, IID>> withheld;        // interfaces that an object does not offer
    std::set<std::string> missingPins;                        // "filter/pin"
    std::map<std::string, std::vector<MapperEntry>> mappings; // what the mapper finds, by "video" and "audio"
    long volume = 0;                                          // of the sound renderer
    HRESULT removeResult = S_OK;                              // of the graph's RemoveFilter
    std::array<ULONG, 2> stallCounts{};                       // of the maker's demultiplexer

    // "name count" of everything still referenced, in order of creation.
    [[nodiscard]] std::vector<std::string> References() const;

    // The last object made under a name; a failure when there is none.
    FakeObject& Find(const std::string& name);

    // An object of no class, made by the other fakes.
    FakeObject& AddObject(const std::string& name);

private:
    void InstallFilter(REFCLSID id, const std::string& name, std::vector<PinPlan> pins,
                       void (*furnish)(RecordingPlatform&, FakeFilter&) = nullptr);
    void InstallObject(REFCLSID id, const std::string& name,
                       void (*furnish)(RecordingPlatform&, FakeObject&));
    void InstallClass(REFCLSID id, const std::string& name, std::function<FakeObject&()> make);
    FakeObject& Adopt(std::unique_ptr<FakeObject> object);

    std::vector<std::unique_ptr<FakeObject>> objects_;
    std::vector<std::unique_ptr<ClassOverride>> classes_;
};

// "video/H264 MPEG2VIDEOINFO 136", "no type" for null.
std::string Describe(const AM_MEDIA_TYPE* type);

} // namespace vistrame::test
