// The overlay's road to the renderer inside a real player window: a real Direct3D surface, a recording mixer, and
// the commands, timer and paint messages that redraw. The tests build on each other's process: the surface comes
// with the second one and stays.
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <psapi.h>
#include <wrl/client.h>

#include "app/process_state.h"
#include "app/settings.h"
#include "control/commands.h"
#include "graph/player_graph.h"
#include "osd/font_memory.h"
#include "osd/osd_element.h"
#include "osd/overlay_drawing.h"
#include "osd/overlay_redraw.h"
#include "osd/overlay_size.h"
#include "osd/overlay_surface.h"
#include "tests/osd/fake_surface.h"
#include "tests/support/files.h"
#include "tests/support/message_boxes.h"
#include "tests/support/messages.h"
#include "tests/support/player_fakes.h"
#include "window/player_window.h"

namespace vistrame {
namespace {

using Calls = std::vector<std::string>;
using Microsoft::WRL::ComPtr;

const Calls kNone;
const Calls kHandedOver = {"SetAlphaBitmap"};

class Delivery : public testing::Test {
protected:
    static void SetUpTestSuite() {
        InstanceHandle = GetModuleHandleA(nullptr);
        ControlMessage = RegisterWindowMessageA("QVRA Registration");
        StandAlone = true;
        ThePlayerWindow().CreateAndAnnounce();
        test::PumpFor(50);
    }

    void SetUp() override { ThePlayerGraph().mixerBitmap = &mixer; }
    void TearDown() override {
        ThePlayerGraph().mixerBitmap.Reset();
        EXPECT_EQ(mixer.references, 0U);
    }

    static HWND Window() { return ThePlayerWindow().Handle(); }

    static void Send(CommandCode code, std::uint32_t argument) {
        EXPECT_EQ(
            SendMessageA(Window(), ControlMessage, static_cast<WPARAM>(code), static_cast<LPARAM>(argument)),
            0);
    }

    static std::vector<std::uint8_t> Bytes(IDirect3DSurface9* surface) {
        std::vector<std::uint8_t> bytes;
        D3DLOCKED_RECT locked{};
        EXPECT_EQ(surface->LockRect(&locked, nullptr, D3DLOCK_READONLY), D3D_OK);
        for (int y = 0; y < kOverlayHeight && locked.pBits != nullptr; ++y) {
            const auto* row = static_cast<const std::uint8_t*>(locked.pBits) + y * locked.Pitch;
            bytes.insert(bytes.end(), row, row + kOverlayStride);
        }
        surface->UnlockRect();
        return bytes;
    }

    static std::vector<std::uint8_t> CanvasBytes() {
        return {OverlayCanvas.pixelsPtr(), OverlayCanvas.pixelsPtr() + OverlayCanvas.bufferSize()};
    }

    // A picture in which every row and column differs.
    static void Draw(std::uint8_t seed) {
        for (int y = 0; y < kOverlayHeight; ++y) {
            OverlayCanvas.fillRect(0, y, kOverlayWidth, 1, seed, static_cast<std::uint8_t>(y),
                                   static_cast<std::uint8_t>(y >> 8), 200);
        }
        for (int x = 0; x < kOverlayWidth; ++x) {
            OverlayCanvas.fillRectAlpha(x, 0, 1, kOverlayHeight, static_cast<std::uint8_t>(x),
                                        static_cast<std::uint8_t>(x >> 8), seed, 100);
        }
    }

