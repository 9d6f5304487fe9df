#pragma once

#include <vector>

#include <windows.h>

#include "filters/base/media_type.h"
#include "transport/coding.h"

namespace vistrame {

// Media types of the demultiplexers' output pins.

// What a pin of this type carries; kOther when the type does not say.
Coding CodingOfPin(const MediaType& type);

// What a pin offers whose type was given from outside: that type as it is, and behind it, where its major
// type or subtype is null, the same type with the identifiers that its coding tells.
std::vector<MediaType> CompletedTypes(const MediaType& given);

// What the maker's demultiplexer offers for a VideoType or AudioType of the launch fields, best first. Empty
// for an AudioType that stands for no coding.
std::vector<MediaType> VideoPinTypes(ULONG videoType);
std::vector<MediaType> AudioPinTypes(ULONG audioType);

} // namespace vistrame
