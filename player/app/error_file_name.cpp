#include "player/app/error_file_name.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace vistrame {
namespace {

constexpr std::array kWeekdays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

} // namespace

bool FormatErrorFileName(std::span<char, kErrorFileNameSize> name, const char* directory,
                         const std::tm& localTime) {
    // The C library's fixed time text, line feed included, written out here because the libraries differ in
    // how they pad the day.
    const int length =
        std::snprintf(name.data(), name.size(), "%s%s %s %02d %02d:%02d:%02d %04d\n VistrameError.txt",
                      directory, kWeekdays.at(static_cast<std::size_t>(localTime.tm_wday)),
                      kMonths.at(static_cast<std::size_t>(localTime.tm_mon)), localTime.tm_mday,
                      localTime.tm_hour, localTime.tm_min, localTime.tm_sec, localTime.tm_year + 1900);
    if (length < 0 || static_cast<std::size_t>(length) >= name.size()) {
        return false;
    }
    const auto end = name.begin() + length;
    std::replace(name.begin() + 3, end, ':', '.');
    std::replace(name.begin(), end, '\n', ' ');
    return true;
}

} // namespace vistrame