    test::Journal journal;
    test::FakeMixer mixer{journal};
};

TEST_F(Delivery, WithoutASurfaceNothingIsDrawnOrMoved) {
    RedrawOverlay();
    Send(CommandCode::MoveOsdElement, 0x0312C0F0);
    Send(CommandCode::RefreshOverlay, 0);
    SendMessageA(Window(), WM_TIMER, TIMER_OSD_REFRESH, 0);
    InvalidateRect(Window(), nullptr, FALSE);
    UpdateWindow(Window());
    EXPECT_EQ(OsdElements[3].x, 0);
    EXPECT_EQ(journal.Take(), kNone);
    EXPECT_EQ(OverlayCanvas.pixelsPtr(), nullptr);
    EXPECT_EQ(OverlayFont, nullptr);
}

TEST_F(Delivery, SetUpMakesATransparentSurfaceAndTheRecord) {
    ASSERT_EQ(SetUpOverlaySurface(Window()), 1);
    ASSERT_NE(OverlaySurface, nullptr);
    D3DSURFACE_DESC description{};
    OverlaySurface->GetDesc(&description);
    EXPECT_EQ(description.Width, 1920U);
    EXPECT_EQ(description.Height, 1080U);
    EXPECT_EQ(description.Format, D3DFMT_A8R8G8B8);
    EXPECT_EQ(description.Pool, D3DPOOL_SYSTEMMEM);
    EXPECT_EQ(Bytes(OverlaySurface), std::vector<std::uint8_t>(8294400));

    const VMR9AlphaBitmap& record = OverlayAlphaBitmap;
    EXPECT_EQ(record.dwFlags, 4U); // the whole surface, no colour key
    EXPECT_EQ(record.hdc, nullptr);
    EXPECT_EQ(record.pDDS, OverlaySurface);
    EXPECT_EQ((std::array{record.rSrc.left, record.rSrc.top, record.rSrc.right, record.rSrc.bottom}),
              (std::array{0L, 0L, 1920L, 1080L}));
    EXPECT_EQ((std::array{record.rDest.left, record.rDest.top, record.rDest.right, record.rDest.bottom}),
              (std::array{0.0F, 0.0F, 1.0F, 1.0F}));
    EXPECT_EQ(record.fAlpha, 1.0F);
    EXPECT_EQ(record.clrSrcKey, 0x00FF0000U);
    EXPECT_EQ(record.dwFilterMode, 0x100U);

    ComPtr<IDirect3DDevice9> device;
    ASSERT_EQ(OverlaySurface->GetDevice(&device), D3D_OK);
    D3DDEVICE_CREATION_PARAMETERS creation{};
    device->GetCreationParameters(&creation);
    EXPECT_EQ(creation.hFocusWindow, Window());
    EXPECT_EQ(creation.DeviceType, D3DDEVTYPE_HAL);
    EXPECT_NE(creation.BehaviorFlags & D3DCREATE_SOFTWARE_VERTEXPROCESSING, 0U);
    // Shown with the first redraw, not before.
    EXPECT_EQ(journal.Take(), kNone);
    EXPECT_EQ(OverlayCanvas.pixelsPtr(), nullptr);
}

TEST_F(Delivery, EveryCallerPutsTheWholeCanvasIntoTheSurface) {
    RedrawOverlay();
    ASSERT_EQ(OverlayCanvas.bufferSize(), 8294400U);
    ASSERT_NE(OverlayFont, nullptr);
    EXPECT_EQ(journal.Take(), kHandedOver);
    EXPECT_EQ(Bytes(OverlaySurface), CanvasBytes());

    struct Row {
        const char* caller;
        void (*call)();
    };
    const Row rows[] = {
        {"RedrawOverlay", RedrawOverlay},
        {"command 2", [] { Send(CommandCode::MoveOsdElement, 0x0A12C0F0); }},
        {"command 13", [] { Send(CommandCode::RefreshOverlay, 0); }},
        {"timer 2", [] { SendMessageA(Window(), WM_TIMER, TIMER_OSD_REFRESH, 0); }},
        {"paint",
         [] {
             InvalidateRect(Window(), nullptr, FALSE);
             UpdateWindow(Window());
         }},
    };
    std::uint8_t seed = 0;
    for (const Row& row : rows) {
        Draw(++seed);
        row.call();
        EXPECT_TRUE(Bytes(OverlaySurface) == CanvasBytes()) << row.caller;
        EXPECT_EQ(journal.Take(), kHandedOver) << row.caller;
        EXPECT_EQ(mixer.last, &OverlayAlphaBitmap) << row.caller;
    }
    EXPECT_EQ(OsdElements[10].x, 300);
    EXPECT_EQ(OsdElements[10].y, 240);
}

TEST_F(Delivery, CommandsMoveHideAndShowElements) {
    const Calls asked = {"GetAlphaBitmapParameters"};
    const Calls shown = {"GetAlphaBitmapParameters", "SetAlphaBitmap"};
    struct Row {
        CommandCode code;
        std::uint32_t argument;
        int element;
        std::int32_t x, y;
        Calls calls;
    };
    const Row rows[] = {
        {CommandCode::MoveOsdElement, 0x0512C0F0, 5, 300, 240, kHandedOver},
        {CommandCode::ShowOverlay, 0x05000001, 5, 300, 240, shown},
        {CommandCode::ShowOverlay, 0x05800000, 5, 300, 240, shown},
        {CommandCode::ShowOverlay, 0x05000000, 5, -500, 240, asked},
        {CommandCode::MoveOsdElement, 0xFFFFFFFF, 255, 4095, 4095, kHandedOver},
        {CommandCode::MoveOsdElement, 0x00000000, 0, 0, 0, kHandedOver},
        {CommandCode::ShowOverlay, 0xFF000000, 255, -500, 4095, asked},
        {CommandCode::RefreshOverlay, 0x05123456, 5, -500, 240, kHandedOver},
    };
    Draw(77);
    const std::vector<std::uint8_t> before = Bytes(OverlaySurface);
    Send(CommandCode::ShowOverlay, 1); // passes the surface on as it is
    EXPECT_TRUE(Bytes(OverlaySurface) == before);
    journal.Take();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.argument);
        Send(row.code, row.argument);
        EXPECT_EQ(OsdElements.at(row.element).x, row.x);
        EXPECT_EQ(OsdElements.at(row.element).y, row.y);
        EXPECT_EQ(journal.Take(), row.calls);
    }
}

