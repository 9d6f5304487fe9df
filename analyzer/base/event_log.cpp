#include "analyzer/base/event_log.h"

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"

namespace vistrame {

namespace {

// Before the entry point: as early as the program itself can tell.
const std::chrono::steady_clock::time_point kStart = std::chrono::steady_clock::now();

} // namespace

double EventLog::Now() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - kStart).count();
}

bool EventLog::Open(const std::string& path) {
    const std::scoped_lock hold(lock_);
    file_.open(FilePath(path), std::ios::binary | std::ios::trunc);
    return file_.is_open();
}

void EventLog::Line(const std::string& text) {
    const std::scoped_lock hold(lock_);
    if (file_.is_open()) {
        file_ << Format("%.3f ", Now() / 1000) << text << std::endl;
    }
}

} // namespace vistrame
