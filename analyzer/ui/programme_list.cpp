#include "analyzer/ui/programme_list.h"

#include <algorithm>

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/stream/selection.h"

namespace vistrame {

namespace {

constexpr int kLineHeight = 17;
constexpr int kMargin = 7;
constexpr COLORREF kPlaying = RGB(0x1F, 0x6F, 0xB5);
constexpr COLORREF kPlayingBack = RGB(0xDC, 0xEB, 0xF8);
constexpr COLORREF kLine = RGB(0xE2, 0xE4, 0xE8);

} // namespace

ProgrammeList::~ProgrammeList() {
    if (bold_ != nullptr) {
        (void)DeleteObject(bold_); // nobody draws with it any more
    }
}

void ProgrammeList::Create(HWND parent, int id, HFONT font, const StreamFile& file) {
    font_ = font;
    LOGFONTW look{};
    (void)GetObjectW(font, sizeof look, &look); // zeroed it makes the default font
    look.lfWeight = FW_BOLD;
    bold_ = CreateFontIndirectW(&look);
    for (const Programme& programme : file.Programmes()) {
        Row row{.number = programme.number,
                .title = Widen(Format("%u   ", programme.number) + ProgrammeTitle(programme)),
                .streams = {}};
        for (const ElementaryStream& stream : programme.streams) {
            row.streams.push_back(Widen(DescribeStream(stream)));
        }
        row.streams.push_back(Widen(Format("map 0x%04X, clock 0x%04X", programme.pmtPid, programme.pcrPid)));
        rows_.push_back(std::move(row));
    }
    window_ = CreateWindowExW(0, L"LISTBOX", L"",
                              WS_CHILD | WS_VISIBLE | WS_BORDER | WS_VSCROLL | WS_TABSTOP | LBS_NOTIFY |
                                  LBS_OWNERDRAWVARIABLE | LBS_NOINTEGRALHEIGHT,
                              0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr,
                              nullptr);
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        (void)SendMessageW(window_, LB_ADDSTRING, 0, static_cast<LPARAM>(i)); // the row's number is its data
    }
}

std::optional<std::uint16_t> ProgrammeList::Chosen() const {
    const auto at = static_cast<std::size_t>(SendMessageW(window_, LB_GETCURSEL, 0, 0));
    return at < rows_.size() ? std::optional(rows_[at].number) : std::nullopt;
}

void ProgrammeList::Show(std::optional<std::uint16_t> programme) {
    if (programme == shown_) {
        return;
    }
    shown_ = programme;
    const auto row = std::ranges::find(rows_, programme.value_or(0), &Row::number);
    const auto at = programme && row != rows_.end() ? row - rows_.begin() : std::ptrdiff_t{-1};
    (void)SendMessageW(window_, LB_SETCURSEL, static_cast<WPARAM>(at), 0); // -1: no selection
    (void)InvalidateRect(window_, nullptr, TRUE);
}

void ProgrammeList::Measure(MEASUREITEMSTRUCT& item) const {
    const std::size_t lines = item.itemData < rows_.size() ? rows_[item.itemData].streams.size() + 1 : 1;
    item.itemHeight = static_cast<UINT>(static_cast<int>(lines) * kLineHeight + 2 * kMargin);
}

void ProgrammeList::Draw(const DRAWITEMSTRUCT& item) const {
    if (item.itemData >= rows_.size()) {
        return;
    }
    const Row& row = rows_[item.itemData];
    const bool playing = row.number == shown_;
    HDC device = item.hDC;
    RECT area = item.rcItem;
    HBRUSH back = CreateSolidBrush(playing ? kPlayingBack : GetSysColor(COLOR_WINDOW));
    (void)FillRect(device, &area, back); // drawing that fails shows
    (void)DeleteObject(back);
    RECT line{area.left, area.bottom - 1, area.right, area.bottom};
    HBRUSH rule = CreateSolidBrush(kLine);
    (void)FillRect(device, &line, rule);
    (void)DeleteObject(rule);
    if (playing) {
        RECT bar{area.left, area.top, area.left + 4, area.bottom - 1};
        HBRUSH mark = CreateSolidBrush(kPlaying);
        (void)FillRect(device, &bar, mark);
        (void)DeleteObject(mark);
    }
    (void)SetBkMode(device, TRANSPARENT);
    HGDIOBJ old = SelectObject(device, bold_);
    (void)SetTextColor(device, playing ? kPlaying : GetSysColor(COLOR_WINDOWTEXT));
    const int left = area.left + 12;
    int top = area.top + kMargin;
    (void)TextOutW(device, left, top, row.title.c_str(), static_cast<int>(row.title.size()));
    (void)SelectObject(device, font_);
    (void)SetTextColor(device, GetSysColor(COLOR_GRAYTEXT));
    for (const std::wstring& stream : row.streams) {
        top += kLineHeight;
        (void)TextOutW(device, left, top, stream.c_str(), static_cast<int>(stream.size()));
    }
    (void)SelectObject(device, old);
    if ((item.itemState & ODS_FOCUS) != 0) {
        (void)DrawFocusRect(device, &area);
    }
}

} // namespace vistrame
