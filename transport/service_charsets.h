#pragma once

#include <cstdint>
#include <string_view>

namespace vistrame {

// Character tables of service information, as data.
//
// Units      a view of 96 characters for the codes 0xA0 to 0xFF; U+FFFD where a table defines none.

// Empty when there is no such part.
std::u16string_view UpperHalfOf8859(unsigned part);
// The default table; its marks (0xC1 to 0xCF) read as U+FFFD here.
std::u16string_view UpperHalfOfDefault();
// The mark with this code of the default table as a combining character; 0 when the code is none.
char16_t CombiningMark(std::uint8_t code);
// A letter with this mark as one character; 0 when there is none.
char16_t Compose(std::uint8_t code, char letter);

} // namespace vistrame
