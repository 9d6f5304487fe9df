#include "analyzer/session/player_end.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "analyzer/base/text.h"

namespace vistrame {

namespace {

struct BoxRow {
    std::string_view words; // of the player's message
    std::string_view meaning;
};

constexpr std::string_view kRegister =
    "The companion filters are not registered here. Run \"regsvr32 vistrame.ax\" in the player's folder, "
    "then "
    "start again.";

// By the first row whose words the message holds.
constexpr std::array kBoxes{
    BoxRow{"Invalid MPEG2 Codec",
           "The MPEG-2 decoder chosen in the settings does not exist. Choose another."},
    BoxRow{"Codecs could not be loaded",
           "The decoder chosen in the settings is not installed here. Choose \"automatic\" or one that is."},
    BoxRow{
        "codec found",
        "No decoder for this coding is installed. Register vistrame.ax (\"regsvr32 vistrame.ax\"), which has "
        "one for every coding, or install another."},
    BoxRow{"expected input/output pins",
           "The decoder chosen in the settings is an empty place of the list, or has other pins than its "
           "maker's "
           "have. Choose \"automatic\" or another."},
    BoxRow{"Feedfilter", kRegister},
    BoxRow{"Demux", kRegister},
    BoxRow{"OSD filter",
           "The source of the on-screen text is not registered. Run \"regsvr32 vistrame.ax\", or switch the "
           "text "
           "off in the settings."},
    BoxRow{"VMR9",
           "The renderer VMR9 cannot be made, mostly for want of a graphics driver. Choose \"Overlay Mixer\" "
           "in the "
           "settings."},
    BoxRow{"Direct3D",
           "The graphics driver has no Direct3D 9 to offer. Choose \"Overlay Mixer\" in the settings."},
    BoxRow{"graph builder", "DirectShow is missing or damaged on this system."},
    BoxRow{"media control", "DirectShow is missing or damaged on this system."},
};

// The player's own end in any other way than on Quit.
constexpr std::uint32_t kGaveUp = 0xFFFFFFFF;
constexpr std::uint32_t kFirstException = 0xC0000000;

} // namespace

std::string ExplainPlayerEnd(std::optional<std::uint32_t> exitCode, const std::string& box) {
    const auto* const row = std::ranges::find_if(
        kBoxes, [&box](const BoxRow& each) { return box.find(each.words) != std::string::npos; });
    if (row != kBoxes.end()) {
        return std::string(row->meaning);
    }
    if (!exitCode) {
        return "Is vistrame.exe beside this program, or where --player says?";
    }
    const std::string code = Format("Exit code 0x%08X: ", static_cast<unsigned>(*exitCode));
    if (*exitCode == kGaveUp) {
        return code +
               "its window or the stream's pipe was closed, or the stream stood still for so long that it "
               "gave up. Starting it again does no harm.";
    }
    return code + (*exitCode >= kFirstException
                       ? "it crashed, maybe in a decoder of another maker. Try another "
                         "decoder or renderer in the settings."
                       : "it was ended from outside. Starting it again does no harm.");
}

} // namespace vistrame
