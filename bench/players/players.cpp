#include "bench/players/players.h"

namespace vistrame::bench {
namespace {

Player Ours(const std::string& build, const std::string& name, const std::string& settings) {
    // The analyzer's window has its picture area there.
    return {name,
            "printf '0 size 480 270\\n+0 play 1\\n+600 quit\\n' >\"$VISTRAME_SESSION/steady.script\"; "
            "exec " VISTRAME_SOURCE_DIR "/tools/wine " +
                build + "/analyzer/vistrame-analyzer.exe --player " + build +
                "/player/vistrame.exe --script \"$VISTRAME_SESSION/steady.script\" " + settings + " \"$1\"",
            310, 10, "vistrame.exe"};
}

} // namespace

std::vector<Player> Players(const std::string& build) {
    const std::string fade = " --set AudioUnmuteMsec=0";
    return {
        Ours(build, "Vistrame, VMR9", "--set UseVMR9=1" + fade),
        Ours(build, "Vistrame, Overlay Mixer", "--set UseVMR9=0" + fade),
        // It will not run as root: a user of its own name space has our rights and another number. Its
        // window's size follows a factor only.
        {"VLC",
         "case $1 in *576*) zoom=0.46875 ;; *) zoom=0.25 ;; esac; exec unshare --map-user=1000 vlc -I dummy "
         "--no-video-title-show --no-video-deco --no-osd --avcodec-hw=none --vout=xcb_x11 --video-x=0 "
         "--video-y=0 "
         "--zoom=$zoom \"$1\"",
         0, 0, "vlc"},
        {"mpv",
         "exec mpv --no-config --vo=x11 --hwdec=no --geometry=480x270+0+0 --no-border --no-osc --osd-level=0 "
         "\"$1\"",
         0, 0, "mpv"},
        {"mpv, low latency",
         "exec mpv --no-config --profile=low-latency --vo=x11 --hwdec=no --geometry=480x270+0+0 --no-border "
         "--no-osc "
         "--osd-level=0 \"$1\"",
         0, 0, "mpv"},
        {"ffplay",
         "SDL_RENDER_DRIVER=software exec ffplay -loglevel quiet -noborder -left 0 -top 0 -x 480 -y 270 "
         "\"$1\"",
         0, 0, "ffplay"},
    };
}

} // namespace vistrame::bench
