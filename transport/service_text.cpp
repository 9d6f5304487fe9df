#include "transport/service_text.h"

#include <algorithm>

#include "transport/service_charsets.h"

namespace vistrame {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLineBreak = 0x8A;      // in single-byte tables
constexpr char32_t kWideControls = 0xE000; // where tables of two bytes put the same control codes
constexpr std::uint8_t kUpperHalf = 0xA0;

class Utf8Text {
public:
    // Drops what is a control code in any of the tables.
    void Append(char32_t character) {
        const char32_t control = character >= kWideControls + 0x80 && character <= kWideControls + 0x9F
                                     ? character - kWideControls
                                     : character;
        if (control == kLineBreak) {
            text_ += ' ';
        } else if (control >= 0x20 && (control < 0x7F || control > 0x9F)) {
            Encode(character);
        }
    }
    std::string Take() { return std::move(text_); }

private:
    void Encode(char32_t c) {
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
            c = kReplacement;
        }
        if (c < 0x80) {
            text_ += static_cast<char>(c);
            return;
        }
        const int followers = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        const unsigned lead = followers == 1 ? 0xC0 : followers == 2 ? 0xE0 : 0xF0;
        text_ += static_cast<char>(lead | c >> (6 * followers));
        for (int i = followers - 1; i >= 0; --i) {
            text_ += static_cast<char>(0x80 | (c >> (6 * i) & 0x3F));
        }
    }

    std::string text_;
};

void DecodeSingleByte(ByteSpan text, std::u16string_view upper, Utf8Text& out) {
    for (const std::uint8_t code : text) {
        out.Append(code < kUpperHalf ? char32_t{code} : upper[code - kUpperHalf]);
    }
}

void DecodeDefault(ByteSpan text, Utf8Text& out) {
    const std::u16string_view upper = UpperHalfOfDefault();
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::uint8_t code = text[at];
        const char16_t mark = CombiningMark(code);
        if (mark == 0 || at + 1 == text.size() || text[at + 1] >= 0x80) {
            out.Append(code < kUpperHalf ? char32_t{code} : upper[code - kUpperHalf]);
            continue;
        }
        const char letter = static_cast<char>(text[++at]);
        if (const char16_t composed = Compose(code, letter); composed != 0) {
            out.Append(composed);
        } else {
            out.Append(static_cast<unsigned char>(letter));
            out.Append(mark);
        }
    }
}

void DecodeUcs2(ByteSpan text, Utf8Text& out) {
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        out.Append(ReadBig16(text, at));
    }
}

// One character from the front; malformed bytes give one replacement each.
char32_t TakeUtf8(ByteSpan& text) {
    const std::uint8_t lead = text[0];
    text = text.subspan(1);
    if (lead < 0x80) {
        return lead;
    }
    const std::size_t followers = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < followers) {
        return kReplacement;
    }
    char32_t character = lead & (0x3FU >> followers);
    for (std::size_t i = 0; i < followers; ++i) {
        if ((text[i] & 0xC0) != 0x80) {
            return kReplacement;
        }
        character = character << 6 | (text[i] & 0x3F);
    }
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    text = text.subspan(followers);
    return character >= kSmallest[followers] ? character : kReplacement;
}

void DecodeUtf8(ByteSpan text, Utf8Text& out) {
    while (!text.empty()) {
        out.Append(TakeUtf8(text));
    }
}

// East Asian tables are not carried: what is ASCII in them is kept.
void DecodeUnknown(ByteSpan text, Utf8Text& out) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool wide = text[at] >= kUpperHalf;
        out.Append(wide ? kReplacement : char32_t{text[at]});
        at += wide ? 1 : 0;
    }
}

} // namespace

std::string DecodeServiceText(ByteSpan text) {
    Utf8Text out;
    if (text.empty() || text[0] >= 0x20) {
        DecodeDefault(text, out);
        return out.Take();
    }
    const std::uint8_t selection = text[0];
    if (selection == 0x10 && text.size() >= 3) {
        const std::u16string_view upper = UpperHalfOf8859(ReadBig16(text, 1));
        upper.empty() ? DecodeUnknown(text.subspan(3), out) : DecodeSingleByte(text.subspan(3), upper, out);
        return out.Take();
    }
    const ByteSpan rest = text.subspan(1);
    if (const std::u16string_view upper = UpperHalfOf8859(selection + 4U);
        selection <= 0x0B && !upper.empty()) {
        DecodeSingleByte(rest, upper, out);
    } else if (selection == 0x11) {
        DecodeUcs2(rest, out);
    } else if (selection == 0x15) {
        DecodeUtf8(rest, out);
    } else {
        DecodeUnknown(rest, out);
    }
    return out.Take();
}

} // namespace vistrame
