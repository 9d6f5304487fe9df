#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include <windows.h>
#include <dshow.h>

#include "filters/base/com_object.h"
#include "filters/base/media_type.h"

namespace vistrame {

// A sample over bytes that somebody else keeps in memory, so that nothing is copied into it. No allocator's:
// there are as many as are under way, and none has to be waited for.
//
// Threads    whoever holds it, one at a time.
// Ownership  shares `owner`, which keeps the bytes, until its last reference goes.
// Errors     the bytes are there to be read: neither they nor their number change.
class LentSample final : public WithInterfaces<ComObject, IMediaSample> {
public:
    LentSample(std::shared_ptr<const void> owner, std::span<const std::uint8_t> bytes)
        : owner_(std::move(owner)), bytes_(bytes) {}

    HRESULT STDMETHODCALLTYPE GetPointer(BYTE** bytes) override;
    long STDMETHODCALLTYPE GetSize() override { return static_cast<long>(bytes_.size()); }
    HRESULT STDMETHODCALLTYPE GetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) override;
    HRESULT STDMETHODCALLTYPE SetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) override;
    HRESULT STDMETHODCALLTYPE IsSyncPoint() override { return syncPoint_ ? S_OK : S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetSyncPoint(BOOL yes) override { return Set(&syncPoint_, yes); }
    HRESULT STDMETHODCALLTYPE IsPreroll() override { return preroll_ ? S_OK : S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetPreroll(BOOL yes) override { return Set(&preroll_, yes); }
    long STDMETHODCALLTYPE GetActualDataLength() override { return GetSize(); }
    HRESULT STDMETHODCALLTYPE SetActualDataLength(long length) override;
    HRESULT STDMETHODCALLTYPE GetMediaType(AM_MEDIA_TYPE** type) override;
    HRESULT STDMETHODCALLTYPE SetMediaType(AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE IsDiscontinuity() override { return discontinuity_ ? S_OK : S_FALSE; }
    HRESULT STDMETHODCALLTYPE SetDiscontinuity(BOOL yes) override { return Set(&discontinuity_, yes); }
    HRESULT STDMETHODCALLTYPE GetMediaTime(LONGLONG* start, LONGLONG* stop) override;
    HRESULT STDMETHODCALLTYPE SetMediaTime(LONGLONG* start, LONGLONG* stop) override;

private:
    struct Times {
        std::optional<LONGLONG> start, stop;
        void Set(const LONGLONG* newStart, const LONGLONG* newStop);
    };

    ~LentSample() override = default;
    static HRESULT Set(bool* flag, BOOL yes);

    const std::shared_ptr<const void> owner_;
    const std::span<const std::uint8_t> bytes_;
    Times time_;      // 100 ns of stream time
    Times mediaTime_; // whatever whoever delivers counts in
    std::optional<MediaType> type_;
    bool syncPoint_ = false;
    bool preroll_ = false;
    bool discontinuity_ = false;
};

} // namespace vistrame
