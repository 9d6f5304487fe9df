#include "player/control/osd_element.h"

namespace vistrame {

std::array<OsdElement, 256> OsdElements{};

} // namespace vistrame
