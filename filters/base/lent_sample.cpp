#include "filters/base/lent_sample.h"

#include "filters/base/guarded.h"

namespace vistrame {

HRESULT LentSample::GetPointer(BYTE** bytes) {
    if (bytes == nullptr) {
        return E_POINTER;
    }
    *bytes = const_cast<BYTE*>(bytes_.data()); // the interface knows no other kind; see the class
    return S_OK;
}

HRESULT LentSample::SetActualDataLength(long length) {
    return length == GetSize() ? S_OK : VFW_E_BUFFER_OVERFLOW;
}

void LentSample::Times::Set(const LONGLONG* newStart, const LONGLONG* newStop) {
    start = newStart != nullptr ? std::optional(*newStart) : std::nullopt;
    stop = newStart != nullptr && newStop != nullptr ? std::optional(*newStop) : std::nullopt;
}

HRESULT LentSample::GetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) {
    if (start == nullptr || stop == nullptr) {
        return E_POINTER;
    }
    if (!time_.start) {
        return VFW_E_SAMPLE_TIME_NOT_SET;
    }
    *start = *time_.start;
    *stop = time_.stop.value_or(*time_.start + 1); // as the system's own samples answer
    return time_.stop ? S_OK : VFW_S_NO_STOP_TIME;
}

HRESULT LentSample::SetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) {
    time_.Set(start, stop);
    return S_OK;
}

HRESULT LentSample::GetMediaTime(LONGLONG* start, LONGLONG* stop) {
    if (start == nullptr || stop == nullptr) {
        return E_POINTER;
    }
    if (!mediaTime_.start || !mediaTime_.stop) {
        return VFW_E_MEDIA_TIME_NOT_SET;
    }
    *start = *mediaTime_.start;
    *stop = *mediaTime_.stop;
    return S_OK;
}

HRESULT LentSample::SetMediaTime(LONGLONG* start, LONGLONG* stop) {
    mediaTime_.Set(start, stop);
    return S_OK;
}

HRESULT LentSample::GetMediaType(AM_MEDIA_TYPE** type) {
    if (type == nullptr) {
        return E_POINTER;
    }
    *type = type_ ? type_->NewTaskCopy() : nullptr;
    return !type_ ? S_FALSE : *type != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT LentSample::SetMediaType(AM_MEDIA_TYPE* type) {
    return Guarded([&] {
        type_ = type != nullptr ? std::optional<MediaType>(*type) : std::nullopt;
        return S_OK;
    });
}

HRESULT LentSample::Set(bool* flag, BOOL yes) {
    *flag = yes != FALSE;
    return S_OK;
}

} // namespace vistrame