TEST_F(Delivery, AfterATeardownTheRedrawIsSkipped) {
    ThePlayerGraph().mixerBitmap.Reset();
    const std::vector<std::uint8_t> before = Bytes(OverlaySurface);
    Draw(78);
    RedrawOverlay();
    Send(CommandCode::ShowOverlay, 0x06000000);
    Send(CommandCode::RefreshOverlay, 0);
    Send(CommandCode::MoveOsdElement, 0x07001002); // the surface is still there, so the element moves
    EXPECT_TRUE(Bytes(OverlaySurface) == before);
    EXPECT_EQ(OsdElements[6].x, 0);
    EXPECT_EQ(OsdElements[7].x, 1);
    EXPECT_EQ(OsdElements[7].y, 2);
}

TEST_F(Delivery, FollowsThePitchAndSkipsALockedOutSurface) {
    test::FakeSurface surface;
    IDirect3DSurface9* real = std::exchange(OverlaySurface, &surface);
    Draw(79);
    RedrawOverlay();
    for (int y = 0; y < kOverlayHeight; ++y) {
        const BYTE* row = surface.bytes.data() + static_cast<std::size_t>(y) * test::FakeSurface::kPitch;
        ASSERT_EQ(std::memcmp(row, OverlayCanvas.pixelsPtr() + y * kOverlayStride, kOverlayStride), 0) << y;
        ASSERT_EQ(row[kOverlayStride], 0xEE) << y; // between the rows
    }
    EXPECT_EQ(journal.Take(), kHandedOver);
    surface.lockable = false;
    RedrawOverlay();
    EXPECT_EQ(journal.Take(), kNone);
    EXPECT_EQ(surface.locks, 2);
    EXPECT_EQ(surface.unlocks, 1);
    OverlaySurface = real;
}

TEST_F(Delivery, ARebuildMakesAFreshSurfaceAndKeepsTheOldOne) {
    IDirect3DSurface9* earlier = OverlaySurface;
    const std::uint8_t* pixels = OverlayCanvas.pixelsPtr();
    const OsdFont* font = OverlayFont;
    ASSERT_EQ(SetUpOverlaySurface(Window()), 1);
    EXPECT_NE(OverlaySurface, earlier);
    EXPECT_EQ(OverlayAlphaBitmap.pDDS, OverlaySurface);
    EXPECT_EQ(Bytes(earlier).size(), 8294400U); // still there for a renderer that has it
    EXPECT_EQ(Bytes(OverlaySurface), std::vector<std::uint8_t>(8294400));
    RedrawOverlay();
    EXPECT_TRUE(Bytes(OverlaySurface) == CanvasBytes());
    EXPECT_EQ(OverlayCanvas.pixelsPtr(), pixels);
    EXPECT_EQ(OverlayFont, font);
}

struct Footprint {
    SIZE_T bytes;
    DWORD handles;
    std::size_t fontBlocks;
};

Footprint Measure() {
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    DWORD handles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    return {memory.PagefileUsage, handles, FontMemoryBlocks()};
}

// Direct3D queues its work in a ring of a few megabytes, whose pages count as soon as they are reached: as many
// bare locks as there are redraws show how much of the growth that is.
TEST_F(Delivery, TenThousandRedrawsDoNotGrowTheProcess) {
    constexpr int kTimes = 10000;
    RedrawOverlay();
    const Footprint start = Measure();
    for (int i = 0; i < kTimes; ++i) {
        D3DLOCKED_RECT locked{};
        OverlaySurface->LockRect(&locked, nullptr, 0);
        OverlaySurface->UnlockRect();
    }
    const Footprint before = Measure();
    for (int i = 0; i < kTimes; ++i) {
        RedrawOverlay();
        ASSERT_LE(journal.Take().size(), 2U);
    }
    const Footprint after = Measure();
    EXPECT_GT(start.bytes, 8294400U * 2); // the counter works: canvas and surface are in it
    EXPECT_LE(after.bytes - before.bytes, before.bytes - start.bytes + 65536);
    EXPECT_EQ(after.handles, start.handles);
    EXPECT_EQ(after.fontBlocks, start.fontBlocks);
    EXPECT_GT(after.fontBlocks, 0U);
}

} // namespace
} // namespace vistrame
