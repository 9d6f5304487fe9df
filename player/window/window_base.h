#pragma once

#include <array>

#include <windows.h>

namespace vistrame {

// A window class with virtual message handlers: registers the class, creates the window, routes the window
// procedure to the object and splits the messages up.
//
// Units      pixels; sizes given to Create are those of the client area without a menu bar.
// Threads    the thread that creates the window.
// Ownership  the object outlives its window; the window class is unregistered with the object, the window
//            itself belongs to the system.
// Errors     a class that cannot be registered shows as a window that cannot be created: null.
class WindowBase {
public:
    WindowBase();
    WindowBase(const WindowBase&) = delete;
    WindowBase& operator=(const WindowBase&) = delete;

    // The virtual operations, in slot order. The bases of the handlers do nothing and answer 0.
    virtual ~WindowBase();
    virtual void OnCreate(const CREATESTRUCTA& creation);
    virtual LRESULT OnCommand(WPARAM wParam, WORD notification);
    virtual LRESULT OnTimer(WPARAM timer);
    virtual LRESULT OnNotify(WPARAM wParam, LPARAM lParam);
    virtual LRESULT OnSize(WPARAM sizeType);
    virtual void OnPaint(HDC context, const PAINTSTRUCT& paint);
    // Every message of the window from WM_CREATE on; calls the handlers above.
    virtual LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam);

    // Without a name one is generated. The name is borrowed for the life of the object.
    bool RegisterWindowClass(const char* name);

    // Registers the class under a generated name when it has none yet. `menu` is the child identifier of a
    // WS_CHILD window.
    HWND Create(const char* title, DWORD style, int x, int y, int width, int height, HWND parent, HMENU menu);

    HWND Handle() const { return handle_; }

protected:
    HWND handle_ = nullptr; // null until WM_CREATE
    WNDCLASSEXA class_{};   // class_.lpszClassName is null until registration

private:
    static LRESULT CALLBACK Thunk(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    std::array<char, 100> generatedName_{};

    // As given to Create, kept for a look in the debugger.
    struct {
        const char* title;
        DWORD style;
        int x, y, width, height;
        HWND parent;
        HMENU menu;
    } creation_{};
};

} // namespace vistrame
