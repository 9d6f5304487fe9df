#include "player/graph/decoder_search.h"

#include <algorithm>

#include <dshow.h>

#include "player/graph/com.h"

namespace vistrame {
namespace {

using Microsoft::WRL::ComPtr;

// A property of text, owned.
class PropertyText {
public:
    PropertyText(IPropertyBag* bag, const wchar_t* name) {
        V_VT(&value_) = VT_BSTR;
        if (FAILED(bag->Read(name, &value_, nullptr))) {
            V_VT(&value_) = VT_EMPTY;
        }
    }
    PropertyText(const PropertyText&) = delete;
    PropertyText& operator=(const PropertyText&) = delete;
    ~PropertyText() { (void)VariantClear(&value_); } // fails only for types that are not stored here

    // Null when the property is missing.
    [[nodiscard]] const wchar_t* Get() const { return V_VT(&value_) == VT_BSTR ? V_BSTR(&value_) : nullptr; }

private:
    VARIANT value_{};
};

ComPtr<IEnumMoniker> EnumerateMatches(std::span<const OfferedType> types) {
    ComPtr<IEnumMoniker> matches;
    const ComPtr<IFilterMapper2> mapper = Create<IFilterMapper2>(CLSID_FilterMapper2);
    if (mapper) {
        (void)mapper->EnumMatchingFilters(
            matches.GetAddressOf(), 0, /*exact match*/ TRUE, MERIT_DO_NOT_USE + 1, /*input needed*/ TRUE,
            static_cast<DWORD>(types.size()), &types.data()->major, /*input medium*/ nullptr,
            /*input category*/ nullptr, /*renderer*/ FALSE, /*output needed*/ TRUE, 0, nullptr, nullptr,
            nullptr);
    }
    return matches;
}

bool ReadCandidate(IMoniker* moniker, DecoderCandidate& candidate) {
    ComPtr<IPropertyBag> bag;
    if (FAILED(moniker->BindToStorage(nullptr, nullptr, __uuidof(IPropertyBag),
                                      reinterpret_cast<void**>(bag.GetAddressOf())))) {
        return false;
    }
    const PropertyText id(bag.Get(), L"CLSID");
    if (id.Get() == nullptr || FAILED(CLSIDFromString(id.Get(), &candidate.id))) {
        return false;
    }
    const PropertyText name(bag.Get(), L"FriendlyName");
    candidate.friendlyName = {};
    if (name.Get() != nullptr) {
        (void)lstrcpynW(candidate.friendlyName.data(), name.Get(),
                        static_cast<int>(candidate.friendlyName.size()));
    }
    return true;
}

} // namespace

std::size_t EnumerateDecoders(std::span<const OfferedType> types, std::span<DecoderCandidate> results) {
    const ComPtr<IEnumMoniker> matches = EnumerateMatches(types);
    std::size_t count = 0;
    ComPtr<IMoniker> moniker;
    while (matches && count < results.size() &&
           matches->Next(1, moniker.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        if (ReadCandidate(moniker.Get(), results[count])) {
            ++count;
        }
    }
    return count;
}

std::optional<DecoderCandidate> DecoderSearch::Find(const ClassId& major, std::span<const ClassId> subtypes,
                                                    const ClassId& lastResort) {
    if (const auto known = std::ranges::find(known_, subtypes.front(), &Known::subtype);
        known != known_.end()) {
        return known->decoder;
    }
    std::vector<OfferedType> types;
    for (const ClassId& subtype : subtypes) {
        types.push_back({ToGuid(major), ToGuid(subtype)});
    }
    std::vector<DecoderCandidate> candidates(kMaxCandidates);
    candidates.resize(EnumerateDecoders(types, candidates));

    const auto isTaken = [&](const DecoderCandidate& candidate) {
        return candidates.size() == 1 || candidate.id != ToGuid(lastResort);
    };
    const auto taken = std::ranges::find_if(candidates, isTaken);
    if (taken == candidates.end()) {
        return std::nullopt;
    }
    known_.push_back({subtypes.front(), *taken});
    return *taken;
}

} // namespace vistrame
