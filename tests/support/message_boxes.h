// Records the message boxes that the code under test shows on this thread and answers them with OK.
//
// Threads    one instance per thread at a time; boxes of other threads and processes are not seen.
// Ownership  the hook lives as long as the object; boxes shown before or after block as usual.
// Errors     a hook that cannot be set fails the running test.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <windows.h>

namespace vistrame::test {

struct MessageBoxRecord {
    std::string text;
    std::string caption;
    UINT flags = 0; // MB_ICONERROR or 0
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
    std::function<void(HWND box)> whileOpen;

private:
    static LRESULT CALLBACK AfterMessage(int code, WPARAM wParam, LPARAM lParam);
    void Record(HWND box);

    HHOOK hook_;
};

// The record of an open message box of any process.
MessageBoxRecord DescribeMessageBox(HWND box);

} // namespace vistrame::test
