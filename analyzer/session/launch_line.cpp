#include "analyzer/session/launch_line.h"

#include "analyzer/base/text.h"
#include "contract/launch_line.h"

namespace vistrame {

std::string FormatLaunchLine(const LaunchLine& line) {
    // The second and fourth number have no meaning to the player.
    return Format(kLaunchLineFormat, static_cast<unsigned>(line.parentWindow), 0U,
                  static_cast<unsigned>(line.pipeId), 0, line.clockSource, line.log ? 1 : 0, line.videoType,
                  line.audioType);
}

} // namespace vistrame
