// The player window itself, in this process: creation, painting, menu, timers. What ends the process is
// tested with the built player.
#include "player/graph/com.h"
#include "player/window/player_window.h"

#include <array>

#include "player/app/launch_fields.h"
#include "player/graph/overlay_surface.h"
#include "tests/player/playing_window.h"
#include "tests/support/message_boxes.h"

namespace vistrame {
namespace {

using Calls = test::Lines;

constexpr std::array kColours = {RGB(255, 255, 255), RGB(255, 255, 0), RGB(0, 255, 255), RGB(0, 255, 0),
                                 RGB(255, 0, 255),   RGB(255, 0, 0),   RGB(0, 0, 255)};
constexpr COLORREF kBefore = RGB(1, 2, 3);

class PlayerWindowTest : public test::PlayingWindow {
protected:
    PlayerWindowTest() : PlayingWindow(0) {}
    ~PlayerWindowTest() override { StandAlone = true; }

    static void FillClient(COLORREF colour) {
        HDC context = GetDC(Window());
        HBRUSH brush = CreateSolidBrush(colour);
        const RECT client = Client();
        FillRect(context, &client, brush);
        DeleteObject(brush);
        ReleaseDC(Window(), context);
    }

    static RECT Client() {
        RECT client{};
        GetClientRect(Window(), &client);
        return client;
    }

    static void Repaint() {
        InvalidateRect(Window(), nullptr, TRUE); // asks for erasing as well
        UpdateWindow(Window());
        EXPECT_FALSE(GetUpdateRect(Window(), nullptr, FALSE)) << "painting was not begun and ended";
    }

    static COLORREF Pixel(int x, int y) {
        HDC context = GetDC(Window());
        const COLORREF colour = GetPixel(context, x, y);
        ReleaseDC(Window(), context);
        return colour;
    }

