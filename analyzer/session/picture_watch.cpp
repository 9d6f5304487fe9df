#include "analyzer/session/picture_watch.h"

#include <algorithm>
#include <utility>

#include "analyzer/base/event_log.h"

namespace vistrame {

namespace {

constexpr auto kPeriod = std::chrono::milliseconds(8); // finer than a picture at 60 per second
constexpr int kRows = 8;
constexpr int kColumnStep = 4;        // every fourth pixel of a row is enough
constexpr int kComponentDiffers = 24; // of 255: more than a decoder's noise
constexpr double kNewPicture = 0.10;  // share of pixels that differ in another programme's picture
constexpr double kMoved = 0.002;      // share that differs from one moving picture to the next

// A device context of the screen and a bitmap to copy rows into, for one look.
class RowCopy {
public:
    RowCopy(int width, int rows) {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = -rows; // top row first
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        bitmap_ = CreateDIBSection(screen_, &info, DIB_RGB_COLORS, &bits_, nullptr, 0);
        old_ = SelectObject(memory_, bitmap_);
    }
    RowCopy(const RowCopy&) = delete;
    RowCopy& operator=(const RowCopy&) = delete;
    ~RowCopy() {
        (void)SelectObject(memory_, old_); // a bitmap cannot be deleted while it is selected
        (void)DeleteObject(bitmap_);
        (void)DeleteDC(memory_);
        (void)ReleaseDC(nullptr, screen_);
    }
    void Copy(int x, int y, int width, int row) const {
        (void)BitBlt(memory_, 0, row, width, 1, screen_, x, y, SRCCOPY); // a failed copy reads as black
    }
    const std::uint32_t* Pixels() const {
        (void)GdiFlush(); // the copies above are done now
        return static_cast<const std::uint32_t*>(bits_);
    }

private:
    HDC screen_ = GetDC(nullptr);
    HDC memory_ = CreateCompatibleDC(screen_);
    HBITMAP bitmap_ = nullptr;
    HGDIOBJ old_ = nullptr;
    void* bits_ = nullptr;
};

bool Differs(std::uint32_t one, std::uint32_t other) {
    for (int shift = 0; shift < 24; shift += 8) {
        const int difference =
            static_cast<int>(one >> shift & 0xFF) - static_cast<int>(other >> shift & 0xFF);
        if (std::abs(difference) > kComponentDiffers) {
            return true;
        }
    }
    return false;
}

} // namespace

PictureWatch::PictureWatch(HWND area) : area_(area), thread_([this] { Run(); }) {}

PictureWatch::~PictureWatch() {
    stop_ = true;
    thread_.join();
}

void PictureWatch::Expect() {
    const std::scoped_lock hold(lock_);
    expecting_ = true;
    settled_ = false;
    before_.clear();
    first_.reset();
}

void PictureWatch::Settle() {
    const std::scoped_lock hold(lock_);
    settled_ = true;
}

std::optional<double> PictureWatch::FirstPicture() {
    const std::scoped_lock hold(lock_);
    return first_;
}

bool PictureWatch::Expecting() {
    const std::scoped_lock hold(lock_);
    return expecting_;
}

void PictureWatch::BeginMotion() {
    const std::scoped_lock hold(lock_);
    moving_ = true;
    motion_ = {};
    shown_.clear();
    shownSince_ = EventLog::Now();
}

PictureWatch::Motion PictureWatch::EndMotion() {
    const std::scoped_lock hold(lock_);
    moving_ = false;
    motion_.longestMsec = std::max(motion_.longestMsec, EventLog::Now() - shownSince_);
    return motion_;
}

PictureWatch::Sample PictureWatch::Look() const {
    RECT client{};
    POINT corner{};
    if (!GetClientRect(area_, &client) || !ClientToScreen(area_, &corner) || client.right <= 0) {
        return {};
    }
    const RowCopy copy(client.right, kRows);
    for (int row = 0; row < kRows; ++row) {
        copy.Copy(corner.x, corner.y + client.bottom * (2 * row + 1) / (2 * kRows), client.right, row);
    }
    const std::uint32_t* const pixels = copy.Pixels();
    Sample sample;
    if (pixels != nullptr) {
        for (int i = 0; i < client.right * kRows; i += kColumnStep) {
            sample.push_back(pixels[i]);
        }
    }
    return sample;
}

// Share of the pixels that differ; all of them when the area has changed its size.
double PictureWatch::Difference(const Sample& one, const Sample& other) {
    if (one.size() != other.size() || one.empty()) {
        return 1;
    }
    std::size_t differing = 0;
    for (std::size_t i = 0; i < one.size(); ++i) {
        differing += Differs(one[i], other[i]) ? 1 : 0;
    }
    return static_cast<double>(differing) / static_cast<double>(one.size());
}

bool PictureWatch::OneColour(const Sample& sample) {
    return std::ranges::none_of(sample, [&](std::uint32_t pixel) { return Differs(pixel, sample.front()); });
}

void PictureWatch::OnSample(const Sample& sample, double when) {
    if (expecting_ && (!settled_ || before_.empty())) {
        before_ = sample;
    } else if (expecting_ && !OneColour(sample) && Difference(sample, before_) >= kNewPicture) {
        first_ = when;
        expecting_ = false;
    }
    if (moving_) {
        OnMotion(sample, when);
    }
}

void PictureWatch::OnMotion(const Sample& sample, double when) {
    if (!shown_.empty() && Difference(sample, shown_) < kMoved) {
        return;
    }
    if (!shown_.empty()) {
        motion_.longestMsec = std::max(motion_.longestMsec, when - shownSince_);
        ++motion_.changes;
    }
    shown_ = sample;
    shownSince_ = when;
}

void PictureWatch::Run() {
    while (!stop_) {
        std::this_thread::sleep_for(kPeriod);
        {
            const std::scoped_lock hold(lock_);
            if (!expecting_ && !moving_) {
                continue;
            }
        }
        const double when = EventLog::Now();
        if (const Sample sample = Look(); !sample.empty()) {
            const std::scoped_lock hold(lock_);
            OnSample(sample, when);
        }
    }
}

} // namespace vistrame
