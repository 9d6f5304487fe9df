#pragma once

#include <algorithm>
#include <type_traits>
#include <vector>

#include <windows.h>
#include <dshow.h>

#include "filters/base/com_object.h"
#include "filters/base/guarded.h"
#include "filters/base/media_type.h"

namespace vistrame {

// Enumerators over a snapshot: what the filter or pin had when the enumerator was made. A later change does
// not make one invalid, so none ever answers that it is out of step.
//
// Threads    like any COM enumerator, one thread at a time.
// Ownership  each item handed out belongs to the caller: a reference, or a media type in task memory.
template <class Interface, class Item, class Raw, Raw (*HandOut)(const Item&)>
class SnapshotEnumerator final : public WithInterfaces<ComObject, Interface> {
public:
    explicit SnapshotEnumerator(std::vector<Item> items, std::size_t next = 0)
        : items_(std::move(items)), next_(next) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, Raw* out, ULONG* fetched) override {
        if (out == nullptr || (fetched == nullptr && wanted != 1)) {
            return E_POINTER;
        }
        ULONG count = 0;
        for (; count < wanted && next_ < items_.size(); ++count) {
            out[count] = HandOut(items_[next_]);
            if constexpr (std::is_pointer_v<Raw>) {
                if (out[count] == nullptr) {
                    break; // no memory; whoever asks again gets it
                }
            }
            ++next_;
        }
        if (fetched != nullptr) {
            *fetched = count;
        }
        return count == wanted ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        const std::size_t left = items_.size() - next_;
        next_ += std::min<std::size_t>(count, left);
        return count <= left ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override {
        next_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(Interface** clone) override {
        if (clone == nullptr) {
            return E_POINTER;
        }
        *clone = nullptr;
        return Guarded([&] {
            *clone = MakeObject<SnapshotEnumerator>(items_, next_).Detach();
            return S_OK;
        });
    }

private:
    ~SnapshotEnumerator() override = default;

    std::vector<Item> items_;
    std::size_t next_;
};

inline IPin* HandOutPin(const ComPtr<IPin>& pin) {
    pin.Get()->AddRef();
    return pin.Get();
}
inline AM_MEDIA_TYPE* HandOutType(const MediaType& type) {
    return type.NewTaskCopy();
}

using PinEnumerator = SnapshotEnumerator<IEnumPins, ComPtr<IPin>, IPin*, HandOutPin>;
using MediaTypeEnumerator = SnapshotEnumerator<IEnumMediaTypes, MediaType, AM_MEDIA_TYPE*, HandOutType>;

} // namespace vistrame
