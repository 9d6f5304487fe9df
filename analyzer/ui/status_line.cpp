#include "analyzer/ui/status_line.h"

#include "analyzer/base/text.h"

namespace vistrame {

namespace {

constexpr double kRateMsec = 950; // about a second, so that the rate can be read

std::string ClockText(std::uint64_t pcr) {
    const std::uint64_t msec = pcr / (kPcrPerSecond / 1000);
    const auto part = [](std::uint64_t value) { return static_cast<unsigned>(value); };
    return Format("%02u:%02u:%02u.%03u", part(msec / 3'600'000), part(msec / 60'000 % 60),
                  part(msec / 1000 % 60), part(msec % 1000));
}

} // namespace

std::string StatusLine::Text(const Session::Status& status, double fileSeconds) {
    const double now = EventLog::Now();
    if (now - sentAt_ > kRateMsec) {
        bitsPerSecond_ =
            static_cast<double>(status.counts.sent - sentBefore_) * kPacketSize * 8e3 / (now - sentAt_);
        sentBefore_ = status.counts.sent;
        sentAt_ = now;
    }
    std::string text = Format("%.2f Mbit/s      PCR %s      ", bitsPerSecond_ / 1e6,
                              status.pcr ? ClockText(*status.pcr).c_str() : "--");
    text += fileSeconds > 0 ? Format("%.1f of %.1f s", status.fileSeconds, fileSeconds) : "live";
    text += Format("      %llu packets sent", static_cast<unsigned long long>(status.counts.sent));
    if (status.counts.lost + status.counts.damaged > 0) {
        text += Format(", %llu lost, %llu damaged", static_cast<unsigned long long>(status.counts.lost),
                       static_cast<unsigned long long>(status.counts.damaged));
    }
    return status.last.empty() ? text : text + "      " + status.last;
}

} // namespace vistrame
