#include "filters/pictures/renderer_buffers.h"

namespace vistrame {

bool RendererBuffers::Connected(const MediaType& type) {
    const auto read = ReadPictureType(type, layouts_);
    target_ = read.value_or(target_);
    return read.has_value();
}

bool RendererBuffers::Take(ComPtr<IMediaSample>* sample, BYTE** buffer, DWORD flags) {
    if (FAILED(pin_.GetBuffer(sample, flags))) {
        return false;
    }
    AM_MEDIA_TYPE* type = nullptr;
    if ((*sample)->GetMediaType(&type) == S_OK && type != nullptr) {
        target_ = ReadPictureType(MediaType(*type), layouts_).value_or(target_);
        MediaType::FreeTaskCopy(type);
    }
    return SUCCEEDED((*sample)->GetPointer(buffer));
}

bool RendererBuffers::ChangeType(const MediaType& type) {
    const HRESULT result = TryType(type);
    Trace(pin_, ": renderer asked for ", type, ", result ", HexOf(result));
    return SUCCEEDED(result);
}

bool RendererBuffers::Reconnect(const MediaType& type) {
    HRESULT result = TryReconnect(type);
    if (result == VFW_E_BUFFERS_OUTSTANDING) {
        (void)pin_.DeliverBeginFlush(); // what it still holds it has shown
        (void)pin_.DeliverEndFlush();
        result = TryReconnect(type);
    }
    Trace(pin_, ": renderer asked to reconnect as ", type, ", result ", HexOf(result));
    return SUCCEEDED(result);
}

HRESULT RendererBuffers::TryType(const MediaType& type) {
    const auto read = ReadPictureType(type, layouts_);
    if (!read) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    const HRESULT result = pin_.ChangeType(type, read->Bytes());
    if (SUCCEEDED(result)) {
        target_ = *read;
    }
    return result;
}

HRESULT RendererBuffers::TryReconnect(const MediaType& type) {
    const ComPtr<IPin> renderer = pin_.Peer();
    if (renderer == nullptr) {
        return VFW_E_NOT_CONNECTED;
    }
    const HRESULT result = renderer->ReceiveConnection(&pin_, &type.Get());
    return FAILED(result) ? result : TryType(type);
}

} // namespace vistrame
