#include "filters/pace/field_rate.h"

#include <algorithm>

namespace vistrame {

void FieldRate::Restart() {
    *this = {};
}

void FieldRate::Handed(std::int64_t due, std::int64_t now) {
    if (!begun_) {
        begun_ = windowStart_ = now;
        since_ = now - kTried; // nothing has been tried yet
    }
    ++count_;
    late_ += due < now ? 1 : 0;
    if (now - windowStart_ < kWindow) {
        return;
    }
    if (now - *begun_ >= kBeginning) {
        Judge(late_ * 4 > count_, now);
    }
    windowStart_ = now;
    late_ = count_ = 0;
}

void FieldRate::Judge(bool slow, std::int64_t now) {
    if (fields_ && slow) {
        wait_ = now - since_ < kTried ? std::min(wait_ * 2, kLongestWait) : kFirstWait;
        fields_ = false;
        since_ = now;
    } else if (!fields_ && slow) {
        since_ = now;
    } else if (!fields_ && now - since_ >= wait_) {
        fields_ = true;
        since_ = now;
    }
}

} // namespace vistrame
