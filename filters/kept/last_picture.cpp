#include "filters/kept/last_picture.h"

#include <utility>

#include "transport/access_unit.h"
#include "transport/stream_demultiplexer.h"

namespace vistrame {
namespace {

// Keeps the last unit that decoding can begin with, and the one behind it.
class Finder final : public StreamHandler {
public:
    explicit Finder(Coding coding) : coding_(coding) {}

    void OnUnit(const StreamUnit& unit) override {
        const bool follows = std::exchange(secondDue_, false) && !unit.discontinuity && !unit.cut;
        if (!unit.cut && IsRandomAccessPoint(coding_, unit.data)) {
            found_ = LastPicture{.data = {unit.data.begin(), unit.data.end()}, .first = unit.data.size()};
            secondDue_ = true;
        } else if (follows) {
            found_->data.insert(found_->data.end(), unit.data.begin(), unit.data.end());
        }
    }
    void OnClock(const ClockReference& /*clock*/) override {}

    std::optional<LastPicture> Take() { return std::move(found_); }

private:
    const Coding coding_;
    std::optional<LastPicture> found_;
    bool secondDue_ = false;
};

std::optional<LastPicture> Search(KeptBlocks blocks, Pid pid, Coding coding) {
    Finder finder(coding);
    StreamDemultiplexer demultiplexer(finder);
    demultiplexer.EarlyUnits(false); // a unit comes when the next begins, and then it is whole
    demultiplexer.AddStream(pid, StreamKind::kElementary, coding);
    for (const auto& block : blocks) {
        if (!block->continues && &block != &blocks.front()) {
            demultiplexer.AnnounceDiscontinuity();
        }
        demultiplexer.Feed(block->packets);
    }
    return finder.Take(); // what is under way has not come in as a whole
}

} // namespace

std::optional<LastPicture> FindLastPicture(const KeptStream::Snapshot& kept, Pid pid, Coding coding) {
    std::optional<LastPicture> found;
    SearchNewest(kept, [&](KeptBlocks blocks) {
        found = Search(blocks, pid, coding);
        return found.has_value();
    });
    return found;
}

} // namespace vistrame
