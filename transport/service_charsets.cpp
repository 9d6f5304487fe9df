#include "transport/service_charsets.h"

#include <algorithm>
#include <array>

namespace vistrame {
namespace {

struct Part {
    unsigned number;
    std::u16string_view upper; // 0xA0 to 0xFF
};

// clang-format off
constexpr std::array kParts{
    Part{1,
         u"\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯°±²³´µ¶·¸¹º»¼½¾¿"
         u"ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß"
         u"àáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ"},
    Part{2,
         u"\u00A0Ą˘Ł¤ĽŚ§¨ŠŞŤŹ\u00ADŽŻ°ą˛ł´ľśˇ¸šşťź˝žż"
         u"ŔÁÂĂÄĹĆÇČÉĘËĚÍÎĎĐŃŇÓÔŐÖ×ŘŮÚŰÜÝŢß"
         u"ŕáâăäĺćçčéęëěíîďđńňóôőö÷řůúűüýţ˙"},
    Part{3,
         u"\u00A0Ħ˘£¤\uFFFDĤ§¨İŞĞĴ\u00AD\uFFFDŻ°ħ²³´µĥ·¸ışğĵ½\uFFFDż"
         u"ÀÁÂ\uFFFDÄĊĈÇÈÉÊËÌÍÎÏ\uFFFDÑÒÓÔĠÖ×ĜÙÚÛÜŬŜß"
         u"àáâ\uFFFDäċĉçèéêëìíîï\uFFFDñòóôġö÷ĝùúûüŭŝ˙"},
    Part{4,
         u"\u00A0ĄĸŖ¤ĨĻ§¨ŠĒĢŦ\u00ADŽ¯°ą˛ŗ´ĩļˇ¸šēģŧŊžŋ"
         u"ĀÁÂÃÄÅÆĮČÉĘËĖÍÎĪĐŅŌĶÔÕÖ×ØŲÚÛÜŨŪß"
         u"āáâãäåæįčéęëėíîīđņōķôõö÷øųúûüũū˙"},
    Part{5,
         u"\u00A0ЁЂЃЄЅІЇЈЉЊЋЌ\u00ADЎЏАБВГДЕЖЗИЙКЛМНОП"
         u"РСТУФХЦЧШЩЪЫЬЭЮЯабвгдежзийклмноп"
         u"рстуфхцчшщъыьэюя№ёђѓєѕіїјљњћќ§ўџ"},
    Part{6,
         u"\u00A0\uFFFD\uFFFD\uFFFD¤\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD،\u00AD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\u061B\uFFFD\uFFFD\uFFFD\u061F"
         u"\uFFFD\u0621\u0622\u0623\u0624\u0625\u0626\u0627\u0628\u0629\u062A\u062B\u062C\u062D\u062E\u062F\u0630\u0631\u0632\u0633\u0634\u0635\u0636\u0637\u0638\u0639\u063A\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"
         u"\u0640\u0641\u0642\u0643\u0644\u0645\u0646\u0647\u0648\u0649\u064A\u064B\u064C\u064D\u064E\u064F\u0650\u0651\u0652\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
    Part{7,
         u"\u00A0‘’£€₯¦§¨©ͺ«¬\u00AD\uFFFD―°±²³΄΅Ά·ΈΉΊ»Ό½ΎΏ"
         u"ΐΑΒΓΔΕΖΗΘΙΚΛΜΝΞΟΠΡ\uFFFDΣΤΥΦΧΨΩΪΫάέήί"
         u"ΰαβγδεζηθικλμνξοπρςστυφχψωϊϋόύώ\uFFFD"},
    Part{8,
         u"\u00A0\uFFFD¢£¤¥¦§¨©×«¬\u00AD®¯°±²³´µ¶·¸¹÷»¼½¾\uFFFD"
         u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD‗"
         u"\u05D0\u05D1\u05D2\u05D3\u05D4\u05D5\u05D6\u05D7\u05D8\u05D9\u05DA\u05DB\u05DC\u05DD\u05DE\u05DF\u05E0\u05E1\u05E2\u05E3\u05E4\u05E5\u05E6\u05E7\u05E8\u05E9\u05EA\uFFFD\uFFFD\u200E\u200F\uFFFD"},
    Part{9,
         u"\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯°±²³´µ¶·¸¹º»¼½¾¿"
         u"ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏĞÑÒÓÔÕÖ×ØÙÚÛÜİŞß"
         u"àáâãäåæçèéêëìíîïğñòóôõö÷øùúûüışÿ"},
    Part{10,
         u"\u00A0ĄĒĢĪĨĶ§ĻĐŠŦŽ\u00ADŪŊ°ąēģīĩķ·ļđšŧž―ūŋ"
         u"ĀÁÂÃÄÅÆĮČÉĘËĖÍÎÏÐŅŌÓÔÕÖŨØŲÚÛÜÝÞß"
         u"āáâãäåæįčéęëėíîïðņōóôõöũøųúûüýþĸ"},
    Part{11,
         u"\u00A0กขฃคฅฆงจฉชซฌญฎฏฐฑฒณดตถทธนบปผฝพฟ"
         u"ภมยรฤลฦวศษสหฬอฮฯะ\u0E31าำ\u0E34\u0E35\u0E36\u0E37\u0E38\u0E39\u0E3A\uFFFD\uFFFD\uFFFD\uFFFD฿"
         u"เแโใไๅๆ\u0E47\u0E48\u0E49\u0E4A\u0E4B\u0E4C\u0E4D\u0E4E๏๐๑๒๓๔๕๖๗๘๙๚๛\uFFFD\uFFFD\uFFFD\uFFFD"},
    Part{13,
         u"\u00A0”¢£¤„¦§Ø©Ŗ«¬\u00AD®Æ°±²³“µ¶·ø¹ŗ»¼½¾æ"
         u"ĄĮĀĆÄÅĘĒČÉŹĖĢĶĪĻŠŃŅÓŌÕÖ×ŲŁŚŪÜŻŽß"
         u"ąįāćäåęēčéźėģķīļšńņóōõö÷ųłśūüżž’"},
    Part{14,
         u"\u00A0Ḃḃ£ĊċḊ§Ẁ©ẂḋỲ\u00AD®ŸḞḟĠġṀṁ¶ṖẁṗẃṠỳẄẅṡ"
         u"ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏŴÑÒÓÔÕÖṪØÙÚÛÜÝŶß"
         u"àáâãäåæçèéêëìíîïŵñòóôõöṫøùúûüýŷÿ"},
    Part{15,
         u"\u00A0¡¢£€¥Š§š©ª«¬\u00AD®¯°±²³Žµ¶·ž¹º»ŒœŸ¿"
         u"ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß"
         u"àáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ"},
};

// ISO 6937 as DVB uses it (euro sign at 0xA4); 0xC1 to 0xCF are marks that stand before their letter.
constexpr std::u16string_view kDefaultUpper =
    u"\u00A0¡¢£€¥\uFFFD§¤‘“«←↑→↓°±²³×µ¶·÷’”»¼½¾¿"
    u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD―¹®©™♪¬¦\uFFFD\uFFFD\uFFFD\uFFFD⅛⅜⅝⅞"
    u"ΩÆĐªĦ\uFFFDĲĿŁØŒºÞŦŊŉĸæđðħıĳŀłøœßþŧŋ\u00AD";

struct Mark {
    std::uint8_t code;
    char16_t combining;
    std::string_view letters;
    std::u16string_view composed; // letter by letter
};
constexpr std::array kMarks{
    Mark{0xC1, 0x0300, "aeinouwyAEINOUWY",
         u"àèìǹòùẁỳÀÈÌǸÒÙẀỲ"},
    Mark{0xC2, 0x0301, "acegiklmnoprsuwyzACEGIKLMNOPRSUWYZ",
         u"áćéǵíḱĺḿńóṕŕśúẃýźÁĆÉǴÍḰĹḾŃÓṔŔŚÚẂÝŹ"},
    Mark{0xC3, 0x0302, "aceghijosuwyzACEGHIJOSUWYZ",
         u"âĉêĝĥîĵôŝûŵŷẑÂĈÊĜĤÎĴÔŜÛŴŶẐ"},
    Mark{0xC4, 0x0303, "aeinouvyAEINOUVY",
         u"ãẽĩñõũṽỹÃẼĨÑÕŨṼỸ"},
    Mark{0xC5, 0x0304, "aegiouyAEGIOUY",
         u"āēḡīōūȳĀĒḠĪŌŪȲ"},
    Mark{0xC6, 0x0306, "aegiouAEGIOU",
         u"ăĕğĭŏŭĂĔĞĬŎŬ"},
    Mark{0xC7, 0x0307, "abcdefghmnoprstwxyzABCDEFGHIMNOPRSTWXYZ",
         u"ȧḃċḋėḟġḣṁṅȯṗṙṡṫẇẋẏżȦḂĊḊĖḞĠḢİṀṄȮṖṘṠṪẆẊẎŻ"},
    Mark{0xC8, 0x0308, "aehiotuwxyAEHIOUWXY",
         u"äëḧïöẗüẅẍÿÄËḦÏÖÜẄẌŸ"},
    Mark{0xCA, 0x030A, "auwyAU",
         u"åůẘẙÅŮ"},
    Mark{0xCB, 0x0327, "cdeghklnrstCDEGHKLNRST",
         u"çḑȩģḩķļņŗşţÇḐȨĢḨĶĻŅŖŞŢ"},
    Mark{0xCD, 0x030B, "ouOU",
         u"őűŐŰ"},
    Mark{0xCE, 0x0328, "aeiouAEIOU",
         u"ąęįǫųĄĘĮǪŲ"},
    Mark{0xCF, 0x030C, "acdeghijklnorstuzACDEGHIKLNORSTUZ",
         u"ǎčďěǧȟǐǰǩľňǒřšťǔžǍČĎĚǦȞǏǨĽŇǑŘŠŤǓŽ"},
};
// clang-format on

static_assert(std::ranges::all_of(kParts, [](const Part& part) { return part.upper.size() == 96; }));
static_assert(kDefaultUpper.size() == 96);
static_assert(std::ranges::all_of(kMarks,
                                  [](const Mark& m) { return m.letters.size() == m.composed.size(); }));

} // namespace

std::u16string_view UpperHalfOf8859(unsigned part) {
    const auto* row = std::ranges::find(kParts, part, &Part::number);
    return row != kParts.end() ? row->upper : std::u16string_view{};
}

std::u16string_view UpperHalfOfDefault() {
    return kDefaultUpper;
}

char16_t CombiningMark(std::uint8_t code) {
    const auto* mark = std::ranges::find(kMarks, code, &Mark::code);
    return mark != kMarks.end() ? mark->combining : u'\0';
}

char16_t Compose(std::uint8_t code, char letter) {
    const auto* mark = std::ranges::find(kMarks, code, &Mark::code);
    const std::size_t at = mark != kMarks.end() ? mark->letters.find(letter) : std::string_view::npos;
    return at != std::string_view::npos ? mark->composed[at] : u'\0';
}

} // namespace vistrame
