// The platform's side: graph, pins, enumerators, filter mapper.

#include "tests/support/recording_parts.h"

#include "graph/com.h"
#include "tests/support/directshow_stubs.h"

namespace vistrame::test {

std::string NameOf(IUnknown* object) {
    const FakeObject* const fake = FakeObject::Of(object);
    return fake == nullptr ? "null" : fake->name;
}

std::string Narrow(const wchar_t* text) {
    std::string narrow;
    for (; text != nullptr && *text != 0; ++text) {
        narrow += static_cast<char>(*text); // the player's names are ASCII
    }
    return narrow;
}

void Hand(FakeObject* object, void* out) {
    object->AddRef();
    *static_cast<IUnknown**>(out) = object->Identity();
}

namespace {

class FakePin final : public StubPin {
public:
    FakePin(FakeObject& object, PIN_DIRECTION direction) : StubPin(object), direction_(direction) {}
    STDMETHODIMP QueryDirection(PIN_DIRECTION* direction) override {
        *direction = direction_;
        return S_OK;
    }

private:
    PIN_DIRECTION direction_;
};

// Hands out a list that was taken when the enumerator was made.
template <typename I, typename Item>
class FakeEnum : public StubEnum<I, Item> {
public:
    FakeEnum(FakeObject& object, std::vector<FakeObject*> items)
        : StubEnum<I, Item>(object), items_(std::move(items)) {}
    STDMETHODIMP Next(ULONG count, Item** out, ULONG* fetched) override {
        ULONG handed = 0;
        for (; handed < count && next_ < items_.size(); ++handed, ++next_) {
            Hand(items_[next_], out + handed);
        }
        if (fetched != nullptr) {
            *fetched = handed;
        }
        return handed == count ? S_OK : S_FALSE;
    }

protected:
    std::vector<FakeObject*> items_;
    std::size_t next_ = 0;
};
using FakeEnumPins = FakeEnum<IEnumPins, IPin>;
using FakeEnumMoniker = FakeEnum<IEnumMoniker, IMoniker>;

class FilterPart final : public StubBaseFilter {
public:
    FilterPart(FakeObject& object, RecordingPlatform& platform)
        : StubBaseFilter(object), platform_(platform) {}
    STDMETHODIMP EnumPins(IEnumPins** out) override {
        std::vector<FakeObject*> items;
        for (const FakeFilter::Pin& pin : Filter().pins) {
            items.push_back(pin.object);
        }
        FakeObject& pins = platform_.AddObject(object_.name + " pins");
        pins.Offer<FakeEnumPins>(std::move(items));
        Hand(&pins, out);
        return S_OK;
    }
    STDMETHODIMP FindPin(LPCWSTR id, IPin** out) override {
        const std::string wanted = Narrow(id);
        *out = nullptr;
        for (const FakeFilter::Pin& pin : Filter().pins) {
            if (pin.name == wanted) {
                Hand(pin.object, out);
                return S_OK;
            }
        }
        return VFW_E_NOT_FOUND;
    }

private:
    FakeFilter& Filter() { return static_cast<FakeFilter&>(object_); }
    RecordingPlatform& platform_;
};

// The graph's list of filters, shared by the graph and its enumerators.
struct FilterList {
    std::vector<FakeObject*> filters;
    unsigned version = 0; // counts the changes, which make enumerators invalid
};

class FakeEnumFilters final : public StubEnum<IEnumFilters, IBaseFilter> {
public:
    FakeEnumFilters(FakeObject& object, std::shared_ptr<FilterList> list)
        : StubEnum(object), list_(std::move(list)), version_(list_->version) {}
    STDMETHODIMP Next(ULONG count, IBaseFilter** out, ULONG*) override {
        EXPECT_EQ(count, 1U);
        if (version_ != list_->version) {
            return VFW_E_ENUM_OUT_OF_SYNC;
        }
        if (next_ == list_->filters.size()) {
            return S_FALSE;
        }
        Hand(list_->filters[next_++], out);
        return S_OK;
    }
    STDMETHODIMP Reset() override {
        version_ = list_->version;
        next_ = 0;
        return S_OK;
    }

private:
    std::shared_ptr<FilterList> list_;
    unsigned version_;
    std::size_t next_ = 0;
};

class GraphPart final : public StubGraphBuilder {
public:
    GraphPart(FakeObject& object, RecordingPlatform& platform)
        : StubGraphBuilder(object), platform_(platform) {}
    STDMETHODIMP AddFilter(IBaseFilter* filter, LPCWSTR name) override {
        Record("AddFilter(%s, \"%s\")", NameOf(filter).c_str(), Narrow(name).c_str());
        filter->AddRef();
        list_->filters.push_back(FakeObject::Of(filter));
        ++list_->version;
        return S_OK;
    }
    STDMETHODIMP RemoveFilter(IBaseFilter* filter) override {
        Record("RemoveFilter(%s)", NameOf(filter).c_str());
        if (FAILED(platform_.removeResult)) {
            return platform_.removeResult;
        }
        EXPECT_EQ(std::erase(list_->filters, FakeObject::Of(filter)), 1U);
        ++list_->version;
        filter->Release();
        return S_OK;
    }
    STDMETHODIMP EnumFilters(IEnumFilters** out) override {
        FakeObject& filters = platform_.AddObject("filters");
        filters.Offer<FakeEnumFilters>(list_);
        Hand(&filters, out);
        return S_OK;
    }
    STDMETHODIMP ConnectDirect(IPin* from, IPin* to, const AM_MEDIA_TYPE* type) override {
        return Record("ConnectDirect(%s, %s, %s)", NameOf(from).c_str(), NameOf(to).c_str(),
                      Describe(type).c_str());
    }
    STDMETHODIMP Render(IPin* pin) override { return Record("Render(%s)", NameOf(pin).c_str()); }

private:
    RecordingPlatform& platform_;
    std::shared_ptr<FilterList> list_ = std::make_shared<FilterList>();
};

class ControlPart final : public StubMediaControl {
public:
    using StubMediaControl::StubMediaControl;
    STDMETHODIMP Run() override { return Record("Run"); }
    STDMETHODIMP Pause() override { return Record("Pause"); }
    STDMETHODIMP Stop() override { return Record("Stop"); }
};

class ClockPart final : public StubMediaFilter<IMediaFilter> {
public:
    using StubMediaFilter::StubMediaFilter;
    STDMETHODIMP SetSyncSource(IReferenceClock* clock) override {
        return Record("SetSyncSource(%s)", NameOf(clock).c_str());
    }
};

class WindowPart final : public StubVideoWindow {
public:
    using StubVideoWindow::StubVideoWindow;
    STDMETHODIMP put_Owner(OAHWND owner) override { return Record("put_Owner(%08lX)", owner); }
    STDMETHODIMP put_WindowStyle(long style) override { return Record("put_WindowStyle(%08lX)", style); }
    STDMETHODIMP put_MessageDrain(OAHWND drain) override { return Record("put_MessageDrain(%08lX)", drain); }
    STDMETHODIMP SetWindowPosition(long left, long top, long width, long height) override {
        return Record("SetWindowPosition(%ld, %ld, %ld, %ld)", left, top, width, height);
    }
    STDMETHODIMP put_Caption(BSTR caption) override {
        return Record("put_Caption(\"%s\")", Narrow(caption).c_str());
    }
};

class BagPart final : public FakePart<IPropertyBag> {
public:
    BagPart(FakeObject& object, MapperEntry entry) : FakePart(object), entry_(std::move(entry)) {}
    STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
        EXPECT_EQ(V_VT(value), VT_BSTR) << "the player asks for texts";
        const std::string wanted = Narrow(name);
        if (wanted == "FriendlyName") {
            V_BSTR(value) = SysAllocString(entry_.friendlyName.c_str());
            return S_OK;
        }
        EXPECT_EQ(wanted, "CLSID");
        if (!entry_.id) {
            return E_INVALIDARG;
        }
        std::array<wchar_t, 40> text{};
        (void)StringFromGUID2(*entry_.id, text.data(), text.size());
        V_BSTR(value) = SysAllocString(text.data());
        return S_OK;
    }
    STDMETHODIMP Write(LPCOLESTR, VARIANT*) override { return Unexpected("Write"); }

private:
    MapperEntry entry_;
};

class MonikerPart final : public StubMoniker {
public:
    using StubMoniker::StubMoniker;
    STDMETHODIMP BindToStorage(IBindCtx*, IMoniker*, REFIID iid, void** out) override {
        return object_.Query(iid, out); // the bag is a part of the moniker
    }
};

class MapperPart final : public StubFilterMapper2 {
public:
    MapperPart(FakeObject& object, RecordingPlatform& platform)
        : StubFilterMapper2(object), platform_(platform) {}
    STDMETHODIMP EnumMatchingFilters(IEnumMoniker** out, DWORD flags, BOOL exact, DWORD merit,
                                     BOOL inputNeeded, DWORD inputs, const GUID* inputTypes,
                                     const REGPINMEDIUM* inputMedium, const CLSID* inputCategory, BOOL render,
                                     BOOL outputNeeded, DWORD outputs, const GUID* outputTypes,
                                     const REGPINMEDIUM* outputMedium, const CLSID* outputCategory) override {
        std::string types;
        for (DWORD i = 0; i < inputs; ++i) {
            AM_MEDIA_TYPE type{};
            type.majortype = inputTypes[2 * i];
            type.subtype = inputTypes[2 * i + 1];
            types += (i == 0 ? "" : ", ") + Describe(&type);
        }
        Record("EnumMatchingFilters(%s, flags %lu, exact %d, merit %06lX, input %d, render %d, output %d)",
               types.c_str(), flags, exact, merit, inputNeeded, render, outputNeeded);
        EXPECT_TRUE(inputMedium == nullptr && inputCategory == nullptr && outputs == 0 &&
                    outputTypes == nullptr && outputMedium == nullptr && outputCategory == nullptr);
        std::vector<FakeObject*> monikers;
        for (const MapperEntry& entry : platform_.mappings[types.substr(0, types.find('/'))]) {
            FakeObject& moniker = platform_.AddObject("moniker");
            moniker.Offer<MonikerPart>();
            moniker.Offer<BagPart>(entry);
            monikers.push_back(&moniker);
        }
        FakeObject& matches = platform_.AddObject("matches");
        matches.Offer<FakeEnumMoniker>(std::move(monikers));
        Hand(&matches, out);
        return S_OK;
    }

private:
    RecordingPlatform& platform_;
};

} // namespace

void FurnishFilter(RecordingPlatform& platform, FakeFilter& filter) {
    filter.Offer<FilterPart>(platform);
}

void FurnishPin(FakeObject& pin, PIN_DIRECTION direction) {
    pin.Offer<FakePin>(direction);
}

void FurnishGraph(RecordingPlatform& platform, FakeObject& graph) {
    graph.Offer<GraphPart>(platform);
    graph.Offer<ControlPart>();
    graph.Offer<ClockPart>();
    graph.Offer<WindowPart>();
}

void FurnishMapper(RecordingPlatform& platform, FakeObject& mapper) {
    mapper.Offer<MapperPart>(platform);
}

} // namespace vistrame::test
