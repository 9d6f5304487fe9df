#include "analyzer/session/decoder_choices.h"

#include <windows.h>

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "contract/launch_line.h"
#include "player/graph/decoder_catalogue.h"

namespace vistrame {

namespace {

constexpr std::uint32_t kChoices = 10; // of each setting

bool IsRegistered(const ClassId& id) {
    const std::string key =
        Format("CLSID\\{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", static_cast<unsigned>(id.data1),
               id.data2, id.data3, id.data4[0], id.data4[1], id.data4[2], id.data4[3], id.data4[4],
               id.data4[5], id.data4[6], id.data4[7]);
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, Widen(key).c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) {
        return false;
    }
    (void)RegCloseKey(opened); // was only looked for
    return true;
}

} // namespace

std::vector<SettingChoice> DecoderChoices(bool mpeg2) {
    std::vector<SettingChoice> choices{{0, "Automatic"}};
    for (std::uint32_t value = 1; value < kChoices; ++value) {
        const DecoderRow& row = FindDecoderRow(mpeg2 ? kVideoTypeMpeg2 : kVideoTypeH264, value, value);
        if (row.source == DecoderSource::kFixedPair) {
            const bool installed = IsRegistered(row.video.id) && IsRegistered(row.audio.id);
            choices.push_back(
                {value, Narrow(row.video.graphName) + (installed ? "" : " (not installed here)")});
        }
    }
    return choices;
}

} // namespace vistrame
