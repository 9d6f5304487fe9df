#include "analyzer/ui/audio_choice.h"

#include <algorithm>

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/ui/scale.h"

namespace vistrame {

namespace {

std::string Describe(const ElementaryStream& audio) {
    std::string text = audio.language.empty() ? "language not said" : audio.language;
    text += ", " + std::string(CodingName(audio.coding));
    text += audio.audioDescription ? ", audio description" : "";
    return text + Format(", 0x%04X", audio.pid);
}

} // namespace

void AudioChoice::Create(HWND parent, int id, HFONT font) {
    label_ = MakeChild(parent, L"STATIC", L"Soun&d", SS_CENTERIMAGE, 0, font);
    list_ = MakeChild(parent, L"COMBOBOX", L"", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST, id, font);
}

void AudioChoice::Place(int x, int y, int width) const {
    const int labelWidth = Scaled(list_, 46);
    (void)MoveWindow(label_, x, y, labelWidth, Scaled(list_, 22), FALSE); // a lost move shows
    (void)MoveWindow(list_, x + labelWidth, y, width - labelWidth, Scaled(list_, 200), FALSE);
}

void AudioChoice::Show(const std::vector<ElementaryStream>& audios, Pid playing) {
    if (SendMessageW(list_, CB_GETDROPPEDSTATE, 0, 0) != 0) {
        return; // the user is choosing
    }
    if (audios != audios_) {
        audios_ = audios;
        (void)SendMessageW(list_, CB_RESETCONTENT, 0, 0);
        for (const ElementaryStream& audio : audios_) {
            const std::wstring text = Widen(Describe(audio));
            (void)SendMessageW(list_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
        }
        (void)EnableWindow(list_, !audios_.empty()); // answers what it was before
    }
    const auto at = std::ranges::find(audios_, playing, &ElementaryStream::pid);
    const auto index = at != audios_.end() ? at - audios_.begin() : std::ptrdiff_t{-1}; // -1: none
    if (SendMessageW(list_, CB_GETCURSEL, 0, 0) != index) {
        (void)SendMessageW(list_, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    }
}

std::optional<Pid> AudioChoice::Chosen() const {
    const auto at = static_cast<std::size_t>(SendMessageW(list_, CB_GETCURSEL, 0, 0));
    return at < audios_.size() ? std::optional(audios_[at].pid) : std::nullopt;
}

} // namespace vistrame
