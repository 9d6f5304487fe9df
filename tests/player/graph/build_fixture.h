#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "player/app/launch_fields.h"
#include "player/app/settings.h"
#include "player/graph/player_graph.h"
#include "tests/support/message_boxes.h"
#include "tests/support/recording_platform.h"

namespace vistrame::test {

GUID Guid(const std::string& text);

// The lines that contain one of `parts`.
Lines Matching(const Lines& lines, const Lines& parts);

// A graph of its own on a recording platform: MPEG-2 video, MPEG audio, the Cyberlink pair installed and
// chosen, VMR9 without the overlay's interface, so that no Direct3D device is made unless a test asks for
// one. Ends with everything let go of.
class BuildFixture {
public:
    explicit BuildFixture(const std::string& audioDecoder = "9BC1B780-85E3-11D2-98D0-0080C84E9C39",
                          const std::string& videoDecoder = "9BC1B781-85E3-11D2-98D0-0080C84E9C39");
    ~BuildFixture();

    int Build() { return player.BuildGraph(window); }
    Lines Calls() { return platform.journal.Take(); }
    // What the diagnostic log has got since the fixture was made.
    [[nodiscard]] std::string Log() const;

    RecordingPlatform platform;
    PlayerGraph player;
    MessageBoxes boxes;
    HWND window; // client area 640 x 360, never shown

private:
    std::size_t logStart_;
};

} // namespace vistrame::test
