#include "analyzer/ui/console.h"

#include <windows.h>

#include "analyzer/base/handle.h"

namespace vistrame {

namespace {

void Print(DWORD which, const std::string& text) {
    HANDLE out = GetStdHandle(which);
    Handle console;
    if (out == nullptr || out == INVALID_HANDLE_VALUE) {
        // Fails when there is no console either, or it is attached already.
        (void)AttachConsole(ATTACH_PARENT_PROCESS);
        console =
            AdoptHandle(CreateFileA("CONOUT$", GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
        out = console.get();
        (void)SetConsoleOutputCP(CP_UTF8); // at worst some letters look odd
    }
    DWORD written = 0;
    if (out != nullptr) {
        // There is nowhere to tell a failure.
        (void)WriteFile(out, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    }
}

} // namespace

void PrintOut(const std::string& text) {
    Print(STD_OUTPUT_HANDLE, text);
}

void PrintError(const std::string& reason) {
    Print(STD_ERROR_HANDLE, "vistrame-analyzer: " + reason + "\n");
}

} // namespace vistrame
