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
    HRESULT STDMETHODCALLTYPE Reserved() override { return Unexpected("Reserved"); }
    HRESULT STDMETHODCALLTYPE DeliverData(const BYTE*, ULONG length) override {
        return object_.Record(Line("DeliverData(%lu)", length)), S_OK;
    }
    HRESULT STDMETHODCALLTYPE SendDiscontinuity() override {
        return object_.Record("SendDiscontinuity"), S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetPids2(ULONG value) override {
        return object_.Record(Line("SetPids2(%08lX)", value)), S_OK;
    }
};

class FeedControlPart final : public FakePart<FeedControl> {
public:
    using FakePart::FakePart;
    HRESULT STDMETHODCALLTYPE SetMode(ULONG mode, ULONG option) override {
        return object_.Record(Line("SetMode(%lu, %lu)", mode, option)), S_OK;
    }
};

class PidMapPart final : public FakePart<IMPEG2PIDMap> {
public:
    using FakePart::FakePart;
    HRESULT STDMETHODCALLTYPE MapPID(ULONG count, ULONG* pids, MEDIA_SAMPLE_CONTENT content) override {
        EXPECT_TRUE(count == 1 && content == MEDIA_ELEMENTARY_STREAM);
        return object_.Record(Line("MapPID(%04lX)", *pids)), S_OK;
    }
    HRESULT STDMETHODCALLTYPE UnmapPID(ULONG count, ULONG* pids) override {
        EXPECT_EQ(count, 1U);
        return object_.Record(Line("UnmapPID(%04lX)", *pids)), S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnumPIDMap(IEnumPIDMap**) override { return Unexpected("EnumPIDMap"); }
};

class DemuxPart final : public FakePart<IMpeg2Demultiplexer> {
public:
    DemuxPart(FakeObject& object, RecordingPlatform& platform) : FakePart(object), platform_(platform) {}
    HRESULT STDMETHODCALLTYPE CreateOutputPin(AM_MEDIA_TYPE* type, LPWSTR name, IPin** out) override {
        object_.Record("CreateOutputPin(\"" + Narrow(name) + "\", " + Describe(type) + ")");
        FakeObject& pin = platform_.AddObject(object_.name + "/" + Narrow(name));
        FurnishPin(pin, PINDIR_OUTPUT);
        pin.Offer<PidMapPart>();
        Hand(&pin, out);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetOutputPinMediaType(LPWSTR, AM_MEDIA_TYPE*) override {
        return Unexpected("SetOutputPinMediaType");
    }
    HRESULT STDMETHODCALLTYPE DeleteOutputPin(LPWSTR) override { return Unexpected("DeleteOutputPin"); }

private:
    RecordingPlatform& platform_;
};

class KorvixDemuxPart final : public FakePart<KorvixDemux> {
public:
    KorvixDemuxPart(FakeObject& object, RecordingPlatform& platform)
        : FakePart(object), platform_(platform) {}
    HRESULT STDMETHODCALLTYPE SetAudioType(ULONG type) override {
        return object_.Record(Line("SetAudioType(%ld)", static_cast<long>(type))), S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetVideoType(ULONG type) override {
        return object_.Record(Line("SetVideoType(%ld)", static_cast<long>(type))), S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetPids(ULONG video, ULONG audio, ULONG clock) override {
        return object_.Record(Line("SetPids(%04lX, %04lX, %04lX)", video, audio, clock)), S_OK;
    }
    HRESULT STDMETHODCALLTYPE AttachOsd(OsdSourceControl* osd) override {
        return object_.Record("AttachOsd(" + NameOf(osd) + ")"), S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetStallCount(ULONG stream, ULONG* count) override {
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
    HRESULT STDMETHODCALLTYPE put_Volume(long volume) override {
        return object_.Record(Line("put_Volume(%ld)", volume)), S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Volume(long* volume) override {
        *volume = platform_.volume;
        return object_.Record("get_Volume"), S_OK;
    }

private:
    RecordingPlatform& platform_;
};

class RendererConfigPart final : public StubVmrFilterConfig9 {
public:
    using StubVmrFilterConfig9::StubVmrFilterConfig9;
    HRESULT STDMETHODCALLTYPE SetNumberOfStreams(DWORD streams) override {
        return object_.Record(Line("SetNumberOfStreams(%lu)", streams)), S_OK;
    }
};

class MixerPart final : public StubVmrMixerBitmap9 {
public:
    using StubVmrMixerBitmap9::StubVmrMixerBitmap9;
    HRESULT STDMETHODCALLTYPE SetAlphaBitmap(const VMR9AlphaBitmap*) override {
        return object_.Record("SetAlphaBitmap"), S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetAlphaBitmapParameters(VMR9AlphaBitmap*) override {
        return object_.Record("GetAlphaBitmapParameters"), S_OK;
    }
};

class OsdPart final : public FakePart<OsdSourceControl> {
public:
    using FakePart::FakePart;
    HRESULT STDMETHODCALLTYPE SetSize(ULONG width, ULONG height, ULONG visible) override {
        return object_.Record(Line("SetSize(%lu, %lu, %lu)", width, height, visible)), S_OK;
    }
    HRESULT STDMETHODCALLTYPE Reserved1() override { return Unexpected("Reserved1"); }
    HRESULT STDMETHODCALLTYPE Reserved2() override { return Unexpected("Reserved2"); }
    HRESULT STDMETHODCALLTYPE SetText(const char* text) override {
        EXPECT_STREQ(text, "other Demux\r\n");
        return object_.Record("SetText"), S_OK;
    }
};

class ParametersPart final : public FakePart<VendorParameters> {
public:
    using FakePart::FakePart;
    HRESULT STDMETHODCALLTYPE SetValue(const GUID* parameter, const VARIANT* value) override {
        EXPECT_EQ(V_VT(value), VT_UI4);
        return object_.Record(Line("SetValue(%08lX, %lu)", parameter->Data1, V_UI4(value))), S_OK;
    }
    HRESULT STDMETHODCALLTYPE Commit(VARIANT*) override { return object_.Record("Commit"), S_OK; }
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID*) override { return Unexpected("GetClassID"); }
    HRESULT STDMETHODCALLTYPE IsDirty() override { return Unexpected("IsDirty"); }
    HRESULT STDMETHODCALLTYPE Load(IStream*) override { return Unexpected("Load"); }
    HRESULT STDMETHODCALLTYPE Save(IStream*, BOOL) override { return Unexpected("Save"); }
    HRESULT STDMETHODCALLTYPE GetSizeMax(ULARGE_INTEGER*) override { return Unexpected("GetSizeMax"); }
    HRESULT STDMETHODCALLTYPE GetValue() override { return Unexpected("GetValue"); }
    HRESULT STDMETHODCALLTYPE GetParameter() override { return Unexpected("GetParameter"); }
    HRESULT STDMETHODCALLTYPE IsSupported() override { return Unexpected("IsSupported"); }
    HRESULT STDMETHODCALLTYPE SetDefaultState() override { return Unexpected("SetDefaultState"); }
    HRESULT STDMETHODCALLTYPE EnumerateParameters() override { return Unexpected("EnumerateParameters"); }
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
