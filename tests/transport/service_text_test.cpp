// Texts of service information: one row per table and per thing that is dropped.
#include "transport/service_text.h"

#include <gtest/gtest.h>

#include "tests/transport/ts_builder.h"

namespace vistrame {
namespace {

TEST(ServiceText, BecomesUtf8) {
    struct Row {
        const char* name;
        std::string text; // octal escapes, since hexadecimal ones would swallow the letters behind them
        std::string utf8;
    };
    using namespace std::string_literals;
    const Row rows[] = {
        {"ascii", "News 24", "News 24"},
        {"default table: marks before letters", "\310uber \317S\302e \313c", "über Šé ç"},
        {"default table: letters, euro", "\244 \341\371 \373", "€ Æø ß"},
        {"default table: mark on a letter that has no such form", "\303q", "q\xCC\x82"},
        {"default table: mark at the end, and before no letter", "a\301", "a\xEF\xBF\xBD"},
        {"control codes", "\206A\207\212B\005", "A B"},
        {"8859-5 by one byte", "\001\277\340", "Пр"},
        {"8859-9 by one byte", "\005\335", "İ"},
        {"8859-2 by three bytes", "\020\000\002\261"s, "ą"},
        {"8859-12, which there is not", "\020\000\014a\261\262"s, "a\xEF\xBF\xBD"},
        {"cut selection", "\020\000"s, ""},
        {"two bytes each", "\021\000A\040\254\340\212\340\206\000B\000"s, "A€ B"},
        {"utf-8", "\025Tøndel 📺\302\206", "Tøndel 📺"},
        {"utf-8, malformed", "\025a\303(\355\240\200\377\342\202",
         "a\xEF\xBF\xBD(\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const Row& row : rows) {
        const Bytes bytes(row.text.begin(), row.text.end());
        EXPECT_EQ(DecodeServiceText(bytes), row.utf8) << row.name;
    }
}

} // namespace
} // namespace vistrame
