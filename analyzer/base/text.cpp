#include "analyzer/base/text.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>

namespace vistrame {

std::string Format(const char* format, ...) {
    char buffer[1024];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    return {buffer, static_cast<std::size_t>(std::clamp(length, 0, static_cast<int>(sizeof buffer) - 1))};
}

std::vector<std::string> Words(std::string_view line) {
    line = line.substr(0, line.find('#'));
    constexpr std::string_view kBlanks = " \t\r\n\v\f";
    std::vector<std::string> words;
    for (auto at = line.find_first_not_of(kBlanks); at != std::string_view::npos;
         at = line.find_first_not_of(kBlanks, at)) {
        const auto end = std::min(line.find_first_of(kBlanks, at), line.size());
        words.emplace_back(line.substr(at, end - at));
        at = end;
    }
    return words;
}

std::optional<std::uint32_t> ParseNumber(std::string_view text) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> ParseAmount(std::string_view text, double largest) {
    double value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    // The comparisons are false for what is no number.
    if (error != std::errc() || end != text.data() + text.size() || !(value >= 0 && value <= largest)) {
        return std::nullopt;
    }
    return value;
}

} // namespace vistrame
