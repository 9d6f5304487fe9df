#include "filters/base/trace.h"

#include <algorithm>

namespace vistrame {

namespace {

constexpr std::string_view kMark = "vistrame: "; // tells our lines from others'

} // namespace

TraceLine& TraceLine::operator<<(std::string_view text) noexcept {
    const std::size_t count = std::min(text.size(), text_.size() - size_);
    std::ranges::copy(text.substr(0, count), text_.begin() + static_cast<std::ptrdiff_t>(size_));
    size_ += count;
    return *this;
}

TraceLine& TraceLine::operator<<(std::wstring_view text) noexcept {
    for (const wchar_t character : text) {
        const char narrow = character < 0x80 ? static_cast<char>(character) : '?';
        *this << std::string_view(&narrow, 1);
    }
    return *this;
}

void TraceLine::Write() const noexcept {
    std::array<char, kMark.size() + kLength + 2> line{}; // ends with a newline and a null
    std::ranges::copy(kMark, line.begin());
    std::ranges::copy(Text(), line.begin() + kMark.size());
    line.at(kMark.size() + size_) = '\n';
    WriteTraceLine(line.data());
}

} // namespace vistrame
