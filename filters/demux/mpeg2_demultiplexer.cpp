#include "filters/demux/mpeg2_demultiplexer.h"

#include <memory>
#include <span>

#include "filters/base/enumerators.h"
#include "filters/base/guarded.h"
#include "filters/demux/pin_types.h"

namespace vistrame {

namespace {

PID_MAP HandOutMapping(const PID_MAP& mapping) {
    return mapping;
}

using PidMapEnumerator = SnapshotEnumerator<IEnumPIDMap, PID_MAP, PID_MAP, HandOutMapping>;

} // namespace

// An output pin with its PID map.
class Mpeg2Demultiplexer::MappedPin final : public WithInterfaces<StreamPin, IMPEG2PIDMap> {
public:
    MappedPin(Mpeg2Demultiplexer& owner, const wchar_t* name) : WithInterfaces(owner, name), owner_(owner) {}

    HRESULT STDMETHODCALLTYPE MapPID(ULONG count, ULONG* pids, MEDIA_SAMPLE_CONTENT content) override {
        return Guarded([&] {
            if (pids == nullptr) {
                return E_POINTER;
            }
            const std::span<const ULONG> wanted(pids, count);
            for (const ULONG pid : wanted) {
                if (pid > kNullPid) {
                    return E_INVALIDARG;
                }
            }
            if (content != MEDIA_ELEMENTARY_STREAM && content != MEDIA_TRANSPORT_PAYLOAD) {
                return E_INVALIDARG;
            }
            const StreamKind kind =
                content == MEDIA_ELEMENTARY_STREAM ? StreamKind::kElementary : StreamKind::kPes;
            for (const ULONG pid : wanted) {
                owner_.AddRoute({static_cast<Pid>(pid), this, kind});
            }
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE UnmapPID(ULONG count, ULONG* pids) override {
        return Guarded([&] {
            if (pids == nullptr) {
                return E_POINTER;
            }
            bool all = true;
            for (const ULONG pid : std::span<const ULONG>(pids, count)) {
                all = pid <= kNullPid && owner_.RemoveRoute(static_cast<Pid>(pid), *this) && all;
            }
            return all ? S_OK : S_FALSE;
        });
    }

    HRESULT STDMETHODCALLTYPE EnumPIDMap(IEnumPIDMap** mappings) override {
        return Guarded([&] {
            if (mappings == nullptr) {
                return E_POINTER;
            }
            std::vector<PID_MAP> list;
            for (const Route& route : owner_.Routes()) {
                if (route.pin == this) {
                    const bool elementary = route.kind == StreamKind::kElementary;
                    list.push_back(
                        {route.pid, elementary ? MEDIA_ELEMENTARY_STREAM : MEDIA_TRANSPORT_PAYLOAD});
                }
            }
            *mappings = MakeObject<PidMapEnumerator>(std::move(list)).Detach();
            return S_OK;
        });
    }

private:
    Mpeg2Demultiplexer& owner_;
};

Mpeg2Demultiplexer::Mpeg2Demultiplexer() : WithInterfaces(CLSID_MPEG2Demultiplexer, L"MPEG-2 Stream") {}

Mpeg2Demultiplexer::MappedPin* Mpeg2Demultiplexer::FindOutput(LPCWSTR name) const {
    for (std::size_t i = 0; BasePin* pin = PinAt(i); ++i) {
        if (auto* output = dynamic_cast<MappedPin*>(pin); output != nullptr && output->Name() == name) {
            return output;
        }
    }
    return nullptr;
}

HRESULT Mpeg2Demultiplexer::CreateOutputPin(AM_MEDIA_TYPE* type, LPWSTR name, IPin** pin) {
    return Guarded([&] {
        if (type == nullptr || name == nullptr || pin == nullptr) {
            return E_POINTER;
        }
        *pin = nullptr;
        const std::lock_guard lock(FilterLock());
        if (ComPtr<IPin> taken; SUCCEEDED(FindPin(name, &taken))) {
            return VFW_E_DUPLICATE_NAME;
        }
        auto made = std::make_unique<MappedPin>(*this, name);
        made->OfferTypes(CompletedTypes(MediaType(*type)));
        *pin = ComPtr<IPin>(&AddPin(std::move(made))).Detach();
        return S_OK;
    });
}

HRESULT Mpeg2Demultiplexer::SetOutputPinMediaType(LPWSTR name, AM_MEDIA_TYPE* type) {
    return Guarded([&] {
        if (name == nullptr || type == nullptr) {
            return E_POINTER;
        }
        const std::lock_guard lock(FilterLock());
        MappedPin* pin = FindOutput(name);
        if (pin == nullptr) {
            return VFW_E_NOT_FOUND;
        }
        if (pin->IsConnected()) {
            return VFW_E_ALREADY_CONNECTED;
        }
        pin->OfferTypes(CompletedTypes(MediaType(*type)));
        return S_OK;
    });
}

HRESULT Mpeg2Demultiplexer::DeleteOutputPin(LPWSTR name) {
    return Guarded([&] {
        if (name == nullptr) {
            return E_POINTER;
        }
        const std::lock_guard lock(FilterLock());
        MappedPin* pin = FindOutput(name);
        if (pin == nullptr) {
            return VFW_E_NOT_FOUND;
        }
        if (const ComPtr<IPin> peer = pin->Peer(); peer != nullptr) {
            if (State() != State_Stopped) {
                return VFW_E_NOT_STOPPED;
            }
            (void)peer->Disconnect(); // a peer that is not stopped keeps its half
            (void)pin->Disconnect();  // this filter is stopped
        }
        RemoveRoutes(*pin);
        RetirePin(*pin);
        return S_OK;
    });
}

} // namespace vistrame
