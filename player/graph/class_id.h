#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vistrame {

// A class, interface or media identifier in the platform's memory layout, for code without <windows.h>.
struct ClassId {
    std::uint32_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
    std::array<std::uint8_t, 8> data4;

    friend constexpr bool operator==(const ClassId&, const ClassId&) = default;
};
static_assert(sizeof(ClassId) == 16);

namespace detail {

constexpr std::uint64_t HexDigits(std::string_view text, std::size_t first, std::size_t count) {
    std::uint64_t value = 0;
    for (const char c : text.substr(first, count)) {
        const bool digit = c >= '0' && c <= '9';
        if (!digit && (c < 'A' || c > 'F')) {
            throw "identifiers are written in upper-case hexadecimal digits";
        }
        value = value * 16 + static_cast<std::uint64_t>(digit ? c - '0' : c - 'A' + 10);
    }
    return value;
}

} // namespace detail

// "04FE9017-F873-410E-871E-AB91661A4EF7"_id: the form in which vendors and the registry write identifiers.
// A malformed one does not compile.
consteval ClassId operator""_id(const char* text, std::size_t length) {
    const std::string_view id(text, length);
    if (id.size() != 36 || id[8] != '-' || id[13] != '-' || id[18] != '-' || id[23] != '-') {
        throw "an identifier has the form XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";
    }
    ClassId value{static_cast<std::uint32_t>(detail::HexDigits(id, 0, 8)),
                  static_cast<std::uint16_t>(detail::HexDigits(id, 9, 4)),
                  static_cast<std::uint16_t>(detail::HexDigits(id, 14, 4)),
                  {}};
    for (std::size_t i = 0; i < 8; ++i) {
        value.data4[i] = static_cast<std::uint8_t>(detail::HexDigits(id, i < 2 ? 19 + 2 * i : 20 + 2 * i, 2));
    }
    return value;
}

} // namespace vistrame
