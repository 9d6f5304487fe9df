// Texts of service information: one row per table and per thing that is dropped.
#include "transport/service_text.h"

#include <gtest/gtest.h>

#include "tests/transport/ts_builder.h"

namespace vistrame {
namespace {

TEST(ServiceText, BecomesUtf8) {
    struct Row {
        const char* name;
        std::string text;
        std::string utf8;
    };
    const std::string nul(1, '\0');
    const Row rows[] = {
        {"ascii", "News 24", "News 24"},
        {"empty", "", ""},
        {"default table: marks before letters",
         "\xC8uber \xCFS\xC2"
         "e \xCB"
         "c",
         "über Šé ç"},
        {"default table: letters, euro", "\xA4 \xE1\xF9 \xFB", "€ Æø ß"},
        {"default table: mark on a letter that has no such form", "\xC3q", "q\xCC\x82"},
        {"default table: mark at the end, and before no letter", "a\xC1", "a\xEF\xBF\xBD"},
        {"control codes",
         "\x86"
         "A\x87\x8A"
         "B\x05",
         "A B"},
        {"8859-5 by one byte", "\x01\xBF\xE0", "Пр"},
        {"8859-9 by one byte", "\x05\xDD", "İ"},
        {"8859-15 by one byte", "\x0B\xA4", "€"},
        {"8859-2 by three bytes", "\x10" + nul + "\x02\xB1", "ą"},
        {"8859-12, which there is not",
         "\x10" + nul +
             "\x0C"
             "a\xB1\xB2",
         "a\xEF\xBF\xBD"},
        {"cut selection", "\x10" + nul, ""},
        {"two bytes each", "\x11" + nul + "A\x20\xAC\xE0\x8A\xE0\x86" + nul + "B" + nul, "A€ B"},
        {"utf-8", "\x15Tøndel \xF0\x9F\x93\xBA\xC2\x86", "Tøndel 📺"},
        {"utf-8, malformed",
         "\x15"
         "a\xC3(\xED\xA0\x80\xFF\xE2\x82",
         "a\xEF\xBF\xBD(\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const Row& row : rows) {
        const Bytes bytes(row.text.begin(), row.text.end());
        EXPECT_EQ(DecodeServiceText(bytes), row.utf8) << row.name;
    }
}

} // namespace
} // namespace vistrame
