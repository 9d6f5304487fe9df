#include "analyzer/ui/programme_list.h"

#include <algorithm>
#include <array>
#include <utility>

#include <windows.h>
// Needs the former.
#include <commctrl.h>

#include "analyzer/base/event_log.h"
#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/measure/programme_state.h"
#include "analyzer/stream/selection.h"
#include "analyzer/ui/scale.h"

namespace vistrame {

namespace {

constexpr double kDigitMsec = 1200; // between two digits of a number

struct Column {
    const wchar_t* title;
    int width;
    int format;
};
constexpr std::array kTitles{
    Column{L"Programme", 104, LVCFMT_LEFT}, Column{L"No.", 44, LVCFMT_RIGHT},
    Column{L"Mbit/s", 48, LVCFMT_RIGHT},    Column{L"State", 84, LVCFMT_LEFT},
    Column{L"Codings", 150, LVCFMT_LEFT},   Column{L"PIDs", 170, LVCFMT_LEFT},
};

// `picture`: what is known of the first video.
std::string Codings(const Programme& programme, std::string picture) {
    std::string text;
    for (const ElementaryStream& stream : programme.streams) {
        if (stream.coding != Coding::kOther) {
            text += (text.empty() ? "" : ", ") + std::string(CodingName(stream.coding));
            if (IsVideo(stream.coding) && !picture.empty()) {
                text += " " + std::exchange(picture, "");
            }
            text += stream.language.empty() ? "" : " " + stream.language;
            text += stream.audioDescription ? " (description)" : "";
        }
    }
    return text;
}

std::string Pids(const Programme& programme) {
    std::string text;
    for (const ElementaryStream& stream : programme.streams) {
        text += Format("0x%04X ", stream.pid);
    }
    return text + Format("map 0x%04X clock 0x%04X", programme.pmtPid, programme.pcrPid);
}

} // namespace

void ProgrammeList::Create(HWND parent, int id, HFONT font) {
    NameNextChild(parent, L"&Programmes");
    window_ = MakeChild(parent, WC_LISTVIEWW, L"Programmes",
                        WS_BORDER | WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS, id, font);
    (void)SendMessageW(window_, LVM_SETEXTENDEDLISTVIEWSTYLE, 0, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    dpi_ = DpiOf(window_);
    for (std::size_t i = 0; i < kTitles.size(); ++i) {
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
        column.fmt = kTitles[i].format;
        column.cx = Scaled(window_, kTitles[i].width);
        column.pszText = const_cast<wchar_t*>(kTitles[i].title); // only read
        (void)SendMessageW(window_, LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
    }
}

void ProgrammeList::SetDpi(int dpi) {
    for (std::size_t i = 0; i < kTitles.size(); ++i) {
        const auto width = static_cast<int>(SendMessageW(window_, LVM_GETCOLUMNWIDTH, i, 0));
        (void)SendMessageW(window_, LVM_SETCOLUMNWIDTH, i, MulDiv(width, dpi, dpi_)); // a loss shows
    }
    dpi_ = dpi;
}

std::vector<ProgrammeList::Row> ProgrammeList::RowsOf(const std::vector<Programme>& known,
                                                      const MultiplexReading& reading) const {
    std::vector<Row> rows;
    const auto add = [&rows](const Programme& programme, const std::string& rate, const std::string& state,
                             const std::string& picture) {
        rows.push_back(
            {.number = programme.number,
             .cells = {Widen(ProgrammeTitle(programme)), Widen(Format("%u", programme.number)), Widen(rate),
                       Widen(state), Widen(Codings(programme, picture)), Widen(Pids(programme))}});
    };
    for (const ProgrammeReading& each : reading.programmes) {
        add(each.programme, Format("%.2f", each.bitsPerSecond / 1e6), ProgrammeState(each), each.picture);
    }
    for (const Programme& programme : known) {
        if (std::ranges::find(rows, programme.number, &Row::number) == rows.end()) {
            add(programme, "", reading.tables ? "not sent now" : "", "");
        }
    }
    std::ranges::sort(rows, {}, &Row::number);
    return rows;
}

void ProgrammeList::Show(const std::vector<Programme>& known, const MultiplexReading& reading) {
    Fill(RowsOf(known, reading));
}

void ProgrammeList::Fill(std::vector<Row> rows) {
    const bool same = std::ranges::equal(rows, rows_, {}, &Row::number, &Row::number);
    filling_ = true;
    if (!same) {
        (void)SendMessageW(window_, LVM_DELETEALLITEMS, 0, 0);
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        LVITEMW item{};
        item.iItem = static_cast<int>(i);
        item.pszText = rows[i].cells[0].data();
        if (!same) {
            item.mask = LVIF_TEXT;
            (void)SendMessageW(window_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        }
        for (std::size_t column = 0; column < kColumns; ++column) {
            if (!same || rows[i].cells[column] != rows_[i].cells[column]) {
                item.iSubItem = static_cast<int>(column);
                item.pszText = rows[i].cells[column].data();
                (void)SendMessageW(window_, LVM_SETITEMTEXTW, i, reinterpret_cast<LPARAM>(&item));
            }
        }
    }
    rows_ = std::move(rows);
    filling_ = false;
    if (!same && marked_) {
        Select(*marked_);
    }
}

void ProgrammeList::Select(std::uint16_t number) {
    const auto row = std::ranges::find(rows_, number, &Row::number);
    if (row == rows_.end()) {
        return;
    }
    const auto at = static_cast<WPARAM>(row - rows_.begin());
    LVITEMW item{};
    item.stateMask = item.state = LVIS_SELECTED | LVIS_FOCUSED;
    filling_ = true;
    (void)SendMessageW(window_, LVM_SETITEMSTATE, at, reinterpret_cast<LPARAM>(&item));
    (void)SendMessageW(window_, LVM_ENSUREVISIBLE, at, FALSE);
    filling_ = false;
}

void ProgrammeList::Mark(std::optional<std::uint16_t> programme) {
    if (std::exchange(marked_, programme) != programme && programme) {
        Select(*programme);
    }
}

void ProgrammeList::Zap(std::uint16_t number) {
    if (std::ranges::find(rows_, number, &Row::number) != rows_.end()) {
        chosen_(number);
    }
}

void ProgrammeList::OnNotify(const NMHDR& notice) {
    if (notice.code == LVN_ITEMCHANGED) {
        const auto& change = reinterpret_cast<const NMLISTVIEW&>(notice);
        const bool selected =
            (change.uNewState & LVIS_SELECTED) != 0 && (change.uOldState & LVIS_SELECTED) == 0;
        if (!filling_ && selected && static_cast<std::size_t>(change.iItem) < rows_.size()) {
            chosen_(rows_[static_cast<std::size_t>(change.iItem)].number);
        }
    } else if (notice.code == LVN_ITEMACTIVATE) { // double click, Enter
        const auto at = static_cast<std::size_t>(reinterpret_cast<const NMITEMACTIVATE&>(notice).iItem);
        if (at < rows_.size()) {
            chosen_(rows_[at].number);
        }
    }
}

void ProgrammeList::OnDigit(int digit) {
    digits_ += static_cast<char>('0' + digit);
    digitAt_ = EventLog::Now();
    const auto fits = std::ranges::count_if(
        rows_, [this](const Row& row) { return Format("%u", row.number).starts_with(digits_); });
    if (fits < 2) {
        digitAt_ = 0; // nothing to wait for
        OnTick();
    }
}

void ProgrammeList::OnTick() {
    if (!digits_.empty() && EventLog::Now() - digitAt_ > kDigitMsec) {
        const auto number = ParseNumber(std::exchange(digits_, {}));
        if (number && *number <= 0xFFFF) {
            Zap(static_cast<std::uint16_t>(*number));
        }
    }
}

std::wstring ProgrammeList::Typed() const {
    return digits_.empty() ? std::wstring() : Widen("Programme " + digits_ + "_");
}

} // namespace vistrame
