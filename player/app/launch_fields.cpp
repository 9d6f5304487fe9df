#include "player/app/launch_fields.h"

namespace vistrame {

std::uint32_t ParentWindow = 0;
std::uint32_t PipeId = 0;
std::int32_t ClockSource = 0;
std::int32_t VideoType = 0;
std::int32_t AudioType = 0;

namespace {

constexpr int kHexWidth = 8; // characters of one hexadecimal field, sign and "0x" included

bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// 16 and more for what is no digit.
unsigned DigitValue(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a') + 10 : 16;
}

// Reads one number as a scan conversion does: blanks, a sign, digits; 16 as base also allows the prefix "0x".
// A width of 0 sets no limit. What does not fit 32 bits wraps, as in the platform's own runtime. False when
// there is no number; `value` is untouched then.
bool ScanNumber(const char*& at, unsigned base, int width, std::uint32_t& value) {
    while (IsBlank(*at)) {
        ++at;
    }
    const char* const start = at;
    const bool negative = *at == '-';
    if (negative || *at == '+') {
        ++at;
    }
    if (base == 16 && at[0] == '0' && (at[1] == 'x' || at[1] == 'X')) {
        at += 2;
    }
    const char* const digits = at;
    std::uint32_t number = 0;
    for (; (width == 0 || at - start < width) && DigitValue(*at) < base; ++at) {
        number = number * base + DigitValue(*at);
    }
    if (at == digits) {
        return false;
    }
    value = negative ? 0 - number : number;
    return true;
}

bool ScanHexadecimal(const char*& at, std::uint32_t& value) {
    return ScanNumber(at, 16, kHexWidth, value);
}

bool ScanDecimal(const char*& at, std::int32_t& value) {
    std::uint32_t number = 0;
    if (!ScanNumber(at, 10, 0, number)) {
        return false;
    }
    value = static_cast<std::int32_t>(number);
    return true;
}

} // namespace

const char* ArgumentsBehindProgram(const char* wholeCommandLine) {
    const auto isBlank = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
    const char* at = wholeCommandLine;
    for (bool quoted = false; *at != '\0' && (quoted || !isBlank(*at)); ++at) {
        quoted ^= *at == '"';
    }
    while (*at != '\0' && isBlank(*at)) {
        ++at;
    }
    return at;
}

StartupFields ScanLaunchFields(const char* commandLine) {
    StartupFields rest;
    const char* at = commandLine;
    // The first field that is no number ends the scan.
    (void)(ScanHexadecimal(at, ParentWindow) && ScanHexadecimal(at, rest.placeholder) &&
           ScanHexadecimal(at, PipeId) && ScanDecimal(at, rest.reserved) && ScanDecimal(at, ClockSource) &&
           ScanDecimal(at, rest.openDebugLog) && ScanDecimal(at, VideoType) && ScanDecimal(at, AudioType));
    return rest;
}

} // namespace vistrame
