// The filters' side: what the maker's, the platform's and the vendors' filters offer beyond pins.

#include "tests/support/recording_parts.h"

#include <bdaiface.h>

#include "graph/com.h"
#include "graph/maker_interfaces.h"
#include "graph/vendor_parameters.h"
#include "tests/support/directshow_stubs.h"

namespace vistrame::test {
namespace {

class FeedDataPart final : public FakePart<FeedData> {
public:
    using FakePart::FakePart;
    STDMETHODIMP Reserved() override { return Unexpected("Reserved"); }
    STDMETHODIMP DeliverData(const BYTE*, ULONG length) override {
        return Record("DeliverData(%lu)", length);
    }
    STDMETHODIMP SendDiscontinuity() override { return Record("SendDiscontinuity"); }
    STDMETHODIMP SetPids2(ULONG value) override { return Record("SetPids2(%08lX)", value); }
};

class FeedControlPart final : public FakePart<FeedControl> {
public:
    using FakePart::FakePart;
    STDMETHODIMP SetMode(ULONG mode, ULONG option) override {
        return Record("SetMode(%lu, %lu)", mode, option);
    }
};

class PidMapPart final : public FakePart<IMPEG2PIDMap> {
public:
    using FakePart::FakePart;
    STDMETHODIMP MapPID(ULONG count, ULONG* pids, MEDIA_SAMPLE_CONTENT content) override {
        EXPECT_TRUE(count == 1 && content == MEDIA_ELEMENTARY_STREAM);
        return Record("MapPID(%04lX)", *pids);
    }
    STDMETHODIMP UnmapPID(ULONG count, ULONG* pids) override {
        EXPECT_EQ(count, 1U);
        return Record("UnmapPID(%04lX)", *pids);
    }
    STDMETHODIMP EnumPIDMap(IEnumPIDMap**) override { return Unexpected("EnumPIDMap"); }
};

class DemuxPart final : public FakePart<IMpeg2Demultiplexer> {
public:
    DemuxPart(FakeObject& object, RecordingPlatform& platform) : FakePart(object), platform_(platform) {}
    STDMETHODIMP CreateOutputPin(AM_MEDIA_TYPE* type, LPWSTR name, IPin** out) override {
        Record("CreateOutputPin(\"%s\", %s)", Narrow(name).c_str(), Describe(type).c_str());
        FakeObject& pin = platform_.AddObject(object_.name + "/" + Narrow(name));
        FurnishPin(pin, PINDIR_OUTPUT);
        pin.Offer<PidMapPart>();
        Hand(&pin, out);
        return S_OK;
    }
    STDMETHODIMP SetOutputPinMediaType(LPWSTR, AM_MEDIA_TYPE*) override {
        return Unexpected("SetOutputPinMediaType");
    }
    STDMETHODIMP DeleteOutputPin(LPWSTR) override { return Unexpected("DeleteOutputPin"); }

private:
    RecordingPlatform& platform_;
};

class KorvixDemuxPart final : public FakePart<KorvixDemux> {
public:
    KorvixDemuxPart(FakeObject& object, RecordingPlatform& platform)
        : FakePart(object), platform_(platform) {}
    STDMETHODIMP SetAudioType(ULONG type) override {
        return Record("SetAudioType(%ld)", static_cast<long>(type));
    }
    STDMETHODIMP SetVideoType(ULONG type) override {
        return Record("SetVideoType(%ld)", static_cast<long>(type));
    }
    STDMETHODIMP SetPids(ULONG video, ULONG audio, ULONG clock) override {
        return Record("SetPids(%04lX, %04lX, %04lX)", video, audio, clock);
    }
    STDMETHODIMP AttachOsd(OsdSourceControl* osd) override {
        return Record("AttachOsd(%s)", NameOf(osd).c_str());
    }
    STDMETHODIMP GetStallCount(ULONG stream, ULONG* count) override {
        *count = platform_.stallCounts.at(stream);
        return S_OK;
    }

private:
    RecordingPlatform& platform_;
};

class AudioPart final : public StubBasicAudio {
public:
    AudioPart(FakeObject& object, RecordingPlatform& platform)
        : StubBasicAudio(object), platform_(platform) {}
    STDMETHODIMP put_Volume(long volume) override { return Record("put_Volume(%ld)", volume); }
    STDMETHODIMP get_Volume(long* volume) override {
        *volume = platform_.volume;
        return Record("get_Volume");
    }

private:
    RecordingPlatform& platform_;
};

class RendererConfigPart final : public StubVmrFilterConfig9 {
public:
    using StubVmrFilterConfig9::StubVmrFilterConfig9;
    STDMETHODIMP SetNumberOfStreams(DWORD streams) override {
        return Record("SetNumberOfStreams(%lu)", streams);
    }
};

class MixerPart final : public StubVmrMixerBitmap9 {
public:
    using StubVmrMixerBitmap9::StubVmrMixerBitmap9;
    STDMETHODIMP SetAlphaBitmap(const VMR9AlphaBitmap*) override { return Record("SetAlphaBitmap"); }
    STDMETHODIMP GetAlphaBitmapParameters(VMR9AlphaBitmap*) override {
        return Record("GetAlphaBitmapParameters");
    }
};

class OsdPart final : public FakePart<OsdSourceControl> {
public:
    using FakePart::FakePart;
    STDMETHODIMP SetSize(ULONG width, ULONG height, ULONG visible) override {
        return Record("SetSize(%lu, %lu, %lu)", width, height, visible);
    }
    STDMETHODIMP Reserved1() override { return Unexpected("Reserved1"); }
    STDMETHODIMP Reserved2() override { return Unexpected("Reserved2"); }
    STDMETHODIMP SetText(const char* text) override {
        EXPECT_STREQ(text, "other Demux\r\n");
        return Record("SetText");
    }
};

class ParametersPart final : public FakePart<VendorParameters> {
public:
    using FakePart::FakePart;
    STDMETHODIMP SetValue(const GUID* parameter, const VARIANT* value) override {
        EXPECT_EQ(V_VT(value), VT_UI4);
        return Record("SetValue(%08lX, %lu)", parameter->Data1, V_UI4(value));
    }
    STDMETHODIMP Commit(VARIANT*) override { return Record("Commit"); }
    STDMETHODIMP GetClassID(CLSID*) override { return Unexpected("GetClassID"); }
    STDMETHODIMP IsDirty() override { return Unexpected("IsDirty"); }
    STDMETHODIMP Load(IStream*) override { return Unexpected("Load"); }
    STDMETHODIMP Save(IStream*, BOOL) override { return Unexpected("Save"); }
    STDMETHODIMP GetSizeMax(ULARGE_INTEGER*) override { return Unexpected("GetSizeMax"); }
    STDMETHODIMP GetValue() override { return Unexpected("GetValue"); }
    STDMETHODIMP GetParameter() override { return Unexpected("GetParameter"); }
    STDMETHODIMP IsSupported() override { return Unexpected("IsSupported"); }
    STDMETHODIMP SetDefaultState() override { return Unexpected("SetDefaultState"); }
    STDMETHODIMP EnumerateParameters() override { return Unexpected("EnumerateParameters"); }
};

} // namespace

void FurnishFeed(RecordingPlatform&, FakeFilter& filter) {
    filter.Offer<FeedControlPart>();
    filter.Offer<FeedDataPart>();
    filter.OfferUncalled(__uuidof(IReferenceClock));
}

void FurnishDemux(RecordingPlatform& platform, FakeFilter& filter) {
    filter.Offer<DemuxPart>(platform);
    filter.OfferUncalled(__uuidof(IReferenceClock));
}

void FurnishKorvixDemux(RecordingPlatform& platform, FakeFilter& filter) {
    filter.Offer<KorvixDemuxPart>(platform);
    filter.OfferUncalled(__uuidof(IReferenceClock));
}

void FurnishOsdSource(RecordingPlatform&, FakeFilter& filter) {
    filter.Offer<OsdPart>();
}

void FurnishVideoDecoder(RecordingPlatform&, FakeFilter& filter) {
    filter.Offer<ParametersPart>();
}

void FurnishSound(RecordingPlatform& platform, FakeFilter& filter) {
    filter.Offer<AudioPart>(platform);
    filter.OfferUncalled(__uuidof(IReferenceClock));
}

void FurnishVmr9(RecordingPlatform&, FakeFilter& filter) {
    filter.OfferUncalled(__uuidof(IQualProp));
    filter.Offer<RendererConfigPart>();
    filter.OfferUncalled(__uuidof(IVMRWindowlessControl));
    filter.Offer<MixerPart>();
    filter.OfferUncalled(__uuidof(IVMRVideoStreamControl9));
    filter.onQuery = [&filter](REFIID iid) {
        static const std::vector<std::pair<IID, std::string>> names = {
            {__uuidof(IQualProp), "IQualProp"},
            {__uuidof(IVMRFilterConfig9), "IVMRFilterConfig9"},
            {ToGuid("0EB1088C-4DCD-46F0-878F-39DAE86A51B7"_id), "0EB1088C"},
            {__uuidof(IVMRMixerBitmap9), "IVMRMixerBitmap9"},
            {__uuidof(IVMRVideoStreamControl9), "IVMRVideoStreamControl9"}};
        for (const auto& [id, name] : names) {
            if (id == iid) {
                filter.Record("QueryInterface(" + name + ")");
            }
        }
    };
}

} // namespace vistrame::test
