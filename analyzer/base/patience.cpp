#include "analyzer/base/patience.h"

#include <algorithm>
#include <cstdlib>

#include "analyzer/base/text.h"

namespace vistrame {

double Patience() {
    constexpr double kMost = 100; // the longest of the program's own waits is then under an hour
    const char* const factor = std::getenv("VISTRAME_PATIENCE");
    return factor != nullptr ? std::max(ParseAmount(factor, kMost).value_or(1), 1.0) : 1;
}

} // namespace vistrame
