// Records the message boxes that the code under test shows on this thread and answers them with OK.
//
// Threads    one instance per thread at a time; boxes of other threads and processes are not seen.
// Ownership  the hook lives as long as the object; boxes shown before or after block as usual.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <windows.h>

namespace vistrame::test {

struct MessageBoxRecord {
    std::string text;
    std::string caption;
    HWND owner = nullptr;

    bool operator==(const MessageBoxRecord&) const = default;
};

class MessageBoxes {
public:
    MessageBoxes();
    MessageBoxes(const MessageBoxes&) = delete;
    MessageBoxes& operator=(const MessageBoxes&) = delete;
    ~MessageBoxes();

    std::vector<MessageBoxRecord> shown;

    // Runs while a box is open, before it is answered; the box blocks its caller meanwhile.
    std::function<void()> whileOpen = [] {};

private:
    static LRESULT CALLBACK AfterMessage(int code, WPARAM wParam, LPARAM lParam);

    HHOOK hook_;
};

// Of a window or a message box's text, of other processes as well.
std::string TextOf(HWND window);
inline HWND MessageBoxText(HWND box) {
    return GetDlgItem(box, 0xFFFF);
}

} // namespace vistrame::test
