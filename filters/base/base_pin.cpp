#include "filters/base/base_pin.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "filters/base/enumerators.h"
#include "filters/base/guarded.h"

namespace vistrame {

HRESULT PinIdentity::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = FindInterface(iid);
    if (*object == nullptr) {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

BasePin::BasePin(BaseFilter& filter, PIN_DIRECTION direction, std::wstring name)
    : WithInterfaces(filter), direction_(direction), name_(std::move(name)) {}

ComPtr<IBaseFilter> FilterOf(IPin& pin) {
    PIN_INFO info{};
    ComPtr<IBaseFilter> filter;
    if (SUCCEEDED(pin.QueryPinInfo(&info))) {
        *filter.ReleaseAndGetAddressOf() = info.pFilter; // with its reference
    }
    return filter;
}

TraceLine& operator<<(TraceLine& line, const BasePin& pin) {
    return line << pin.Filter() << "/" << std::wstring_view(pin.Name());
}

ComPtr<IPin> BasePin::Peer() const {
    const std::lock_guard lock(leafLock_);
    return peer_;
}

MediaType BasePin::Type() const {
    const std::lock_guard lock(leafLock_);
    return type_;
}

HRESULT BasePin::CheckConnectable(IPin* peer) const {
    if (peer == nullptr) {
        return E_POINTER;
    }
    if (IsConnected()) {
        return VFW_E_ALREADY_CONNECTED;
    }
    if (filter_.State() != State_Stopped) {
        return VFW_E_NOT_STOPPED;
    }
    PIN_DIRECTION theirs{};
    if (FAILED(peer->QueryDirection(&theirs)) || theirs == direction_) {
        return VFW_E_INVALID_DIRECTION;
    }
    return S_OK;
}

void BasePin::SetConnection(IPin* peer, const MediaType& type) {
    {
        MediaType copy(type);
        const std::lock_guard lock(leafLock_);
        peer_ = peer;
        std::swap(type_, copy);
    }
    TypeAgreed(type);
}

void BasePin::SetType(const MediaType& type) {
    {
        MediaType copy(type);
        {
            const std::lock_guard lock(leafLock_);
            std::swap(type_, copy);
        }
        if (kTraceOn && copy != type) { // some renderers repeat theirs on every buffer
            Trace(*this, ": changes to ", type, ", was ", copy);
        }
    }
    TypeAgreed(type);
}

void BasePin::ClearConnection() {
    ComPtr<IPin> old; // let go after the lock
    MediaType none;
    const std::lock_guard lock(leafLock_);
    old.Swap(peer_);
    std::swap(type_, none);
}

HRESULT BasePin::Disconnect() {
    return Guarded([&] {
        const std::lock_guard lock(filter_.FilterLock());
        if (!IsConnected()) {
            return S_FALSE;
        }
        if (filter_.State() != State_Stopped) {
            return VFW_E_NOT_STOPPED;
        }
        Disconnected();
        ClearConnection();
        Trace(*this, ": disconnected");
        return S_OK;
    });
}

HRESULT BasePin::ConnectedTo(IPin** peer) {
    if (peer == nullptr) {
        return E_POINTER;
    }
    return Guarded([&] {
        *peer = Peer().Detach();
        return *peer != nullptr ? S_OK : VFW_E_NOT_CONNECTED;
    });
}

HRESULT BasePin::ConnectionMediaType(AM_MEDIA_TYPE* type) {
    if (type == nullptr) {
        return E_POINTER;
    }
    *type = AM_MEDIA_TYPE{};
    return Guarded([&] { return IsConnected() ? Type().CopyTo(type) : VFW_E_NOT_CONNECTED; });
}

HRESULT BasePin::QueryPinInfo(PIN_INFO* info) {
    if (info == nullptr) {
        return E_POINTER;
    }
    info->pFilter = ComPtr<IBaseFilter>(&filter_).Detach();
    info->dir = direction_;
    const std::size_t length = std::min<std::size_t>(name_.size(), MAX_PIN_NAME - 1);
    *std::copy_n(name_.begin(), length, info->achName) = L'\0';
    return S_OK;
}

HRESULT BasePin::QueryDirection(PIN_DIRECTION* direction) {
    if (direction == nullptr) {
        return E_POINTER;
    }
    *direction = direction_;
    return S_OK;
}

HRESULT BasePin::QueryId(LPWSTR* id) {
    if (id == nullptr) {
        return E_POINTER;
    }
    const std::size_t bytes = (name_.size() + 1) * sizeof(wchar_t);
    *id = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
    if (*id == nullptr) {
        return E_OUTOFMEMORY;
    }
    std::memcpy(*id, name_.c_str(), bytes);
    return S_OK;
}

HRESULT BasePin::QueryAccept(const AM_MEDIA_TYPE* type) {
    if (type == nullptr) {
        return E_POINTER;
    }
    return Guarded([&] { return CheckMediaType(MediaType(*type)) == S_OK ? S_OK : S_FALSE; });
}

HRESULT BasePin::EnumMediaTypes(IEnumMediaTypes** types) {
    if (types == nullptr) {
        return E_POINTER;
    }
    *types = nullptr;
    return Guarded([&] {
        *types = MakeObject<MediaTypeEnumerator>(OfferedTypes()).Detach();
        return S_OK;
    });
}

HRESULT BasePin::QueryInternalConnections(IPin** /*pins*/, ULONG* /*count*/) {
    return E_NOTIMPL; // documented to mean: every input feeds every output
}

HRESULT BasePin::Notify(IBaseFilter* /*from*/, Quality /*quality*/) {
    return E_NOTIMPL; // documented to mean: nothing was done about it
}

HRESULT BasePin::SetSink(IQualityControl* /*sink*/) {
    return E_NOTIMPL;
}

} // namespace vistrame
