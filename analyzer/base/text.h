// Small text helpers: bounded formatting, words, and numbers that are numbers to their last letter.
//
// Errors     a text that is not wholly a number, or does not fit, reads as nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vistrame {

[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);

// Split at blanks; what follows a `#` is left out.
std::vector<std::string> Words(std::string_view line);

// Decimal, or hexadecimal with 0x in front.
std::optional<std::uint32_t> ParseNumber(std::string_view text);
// Not negative, at most `largest`; a decimal point is allowed, an exponent is not.
std::optional<double> ParseAmount(std::string_view text, double largest);

} // namespace vistrame
