#include "tests/support/watch/screen_watch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace vistrame::live {
namespace {

// Where the analyzer's window has its picture area (analyzer/ui/main_window.cpp, frameless).
constexpr int kAreaLeft = 310;
constexpr int kAreaTop = 10;
constexpr int kBits = 12;

using Picture = std::unique_ptr<XImage, void (*)(XImage*)>;

Picture Row(Display* display, int x, int y, int width) {
    return {XGetImage(display, DefaultRootWindow(display), x, y, static_cast<unsigned>(width), 1, AllPlanes,
                      ZPixmap),
            [](XImage* image) { XDestroyImage(image); }};
}

int Red(unsigned long pixel) {
    return static_cast<int>(pixel >> 16 & 0xFF);
}

int Green(unsigned long pixel) {
    return static_cast<int>(pixel >> 8 & 0xFF);
}

int Blue(unsigned long pixel) {
    return static_cast<int>(pixel & 0xFF);
}

// The number that a row of Gray-coded blocks shows; -1: some block is neither black nor white.
int ReadNumber(XImage& row, int width) {
    unsigned gray = 0;
    for (int bit = 0; bit < kBits; ++bit) {
        const int green = Green(XGetPixel(&row, (2 * bit + 1) * width / (2 * kBits), 0));
        if (green > 70 && green < 185) {
            return -1;
        }
        gray |= (green >= 185 ? 1U : 0U) << bit;
    }
    unsigned number = gray;
    for (unsigned shift = 1; shift < kBits; shift <<= 1) {
        number ^= number >> shift;
    }
    return static_cast<int>(number);
}

Look Read(XImage& picture, XImage& numbers, int width) {
    Look look;
    constexpr int kPoints = 8;
    for (int i = 0; i < kPoints; ++i) {
        const unsigned long pixel = XGetPixel(&picture, width / 20 + i * width / 40, 0);
        look.red += Red(pixel);
        look.green += Green(pixel);
        look.blue += Blue(pixel);
    }
    look.red /= kPoints;
    look.green /= kPoints;
    look.blue /= kPoints;
    if (look.green > 200 && look.blue > 200) {
        look.flash = look.red > 200 ? Look::Flash::kWhite : Look::Flash::kCyan;
    }
    look.number = ReadNumber(numbers, width);
    return look;
}

// The analyzer's window: a top one, as there is no window manager.
std::optional<Window> FindWindow(Display* display) {
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    std::optional<Window> found;
    if (XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count) == 0) {
        return found;
    }
    for (unsigned i = 0; i < count && !found; ++i) {
        char* name = nullptr;
        XWindowAttributes attributes{};
        if (XFetchName(display, children[i], &name) != 0 && name != nullptr) {
            if (std::string_view(name).ends_with("Vistrame analyzer") &&
                XGetWindowAttributes(display, children[i], &attributes) != 0 &&
                attributes.map_state == IsViewable) {
                found = children[i];
            }
            XFree(name);
        }
    }
    XFree(children);
    return found;
}

std::optional<ScreenWatch::Place> AreaPlace(Display* display, Window window) {
    Window child = 0;
    ScreenWatch::Place place;
    if (XTranslateCoordinates(display, window, DefaultRootWindow(display), kAreaLeft, kAreaTop, &place.x,
                              &place.y, &child) == 0) {
        return std::nullopt;
    }
    return place;
}

} // namespace

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool Look::Near(int colour) const {
    constexpr int kTolerance = 30;
    return std::abs(red - (colour >> 16)) <= kTolerance &&
           std::abs(green - (colour >> 8 & 0xFF)) <= kTolerance &&
           std::abs(blue - (colour & 0xFF)) <= kTolerance;
}

ScreenWatch::ScreenWatch(int width, int height, int colourRow)
    : width_(width), height_(height), colourRow_(colourRow < 0 ? height / 2 : colourRow) {
    thread_ = std::thread([this] { Run(); });
}

ScreenWatch::ScreenWatch(Place place, int width, int height)
    : width_(width), height_(height), colourRow_(height / 2), place_(place) {
    thread_ = std::thread([this] { Run(); });
}

ScreenWatch::~ScreenWatch() {
    stop_ = true;
    thread_.join();
}

std::vector<ScreenWatch::Change> ScreenWatch::Changes() const {
    const std::lock_guard hold(lock_);
    return changes_;
}

double ScreenWatch::LongestBlink() const {
    const std::lock_guard hold(lock_);
    return blink_;
}

void ScreenWatch::Run() {
    // A window may go between two calls: that is an answer of failure here, not the program's end.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    const std::unique_ptr<Display, void (*)(Display*)> display(XOpenDisplay(nullptr),
                                                               [](Display* open) { XCloseDisplay(open); });
    if (display == nullptr) {
        std::fputs("no display: run this inside tools/wine-session\n", stderr);
        std::exit(1);
    }
    double last = 0;
    while (!stop_) {
        std::this_thread::sleep_for(std::chrono::duration<double>(kPeriod));
        if (!place_) {
            const auto window = FindWindow(display.get());
            place_ = window ? AreaPlace(display.get(), *window) : std::nullopt;
            continue;
        }
        const double begin = Now();
        const Picture picture = Row(display.get(), place_->x, place_->y + colourRow_, width_);
        const Picture numbers = Row(display.get(), place_->x, place_->y + height_ / 12, width_);
        const double time = (begin + Now()) / 2;
        if (picture == nullptr || numbers == nullptr) {
            continue; // the window is larger than the display
        }
        const Look look = Read(*picture, *numbers, width_);
        const std::lock_guard hold(lock_);
        blink_ = last == 0 ? 0 : std::max(blink_, time - last);
        last = time;
        if (changes_.empty() || changes_.back().look != look) {
            changes_.push_back({time, look});
        }
    }
}

} // namespace vistrame::live
