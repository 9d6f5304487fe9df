#include "tests/support/recording_platform.h"

#include <algorithm>

#include "graph/com.h"
#include "graph/maker_interfaces.h"
#include "graph/media_ids.h"
#include "tests/support/recording_parts.h"

namespace vistrame::test {

std::string Describe(const AM_MEDIA_TYPE* type) {
    static const std::vector<std::pair<ClassId, std::string>> names = {{kNullId, "none"},
                                                                       {kVideoType, "video"},
                                                                       {kAudioType, "audio"},
                                                                       {kMpeg2Video, "MPEG2"},
                                                                       {kMpegAudio, "MPEG"},
                                                                       {kAc3Audio, "AC3"},
                                                                       {kLatmAacAudio, "LATM"},
                                                                       {kEac3Audio, "EAC3"},
                                                                       {kMpeg2VideoFormat, "MPEG2VIDEOINFO"},
                                                                       {kWaveFormat, "WAVEFORMATEX"}};
    const auto nameOf = [](const GUID& id) {
        for (const auto& [known, name] : names) {
            if (ToGuid(known) == id) {
                return name;
            }
        }
        return std::string(reinterpret_cast<const char*>(&id.Data1), 4); // a FourCC
    };
    if (type == nullptr) {
        return "no type";
    }
    std::string text = nameOf(type->majortype) + "/" + nameOf(type->subtype);
    if (type->cbFormat != 0 || type->formattype != GUID_NULL) {
        text += Line(" %s %lu", nameOf(type->formattype).c_str(), type->cbFormat);
    }
    return text;
}

RecordingPlatform::RecordingPlatform() {
    InstallObject(CLSID_FilterGraph, "graph", FurnishGraph);
    InstallObject(CLSID_FilterMapper2, "mapper", FurnishMapper);
    InstallFilter(CLSID_KorvixFeedFilter, "feed", {{"TS Out", PINDIR_OUTPUT}}, FurnishFeed);
    InstallFilter(CLSID_MPEG2Demultiplexer, "demux", {{"MPEG-2 Stream", PINDIR_INPUT}}, FurnishDemux);
    InstallFilter(CLSID_KorvixDemux, "korvix demux",
                  {{"TS In", PINDIR_INPUT}, {"Video Out", PINDIR_OUTPUT}, {"Audio Out", PINDIR_OUTPUT}},
                  FurnishKorvixDemux);
    InstallFilter(CLSID_DSoundRender, "sound", {{"Audio Input pin", PINDIR_INPUT}}, FurnishSound);
    InstallFilter(CLSID_VideoMixingRenderer9, "VMR9",
                  {{"Other Input", PINDIR_INPUT}, {"VMR Input0", PINDIR_INPUT}, {"VMR Input1", PINDIR_INPUT}},
                  FurnishVmr9);
    InstallFilter(CLSID_OverlayMixer, "overlay mixer", {{"Input0", PINDIR_INPUT}, {"Output", PINDIR_OUTPUT}});
    InstallFilter(CLSID_OsdSource, "OSD source", {{"1", PINDIR_OUTPUT}}, FurnishOsdSource);
}

RecordingPlatform::~RecordingPlatform() = default;

void RecordingPlatform::InstallAudioDecoder(REFCLSID id, const std::string& name) {
    InstallFilter(id, name,
                  {{"Side Out", PINDIR_OUTPUT}, {"XForm In", PINDIR_INPUT}, {"XForm Out", PINDIR_OUTPUT}});
}

void RecordingPlatform::InstallVideoDecoder(REFCLSID id, const std::string& name) {
    InstallFilter(id, name,
                  {{"Side Out", PINDIR_OUTPUT},
                   {"Side In", PINDIR_INPUT},
                   {"Video Input", PINDIR_INPUT},
                   {"Video Output", PINDIR_OUTPUT},
                   {"Video In", PINDIR_INPUT},
                   {"Video Out", PINDIR_OUTPUT},
                   {"In", PINDIR_INPUT},
                   {"Out", PINDIR_OUTPUT}},
                  FurnishVideoDecoder);
}

void RecordingPlatform::InstallFilter(REFCLSID id, const std::string& name, std::vector<PinPlan> pins,
                                      void (*furnish)(RecordingPlatform&, FakeFilter&)) {
    InstallClass(id, name, [this, name, pins = std::move(pins), furnish]() -> FakeObject& {
        auto& filter = static_cast<FakeFilter&>(Adopt(std::make_unique<FakeFilter>(record, name)));
        FurnishFilter(*this, filter);
        for (const PinPlan& pin : pins) {
            const std::string fullName = name + "/" + pin.name;
            if (!missingPins.contains(fullName)) {
                FakeObject& object = AddObject(fullName);
                FurnishPin(object, pin.direction);
                filter.pins.push_back({pin.name, &object});
            }
        }
        if (furnish != nullptr) {
            furnish(*this, filter);
        }
        return filter;
    });
}

void RecordingPlatform::InstallObject(REFCLSID id, const std::string& name,
                                      void (*furnish)(RecordingPlatform&, FakeObject&)) {
    InstallClass(id, name, [this, name, furnish]() -> FakeObject& {
        FakeObject& object = AddObject(name);
        furnish(*this, object);
        return object;
    });
}

void RecordingPlatform::InstallClass(REFCLSID id, const std::string& name,
                                     std::function<FakeObject&()> make) {
    const auto create = [this, name, make = std::move(make)](REFIID iid, void** out) -> HRESULT {
        if (broken.contains(name)) {
            record.lines.push_back("cannot create " + name);
            return E_FAIL;
        }
        record.lines.push_back("create " + name);
        FakeObject& object = make();
        for (const auto& [holder, missing] : withheld) {
            if (holder == name) {
                object.Withhold(missing);
            }
        }
        return object.Query(iid, out);
    };
    classes_.push_back(std::make_unique<ClassOverride>(id, create));
}

FakeObject& RecordingPlatform::AddObject(const std::string& name) {
    return Adopt(std::make_unique<FakeObject>(record, name));
}

FakeObject& RecordingPlatform::Adopt(std::unique_ptr<FakeObject> object) {
    objects_.push_back(std::move(object));
    return *objects_.back();
}

FakeObject& RecordingPlatform::Find(const std::string& name) {
    const auto found = std::find_if(objects_.rbegin(), objects_.rend(),
                                    [&](const auto& object) { return object->name == name; });
    if (found == objects_.rend()) {
        ADD_FAILURE() << name << " was never created";
        return *objects_.front();
    }
    return **found;
}

std::vector<std::string> RecordingPlatform::References() const {
    std::vector<std::string> held;
    for (const auto& object : objects_) {
        if (object->references != 0) {
            held.push_back(Line("%s %lu", object->name.c_str(), object->references));
        }
    }
    return held;
}

} // namespace vistrame::test
