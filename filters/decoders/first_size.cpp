#include "filters/decoders/first_size.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "filters/base/base_pin.h"
#include "filters/base/wine.h"
#include "filters/kept/largest_picture.h"

namespace vistrame {
namespace {

using namespace std::chrono_literals;

// From the stream's beginning: in half a second most programmes have sent a picture that others follow.
constexpr auto kWaitFor = 700ms;
// What that much of a stream does not hold (programmes that are announced only, or scrambled) does not count.
constexpr auto kWhole = 5s;
constexpr auto kRound = 10ms;

bool KeepsItsSize(IPin& renderer) {
    const ComPtr<IBaseFilter> filter = IsWine() ? FilterOf(renderer) : nullptr;
    CLSID id{};
    return filter != nullptr && SUCCEEDED(filter->GetClassID(&id)) && id == CLSID_VideoMixingRenderer9;
}

} // namespace

PictureOutput::Size FirstSize(IPin& renderer, Coding coding) {
    constexpr PictureOutput::Size most = PictureOutput::kLargest;
    if (!KeepsItsSize(renderer)) {
        return most;
    }
    for (;;) {
        const KeptStream::Snapshot kept = KeptStreamOfProcess().Take();
        const auto span = kept.empty() ? 0s : KeptStream::Clock::now() - kept.front()->begun;
        const auto largest = FindLargestPicture(kept, coding);
        if (largest && (largest->certain || span >= kWhole)) {
            return {std::min(most.width, static_cast<int>(largest->width)),
                    std::min(most.height, static_cast<int>(largest->height))};
        }
        if (kept.empty() || coding != Coding::kMpeg2Video || span >= kWaitFor) {
            return most;
        }
        std::this_thread::sleep_for(kRound);
    }
}

} // namespace vistrame
