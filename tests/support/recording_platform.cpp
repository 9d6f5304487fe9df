#include "tests/support/recording_platform.h"

#include <algorithm>
#include <ranges>

#include <bdaiface.h>
#include <d3d9.h>
#include <vmr9.h>

#include <gtest/gtest.h>

#include "player/graph/com.h"
#include "contract/maker_interfaces.h"
#include "player/graph/vendor_parameters.h"
#include "tests/support/playback_fakes.h"

namespace vistrame::test {
namespace {

void OfferFeed(FakeObject& feed) {
    OfferFeedData(feed);
    feed.Offer<FeedControl>().Records<&FeedControl::SetMode>();
    feed.Offer<IReferenceClock>();
}

void OfferVolume(FakeObject& sound, const long& volume) {
    sound.Offer<IReferenceClock>();
    sound.Offer<IBasicAudio>().On<&IBasicAudio::get_Volume>([&](long* level) {
        *level = volume;
        return sound.Record("get_Volume");
    });
}

void OfferVmr9(FakeObject& renderer) {
    renderer.Offer<IQualProp>();
    renderer.Offer<IVMRFilterConfig9>().Records<&IVMRFilterConfig9::SetNumberOfStreams>();
    renderer.Offer<IVMRWindowlessControl>();
    renderer.Offer<IVMRMixerBitmap9>();
    renderer.Offer<IVMRVideoStreamControl9>();
    renderer.queries = true;
}

void OfferOsd(FakeObject& source) {
    source.Offer<OsdSourceControl>().Records<&OsdSourceControl::SetSize>().On<&OsdSourceControl::SetText>(
        [&source](const char* text) {
            EXPECT_STREQ(text, "other Demux\r\n");
            return source.Record("SetText");
        });
}

void OfferParameters(FakeObject& decoder) {
    decoder.Offer<VendorParameters>()
        .On<&VendorParameters::SetValue>([&decoder](const GUID* parameter, const VARIANT* value) {
            EXPECT_EQ(V_VT(value), VT_UI4);
            return decoder.Record(Line("SetValue %08lX", parameter->Data1), V_UI4(value));
        })
        .On<&VendorParameters::Commit>([&decoder](VARIANT*) { return decoder.Record("Commit"); });
}

} // namespace

RecordingPlatform::RecordingPlatform() {
    (void)CoInitialize(nullptr);
    Install(CLSID_FilterGraph, "graph", [this](FakeObject& graph) { FurnishGraph(graph); });
    Install(CLSID_FilterMapper2, "mapper", [this](FakeObject& mapper) { FurnishMapper(mapper); });
    InstallFilter(CLSID_KorvixFeedFilter, "feed", {">TS Out"}, OfferFeed);
    InstallFilter(CLSID_MPEG2Demultiplexer, "demux", {"<MPEG-2 Stream"},
                  [this](FakeObject& demux) { FurnishDemux(demux); });
    InstallFilter(CLSID_KorvixDemux, "korvix demux", {"<TS In", ">Video Out", ">Audio Out"},
                  [this](FakeObject& demux) { OfferKorvixDemux(demux, stallCounts_); });
    InstallFilter(CLSID_DSoundRender, "sound", {"<Audio Input pin"},
                  [this](FakeObject& sound) { OfferVolume(sound, volume); });
    InstallFilter(CLSID_VideoMixingRenderer9, "VMR9", {"<Other Input", "<VMR Input0", "<VMR Input1"},
                  OfferVmr9);
    InstallFilter(CLSID_OverlayMixer, "overlay mixer", {"<Input0", ">Output"});
    InstallFilter(CLSID_OsdSource, "OSD source", {">1"}, OfferOsd);
}

RecordingPlatform::~RecordingPlatform() {
    for (const DWORD registration : registrations_) {
        EXPECT_EQ(CoRevokeClassObject(registration), S_OK);
    }
    CoUninitialize();
}

void RecordingPlatform::InstallAudioDecoder(REFCLSID id) {
    InstallFilter(id, "audio decoder", {">Side Out", "<XForm In", ">XForm Out"});
}

void RecordingPlatform::InstallVideoDecoder(REFCLSID id) {
    InstallFilter(
        id, "video decoder",
        {">Side Out", "<Side In", "<Video Input", ">Video Output", "<Video In", ">Video Out", "<In", ">Out"},
        OfferParameters);
}

// Behind the class identifier for as long as the platform lives, whatever the registry says.
void RecordingPlatform::Install(REFCLSID id, const std::string& name, const Furnish& furnish) {
    FakeObject& factory =
        *factories_.emplace_back(std::make_unique<FakeObject>(silence_, "factory of " + name));
    factory.Offer<IClassFactory>().On<&IClassFactory::CreateInstance>(
        [=, this](IUnknown* outer, REFIID iid, void** out) {
            EXPECT_EQ(outer, nullptr);
            return Create(name, furnish, iid, out);
        });
    DWORD registration = 0;
    EXPECT_EQ(CoRegisterClassObject(id, factory.As<IUnknown>(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                    &registration),
              S_OK);
    registrations_.push_back(registration);
}

HRESULT RecordingPlatform::Create(const std::string& name, const Furnish& furnish, REFIID iid, void** out) {
    *out = nullptr;
    if (broken.contains(name)) {
        journal.Add("cannot create " + name);
        return E_FAIL;
    }
    journal.Add("create " + name);
    FakeObject& object = AddObject(name);
    object.during = during;
    furnish(object);
    for (const auto& [holder, missing] : withheld) {
        if (holder == name) {
            object.Withhold(missing);
        }
    }
    return object.Query(iid, out);
}

void RecordingPlatform::InstallFilter(REFCLSID id, const std::string& name, const Lines& plan,
                                      const Furnish& furnish) {
    Install(id, name, [=, this](FakeObject& filter) {
        const auto pins = std::make_shared<ItemList>();
        for (const std::string& entry : plan) {
            const std::string pin = name + '/' + entry.substr(1);
            if (!missingPins.contains(pin)) {
                pins->items.push_back(&AddPin(pin, entry[0] == '<' ? PINDIR_INPUT : PINDIR_OUTPUT));
            }
        }
        filter.Offer<IBaseFilter>()
            .On<&IBaseFilter::EnumPins>([=, this](IEnumPins** out) {
                return Hand(AddEnumerator<IEnumPins>(name + " pins", pins), out);
            })
            .On<&IBaseFilter::FindPin>([=](LPCWSTR wanted, IPin** out) -> HRESULT {
                const auto found =
                    std::ranges::find(pins->items, Line("%s/%ls", name.c_str(), wanted), &FakeObject::name);
                *out = nullptr;
                return found == pins->items.end() ? VFW_E_NOT_FOUND : Hand(**found, out);
            });
        if (furnish) {
            furnish(filter);
        }
    });
}

FakeObject& RecordingPlatform::AddObject(const std::string& name) {
    return *objects_.emplace_back(std::make_unique<FakeObject>(journal, name));
}

FakeObject& RecordingPlatform::AddPin(const std::string& name, PIN_DIRECTION direction) {
    FakeObject& pin = AddObject(name);
    pin.Offer<IPin>().On<&IPin::QueryDirection>([direction](PIN_DIRECTION* out) {
        *out = direction;
        return S_OK;
    });
    return pin;
}

template <typename I>
FakeObject& RecordingPlatform::AddEnumerator(const std::string& name, std::shared_ptr<const ItemList> list) {
    struct State {
        std::size_t next;
        unsigned version;
    };
    const auto state = std::make_shared<State>(State{0, list->version});
    FakeObject& enumerator = AddObject(name);
    enumerator.Offer<I>()
        .template On<&I::Next>([=](ULONG count, auto** out, ULONG* fetched) -> HRESULT {
            if (state->version != list->version) {
                return VFW_E_ENUM_OUT_OF_SYNC;
            }
            ULONG handed = 0;
            while (handed < count && state->next < list->items.size()) {
                Hand(*list->items[state->next++], out + handed++);
            }
            if (fetched != nullptr) {
                *fetched = handed;
            }
            return handed == count ? S_OK : S_FALSE;
        })
        .template On<&I::Reset>([=] {
            *state = {0, list->version};
            return S_OK;
        });
    return enumerator;
}

void RecordingPlatform::FurnishGraph(FakeObject& graph) {
    auto list = std::make_shared<ItemList>();
    graph.Offer<IGraphBuilder>()
        .Records<&IGraphBuilder::ConnectDirect, &IGraphBuilder::Render>()
        .On<&IGraphBuilder::AddFilter>([=, &graph](IBaseFilter* filter, LPCWSTR name) {
            filter->AddRef();
            list->items.push_back(&FakeObject::Of(filter));
            ++list->version;
            return graph.Record("AddFilter", filter, name);
        })
        .On<&IGraphBuilder::RemoveFilter>([=, &graph](IBaseFilter* filter) {
            if (SUCCEEDED(graph.Record("RemoveFilter", filter))) {
                EXPECT_EQ(std::erase(list->items, &FakeObject::Of(filter)), 1U);
                ++list->version;
                filter->Release();
            }
            return graph.result;
        })
        .On<&IGraphBuilder::EnumFilters>([=, this](IEnumFilters** out) {
            return Hand(AddEnumerator<IEnumFilters>("filters", list), out);
        });
    OfferControl(graph);
    graph.Offer<IMediaFilter>().Records<&IMediaFilter::SetSyncSource>().On<&IMediaFilter::GetSyncSource>(
        [](IReferenceClock** out) {
            *out = nullptr;
            return VFW_E_NO_CLOCK;
        });
    graph.Offer<IVideoWindow>()
        .Records<&IVideoWindow::put_Owner, &IVideoWindow::put_WindowStyle, &IVideoWindow::put_MessageDrain,
                 &IVideoWindow::SetWindowPosition, &IVideoWindow::put_Caption>();
}

void RecordingPlatform::FurnishDemux(FakeObject& demux) {
    demux.Offer<IMpeg2Demultiplexer>().On<&IMpeg2Demultiplexer::CreateOutputPin>(
        [this, &demux](AM_MEDIA_TYPE* type, LPWSTR name, IPin** out) {
            FakeObject& pin = AddPin(Line("demux/%ls", name), PINDIR_OUTPUT);
            OfferPidMap(pin);
            Hand(pin, out);
            return demux.Record("CreateOutputPin", name, type);
        });
    demux.Offer<IReferenceClock>();
}

void RecordingPlatform::FurnishMapper(FakeObject& mapper) {
    mapper.Offer<IFilterMapper2>().On<&IFilterMapper2::EnumMatchingFilters>(
        [this, &mapper](IEnumMoniker** out, DWORD flags, BOOL exact, DWORD merit, BOOL inputNeeded,
                        DWORD inputs, const GUID* inputTypes, const REGPINMEDIUM* inputMedium,
                        const CLSID* inputCategory, BOOL render, BOOL outputNeeded, DWORD outputs,
                        const GUID* outputTypes, const REGPINMEDIUM* outputMedium,
                        const CLSID* outputCategory) {
            std::string types;
            for (DWORD i = 0; i < inputs; ++i) {
                AM_MEDIA_TYPE type{};
                type.majortype = inputTypes[2 * i];
                type.subtype = inputTypes[2 * i + 1];
                types += (i == 0 ? "" : ", ") + Text(&type);
            }
            mapper.Record(
                Line("EnumMatchingFilters(%s, flags %lu, exact %d, merit %06lX, input %d, render %d, "
                     "output %d)",
                     types.c_str(), flags, exact, merit, inputNeeded, render, outputNeeded));
            EXPECT_TRUE(inputMedium == nullptr && inputCategory == nullptr && outputs == 0 &&
                        outputTypes == nullptr && outputMedium == nullptr && outputCategory == nullptr);
            const auto monikers = std::make_shared<ItemList>();
            for (const MapperEntry& entry : mappings[types.substr(0, types.find('/'))]) {
                monikers->items.push_back(&AddMoniker(entry));
            }
            return Hand(AddEnumerator<IEnumMoniker>("matches", monikers), out);
        });
}

// A moniker that is its own property bag.
FakeObject& RecordingPlatform::AddMoniker(const MapperEntry& entry) {
    FakeObject& moniker = AddObject("moniker");
    moniker.Offer<IMoniker>().On<&IMoniker::BindToStorage>(
        [&moniker](IBindCtx*, IMoniker*, REFIID iid, void** out) { return moniker.Query(iid, out); });
    moniker.Offer<IPropertyBag>().On<&IPropertyBag::Read>(
        [entry](LPCOLESTR name, VARIANT* value, IErrorLog*) -> HRESULT {
            EXPECT_EQ(V_VT(value), VT_BSTR) << "the player asks for texts";
            std::array<wchar_t, 40> id{};
            if (std::wstring(name) == L"FriendlyName") {
                V_BSTR(value) = SysAllocString(entry.friendlyName.c_str());
            } else if (entry.id) {
                EXPECT_EQ(std::wstring(name), L"CLSID");
                (void)StringFromGUID2(*entry.id, id.data(), id.size());
                V_BSTR(value) = SysAllocString(id.data());
            } else {
                return E_INVALIDARG;
            }
            return S_OK;
        });
    return moniker;
}

FakeObject& RecordingPlatform::Find(const std::string& name) {
    const auto reversed = objects_ | std::views::reverse;
    return **std::ranges::find(reversed, name, [](const auto& object) { return object->name; });
}

Lines RecordingPlatform::References() const {
    Lines held;
    for (const auto& object : objects_) {
        if (object->references != 0) {
            held.push_back(object->name + ' ' + std::to_string(object->references));
        }
    }
    return held;
}

} // namespace vistrame::test