    // Every bar at its edges, at the top and the bottom.
    static void ExpectBars() {
        const RECT client = Client();
        const int width = client.right / 7;
        for (int bar = 0; bar < 7; ++bar) {
            const int last = bar == 6 ? client.right - 1 : (bar + 1) * width - 1;
            for (const int y : {0, static_cast<int>(client.bottom) - 1}) {
                EXPECT_EQ(Pixel(bar * width, y), kColours.at(bar)) << bar << " at " << y;
                EXPECT_EQ(Pixel(last, y), kColours.at(bar)) << bar << " at " << y;
            }
        }
    }
};

TEST_F(PlayerWindowTest, StandsAloneWithMenuIconAndTestPicture) {
    ASSERT_NE(Window(), nullptr);
    EXPECT_EQ(MainWindow, Window());
    std::array<char, 32> title{};
    GetWindowTextA(Window(), title.data(), title.size());
    EXPECT_STREQ(title.data(), "Vistrame");
    EXPECT_EQ(GetWindowLongA(Window(), GWL_STYLE) & (WS_OVERLAPPEDWINDOW | WS_VISIBLE),
              LONG{WS_OVERLAPPEDWINDOW | WS_VISIBLE});
    EXPECT_EQ(Client().right, 720);
    EXPECT_EQ(Client().bottom, 576 - GetSystemMetrics(SM_CYMENU));

    EXPECT_EQ(GetClassLongA(Window(), GCL_STYLE), DWORD{CS_CLASSDC | CS_DBLCLKS});
    EXPECT_EQ(GetClassLongPtrA(Window(), GCLP_HBRBACKGROUND), 0U);
    EXPECT_NE(GetClassLongPtrA(Window(), GCLP_HICON), 0U);

    HMENU menu = GetMenu(Window());
    Calls items;
    for (int top = 0; top < GetMenuItemCount(menu); ++top) {
        std::array<char, 32> text{};
        GetMenuStringA(menu, top, text.data(), text.size(), MF_BYPOSITION);
        items.emplace_back(text.data());
        HMENU popup = GetSubMenu(menu, top);
        for (int i = 0; i < GetMenuItemCount(popup); ++i) {
            GetMenuStringA(popup, i, text.data(), text.size(), MF_BYPOSITION);
            items.push_back(std::to_string(GetMenuItemID(popup, i)) + " " + text.data());
        }
    }
    EXPECT_EQ(items, (Calls{"&File", "40001 &Quit", "&Help", "40003 About"}));
    ExpectBars();
}

TEST_F(PlayerWindowTest, BarsFillAnyWidthAndTheLastTakesTheRemainder) {
    RECT outer{};
    GetWindowRect(Window(), &outer);
    const RECT before = Client();
    SetWindowPos(Window(), nullptr, 0, 0, outer.right - outer.left + 6, outer.bottom - outer.top - 100,
                 SWP_NOMOVE | SWP_NOZORDER);
    test::PumpFor(50);
    ASSERT_EQ(Client().right, before.right + 6);
    ASSERT_EQ(Client().right % 7, 5);
    FillClient(kBefore);
    const DWORD objects = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    Repaint();
    EXPECT_EQ(GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS), objects) << "brushes left behind";
    ExpectBars();
    SetWindowPos(Window(), nullptr, 0, 0, outer.right - outer.left, outer.bottom - outer.top,
                 SWP_NOMOVE | SWP_NOZORDER);
    test::PumpFor(50);
}

TEST_F(PlayerWindowTest, WithAGraphOrAParentNothingIsPainted) {
    const struct {
        bool standAlone;
        std::uint32_t built;
        bool painted;
    } rows[] = {{true, 1, false}, {false, 0, false}, {false, 1, false}, {true, 0, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.standAlone << row.built);
        StandAlone = row.standAlone;
        ThePlayerGraph().built = row.built;
        FillClient(kBefore);
        Repaint();
        EXPECT_EQ(Pixel(5, 5), row.painted ? kColours[0] : kBefore);
        EXPECT_EQ(Pixel(700, 500), row.painted ? kColours[6] : kBefore);
    }
}

TEST_F(PlayerWindowTest, PaintAndRefreshTimerRedrawTheOverlay) {
    ASSERT_EQ(SetUpOverlaySurface(Window()), 1);
    ThePlayerGraph().mixerBitmap = mixer.As<IVMRMixerBitmap9>();
    for (const bool standAlone : {true, false}) {
        StandAlone = standAlone;
        Repaint();
        EXPECT_EQ(journal.Take(), Calls{"mixer.SetAlphaBitmap"});
    }
    EXPECT_EQ(SendMessageA(Window(), WM_TIMER, TIMER_OSD_REFRESH, 0), 0);
    EXPECT_EQ(journal.Take(), Calls{"mixer.SetAlphaBitmap"});
}

TEST_F(PlayerWindowTest, TheVideoFollowsTheClientArea) {
    video.Offer<IVideoWindow>().Records<&IVideoWindow::SetWindowPosition>();
    ThePlayerGraph().videoWindow = video.As<IVideoWindow>();
    const RECT client = Client();
    RedrawWindow(Window(), nullptr, nullptr, RDW_VALIDATE | RDW_NOERASE);
    // The rectangle is asked for.
    EXPECT_EQ(SendMessageA(Window(), WM_SIZE, SIZE_RESTORED, MAKELPARAM(1, 2)), 0);
    EXPECT_EQ(journal.Take(),
              Calls{test::Line("video.SetWindowPosition(0, 0, %ld, %ld)", client.right, client.bottom)});
    RECT invalid{};
    EXPECT_TRUE(GetUpdateRect(Window(), &invalid, FALSE));
    EXPECT_TRUE(EqualRect(&invalid, &client));
    ThePlayerGraph().videoWindow.Reset();
}

TEST_F(PlayerWindowTest, TheStartupTimerEndsItselfAtItsFirstTick) {
    KillTimer(Window(), TIMER_STARTUP);
    EXPECT_NE(SetTimer(Window(), TIMER_STARTUP, 300, nullptr), 0U);
    EXPECT_EQ(SendMessageA(Window(), WM_TIMER, TIMER_STARTUP, 0), 0);
    EXPECT_FALSE(KillTimer(Window(), TIMER_STARTUP));
}

TEST_F(PlayerWindowTest, MenuCommandsLookAtTheLowWordOnly) {
    test::MessageBoxes boxes;
    EXPECT_EQ(SendMessageA(Window(), WM_COMMAND, MAKEWPARAM(40003, 0x1234), 0), 0);
    ASSERT_EQ(boxes.shown.size(), 1U);
    const auto& about = boxes.shown[0];
    EXPECT_EQ(about.caption, "Information");
    EXPECT_EQ(about.owner, Window());
    const std::string start =
        "Vistrame 1.6\nExternal Directshow TV decoder for the Kestrovane MPEG2/DVB TS analyzer\n";
    EXPECT_TRUE(about.text.starts_with(start));
}

} // namespace
} // namespace vistrame
