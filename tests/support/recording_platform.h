// DirectShow as the player meets it on a machine, every class recording: filter graph, filter mapper, feed
// filter, both demultiplexers, renderers, OSD source and whatever decoders a test installs, behind the real
// class identifiers.
//
// Ends with the test's last reference: let go of everything before the platform goes.
#pragma once

#include <array>
#include <functional>
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

// A filter the mapper knows. Without an identifier it is a broken registration.
struct MapperEntry {
    std::optional<CLSID> id;
    std::wstring friendlyName;
};

class RecordingPlatform {
public:
    RecordingPlatform();
    ~RecordingPlatform();

    // Decoders have several pins of each direction, so that every way of choosing one chooses another.
    void InstallAudioDecoder(REFCLSID id);
    void InstallVideoDecoder(REFCLSID id);

    Journal journal; // what is created and called

    // Set before the build, all by the names that stand in the lines.
    std::set<std::string> broken;                             // classes that cannot be created
    std::vector<std::pair<std::string, IID>> withheld;        // interfaces that an object does not offer
    std::set<std::string> missingPins;                        // "filter/pin"
    std::map<std::string, std::vector<MapperEntry>> mappings; // what the mapper finds, by "video" and "audio"
    long volume = 0;                                          // of the sound renderer
    std::function<void(const std::string& line)> during;      // inside each call of what is made from now on

    // "name count" of everything still referenced, in order of creation.
    [[nodiscard]] Lines References() const;

    // The last object made under a name, which there must be.
    FakeObject& Find(const std::string& name);

private:
    // What enumerators show; each change makes those there are invalid.
    struct ItemList {
        std::vector<FakeObject*> items;
        unsigned version = 0;
    };
    using Furnish = std::function<void(FakeObject&)>;
    void Install(REFCLSID id, const std::string& name, const Furnish& furnish);
    // `plan` names the pins, inputs with "<", outputs with ">".
    void InstallFilter(REFCLSID id, const std::string& name, const Lines& plan, const Furnish& furnish = {});
    HRESULT Create(const std::string& name, const Furnish& furnish, REFIID iid, void** out);
    FakeObject& AddObject(const std::string& name);
    FakeObject& AddPin(const std::string& name, PIN_DIRECTION direction);
    template <typename I>
    FakeObject& AddEnumerator(const std::string& name, std::shared_ptr<const ItemList> list);

    void FurnishGraph(FakeObject& graph);
    void FurnishMapper(FakeObject& mapper);
    void FurnishDemux(FakeObject& demux);
    FakeObject& AddMoniker(const MapperEntry& entry);

    Journal silence_; // the class factories'
    std::vector<std::unique_ptr<FakeObject>> objects_, factories_;
    std::vector<DWORD> registrations_;
    std::array<ULONG, 2> stallCounts_{};
};

} // namespace vistrame::test
