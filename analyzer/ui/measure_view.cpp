#include "analyzer/ui/measure_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <utility>

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/stream/selection.h"
#include "analyzer/ui/scale.h"

namespace vistrame {

namespace {

constexpr wchar_t kClass[] = L"VistrameAnalyzerMeasures";

struct ErrorRow {
    const char* name;
    std::uint64_t ErrorCounts::*count;
};
// ETSI TR 101 290: priority 1, then those of priority 2 that are measured.
constexpr std::array kErrors{
    ErrorRow{"1.1  TS_sync_loss", &ErrorCounts::syncLoss},
    ErrorRow{"1.2  Sync_byte_error", &ErrorCounts::syncByte},
    ErrorRow{"1.3  PAT_error", &ErrorCounts::pat},
    ErrorRow{"1.4  Continuity_count_error", &ErrorCounts::continuity},
    ErrorRow{"1.5  PMT_error", &ErrorCounts::pmt},
    ErrorRow{"1.6  PID_error", &ErrorCounts::pid},
    ErrorRow{"2.1  Transport_error", &ErrorCounts::transport},
    ErrorRow{"2.3a PCR_repetition_error", &ErrorCounts::pcrRepetition},
    ErrorRow{"2.3b PCR_discontinuity_error", &ErrorCounts::pcrDiscontinuity},
};

// A row of values as a filled line from left to right; the largest reaches the top.
void Plot(HDC device, const RECT& area, std::span<const float> values, float largest) {
    (void)FillRect(device, &area, GetSysColorBrush(COLOR_WINDOW)); // drawing that fails shows
    const auto count = static_cast<int>(values.size());
    for (int i = 0; i < count && largest > 0; ++i) {
        const float share = std::clamp(std::fabs(values[static_cast<std::size_t>(i)]) / largest, 0.0F, 1.0F);
        const int width = area.right - area.left;
        RECT bar{area.left + i * width / count, 0, area.left + (i + 1) * width / count, area.bottom};
        bar.top = area.bottom - static_cast<int>(share * static_cast<float>(area.bottom - area.top));
        (void)FillRect(device, &bar, GetSysColorBrush(COLOR_HIGHLIGHT));
    }
    (void)FrameRect(device, &area, GetSysColorBrush(COLOR_BTNSHADOW));
}

} // namespace

void MeasureView::Create(HWND parent, HFONT font, HFONT bold) {
    font_ = font;
    bold_ = bold;
    WNDCLASSEXW kind{};
    kind.cbSize = sizeof kind;
    kind.lpfnWndProc = Thunk;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    kind.lpszClassName = kClass;
    (void)RegisterClassExW(&kind); // stays registered when another file is opened
    window_ = MakeChild(parent, kClass, L"Measurements", 0, 0, font);
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

LRESULT CALLBACK MeasureView::Thunk(HWND window, UINT message, WPARAM w, LPARAM l) {
    auto* self = reinterpret_cast<MeasureView*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self != nullptr && message == WM_PAINT) {
        self->Paint();
        return 0;
    }
    return message == WM_ERASEBKGND ? 1 : DefWindowProcW(window, message, w, l);
}

void MeasureView::Show(const MultiplexReading& reading, const Session::Status& status) {
    reading_ = reading;
    programme_.reset();
    if (status.selection) {
        const auto found = std::ranges::find_if(reading_.programmes, [&](const ProgrammeReading& each) {
            return each.programme.number == status.selection->programme;
        });
        programme_ = found != reading_.programmes.end() ? std::optional(*found) : std::nullopt;
    }
    picture_ = status.pictureMsec ? Format("picture after %.0f ms", *status.pictureMsec) : "";
    picture_ += status.accessMsec ? Format(", random access %.0f ms before", *status.accessMsec) : "";
    if (std::wstring spoken = Spoken(); spoken != spoken_) {
        spoken_ = std::move(spoken);
        (void)SetWindowTextW(window_, spoken_.c_str()); // shown by nobody else
    }
    (void)InvalidateRect(window_, nullptr, FALSE);
}

// What is drawn has no text that a screen reader could find, so it is the window's own text. Without what
// changes all the time.
std::wstring MeasureView::Spoken() const {
    std::string text =
        "Measurements: " + (programme_ ? ProgrammeTitle(programme_->programme) : "no programme");
    text += picture_.empty() ? "" : ", " + picture_;
    for (const ErrorRow& row : kErrors) {
        const std::uint64_t count = reading_.errors.*row.count;
        text += count > 0 ? Format(", %s %llu", row.name, static_cast<unsigned long long>(count)) : "";
    }
    return Widen(text);
}

void MeasureView::Paint() {
    PAINTSTRUCT paint;
    HDC device = BeginPaint(window_, &paint);
    RECT area{};
    (void)GetClientRect(window_, &area); // empty at worst
    HDC memory = CreateCompatibleDC(device);
    HBITMAP bitmap = CreateCompatibleBitmap(device, area.right, area.bottom);
    HGDIOBJ before = SelectObject(memory, bitmap);
    (void)FillRect(memory, &area, GetSysColorBrush(COLOR_BTNFACE)); // drawing that fails shows, as below
    (void)SetBkMode(memory, TRANSPARENT);
    (void)SetTextColor(memory, GetSysColor(COLOR_BTNTEXT));
    Draw(memory, area);
    (void)BitBlt(device, 0, 0, area.right, area.bottom, memory, 0, 0, SRCCOPY);
    (void)SelectObject(memory, before);
    (void)DeleteObject(bitmap);
    (void)DeleteDC(memory);
    (void)EndPaint(window_, &paint);
}

int MeasureView::Text(HDC device, int x, int y, const std::string& text) const {
    const std::wstring wide = Widen(text);
    (void)TextOutW(device, x, y, wide.c_str(), static_cast<int>(wide.size()));
    return Scaled(window_, 16);
}

void MeasureView::Draw(HDC device, const RECT& area) const {
    (void)SelectObject(device, bold_);
    int top =
        Text(device, 0, 0,
             programme_ ? Format("%s: %.2f of %.2f Mbit/s", ProgrammeTitle(programme_->programme).c_str(),
                                 programme_->bitsPerSecond / 1e6, reading_.bitsPerSecond / 1e6)
                        : Format("%.2f Mbit/s", reading_.bitsPerSecond / 1e6));
    (void)SelectObject(device, font_);
    if (programme_) {
        top = DrawPcrs(device, area, DrawRate(device, area, top));
    }
    DrawPids(device, area, DrawErrors(device, area, top));
    (void)SelectObject(device, GetStockObject(SYSTEM_FONT));
}

int MeasureView::DrawRate(HDC device, const RECT& area, int top) const {
    const auto& history = programme_->history;
    const float largest = *std::ranges::max_element(history);
    const int height = Scaled(window_, 34);
    Plot(device, {0, top, area.right, top + height}, history, largest);
    top += height;
    top +=
        Text(device, 0, top, Format("last minute, at most %.2f Mbit/s", static_cast<double>(largest) / 1e6));
    return picture_.empty() ? top : top + Text(device, 0, top, picture_);
}

int MeasureView::DrawPcrs(HDC device, const RECT& area, int top) const {
    std::vector<float> jitters;
    float longest = 0;
    float largest = 0;
    for (const PcrWatch::Reading& reading : programme_->pcrs) {
        jitters.push_back(reading.jitterMicroseconds);
        largest = std::max(largest, std::fabs(reading.jitterMicroseconds));
        longest = std::max(longest, reading.intervalMsec);
    }
    const int height = Scaled(window_, 24);
    Plot(device, {0, top, area.right, top + height}, jitters, std::max(largest, 1.0F));
    top += height;
    return top + Text(device, 0, top,
                      Format("PCR: interval at most %.0f ms, jitter at most %.1f \xC2\xB5s",
                             static_cast<double>(longest), static_cast<double>(largest)));
}

int MeasureView::DrawErrors(HDC device, const RECT& area, int top) const {
    for (const ErrorRow& row : kErrors) {
        const std::uint64_t count = reading_.errors.*row.count;
        (void)SelectObject(device, count > 0 ? bold_ : font_);
        (void)Text(device, area.right - Scaled(window_, 60), top,
                   Format("%llu", static_cast<unsigned long long>(count)));
        top += Text(device, 0, top, row.name);
    }
    (void)SelectObject(device, font_);
    return top;
}

void MeasureView::DrawPids(HDC device, const RECT& area, int top) const {
    for (const PidReading& pid : reading_.pids) {
        if (pid.continuityErrors + pid.transportErrors > 0 && top + Scaled(window_, 16) <= area.bottom) {
            top += Text(device, 0, top,
                        Format("PID 0x%04X: %llu continuity, %llu transport", pid.pid,
                               static_cast<unsigned long long>(pid.continuityErrors),
                               static_cast<unsigned long long>(pid.transportErrors)));
        }
    }
}

} // namespace vistrame
