#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <cstdint>
#include <string_view>

namespace vistrame {

// Says what happens inside the filters, a line per event, to whoever reads OutputDebugString: a debugger, or
// Wine's channel "debugstr". Where there is no Windows, on standard error.
//
//     Trace(pin, ": connected as ", type, ", buffers of ", bytes, " bytes");
//
// Off unless the environment has a variable VISTRAME_TRACE when the module is loaded. While off a call costs
// a look at one bool, so its parts should be cheap to name: they are formatted behind that look only. It is
// for events, never for each packet, sample or picture.
//
// Threads    any, under any lock but that of a filter's or pin's own data, which naming it takes.
// Errors     none come out, and no memory is needed; a line that is too long is cut.
bool TraceIsWanted() noexcept;
inline const bool kTraceOn = TraceIsWanted();

// One line, its newline included, to where this system's traces go.
void WriteTraceLine(const char* line) noexcept;

// A number for people who compare results and PIDs.
struct Hex {
    std::uint32_t value;
};

// Of an HRESULT, which is a long.
constexpr Hex HexOf(long result) {
    return {static_cast<std::uint32_t>(result)};
}

// One line being put together. What shall be traced as a part has a << of its own.
class TraceLine {
public:
    static constexpr std::size_t kLength = 250;

    TraceLine& operator<<(std::string_view text) noexcept;
    // What is not ASCII becomes a question mark.
    TraceLine& operator<<(std::wstring_view text) noexcept;
    TraceLine& operator<<(Hex hex) noexcept { return Number(hex.value, 16); }
    template <std::integral Integer>
    TraceLine& operator<<(Integer number) noexcept {
        return Number(static_cast<std::int64_t>(number), 10);
    }

    std::string_view Text() const { return {text_.data(), size_}; }
    void Write() const noexcept;

private:
    TraceLine& Number(std::int64_t number, int base) noexcept {
        std::array<char, 24> digits{};
        const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number, base);
        return *this << std::string_view(digits.data(), written.ptr);
    }

    std::array<char, kLength> text_{};
    std::size_t size_ = 0;
};

template <class... Parts>
void Trace(const Parts&... parts) noexcept {
    if (!kTraceOn) {
        return;
    }
    try {
        TraceLine line;
        (line << ... << parts);
        line.Write();
    } catch (...) { // a lock the system would not give
    }
}

} // namespace vistrame
