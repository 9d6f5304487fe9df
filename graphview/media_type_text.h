// Media types and identifiers in words.
#pragma once

#include <string>

#include <windows.h>
#include <dshow.h>

namespace vistrame {

std::string Utf8(const wchar_t* text);

// "{1234...}"
std::string GuidText(const GUID& id);

// Kind, coding or layout, then size, shape and rate as far as the format block says them.
std::string Describe(const AM_MEDIA_TYPE& type);

} // namespace vistrame
