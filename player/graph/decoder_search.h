// Searches the platform's filter mapper for decoders.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <vector>

#include <windows.h>

#include "player/graph/class_id.h"

namespace vistrame {

inline constexpr std::size_t kMaxCandidates = 32; // per search

struct DecoderCandidate {
    CLSID id;
    std::array<wchar_t, 260> friendlyName; // terminated; a longer name is cut
};

// What a decoder must take: major type and subtype side by side, as the filter mapper wants them.
struct OfferedType {
    GUID major;
    GUID subtype;
};

// Filters registered with more than do-not-use merit that take one of `types` and have an output pin, in the
// mapper's order. Returns how many were written to `results`, 0 on any failure.
std::size_t EnumerateDecoders(std::span<const OfferedType> types, std::span<DecoderCandidate> results);

// Finds decoders and remembers them: a search reads the registered data of every filter of the system, 0.1 s
// under Wine, which leaves some of the keys open besides. What was not found is searched for again.
class DecoderSearch {
public:
    // The first decoder for one of `subtypes`. `lastResort` is passed over unless nothing else was found.
    std::optional<DecoderCandidate> Find(const ClassId& major, std::span<const ClassId> subtypes,
                                         const ClassId& lastResort);
    // What is registered may have changed.
    void Forget() { known_.clear(); }

private:
    struct Known {
        ClassId subtype; // the first of those asked for: no two searches share it
        DecoderCandidate decoder;
    };
    std::vector<Known> known_;
};

} // namespace vistrame
