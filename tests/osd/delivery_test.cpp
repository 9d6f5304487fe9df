// The overlay's road to the renderer: real Direct3D with single methods replaced, and a recording mixer. The tests
// build on each other's process: the surface comes with the second one and stays.
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <psapi.h>

#include "app/settings.h"
#include "graph/player_graph.h"
#include "osd/font_memory.h"
#include "osd/overlay_drawing.h"
#include "osd/overlay_redraw.h"
#include "osd/overlay_size.h"
#include "osd/overlay_surface.h"
#include "tests/support/files.h"
#include "tests/support/message_boxes.h"
#include "tests/support/player_fakes.h"

namespace vistrame {
namespace {

using Lines = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

test::Journal journal;
std::string failing; // what Direct3D refuses: "Direct3D", "device" or "surface"

std::vector<IUnknown*> made; // Direct3D and its device, referenced once more

// Puts a method in the place of one that all objects of a Direct3D class share.
std::array<void*, 119> real; // the methods that were there
void Replace(IUnknown* object, std::size_t place, void* method) {
    void*& slot = (*reinterpret_cast<void***>(object))[place];
    if (slot != method) {
        DWORD earlier = 0;
        VirtualProtect(&slot, sizeof slot, PAGE_EXECUTE_READWRITE, &earlier);
        real.at(place) = std::exchange(slot, method);
    }
}

// Places in their interfaces.
constexpr std::size_t kCreateDevice = 16, kCreateSurface = 36, kLock = 13;

HRESULT STDMETHODCALLTYPE CreateSurface(IDirect3DDevice9* device, UINT width, UINT height, D3DFORMAT format,
                                        D3DPOOL pool, IDirect3DSurface9** surface, HANDLE* shared) {
    journal.Add("surface " + std::to_string(width) + "x" + std::to_string(height) + " format " +
                std::to_string(format) + " pool " + std::to_string(pool));
    const auto create = reinterpret_cast<decltype(&CreateSurface)>(real[kCreateSurface]);
    return failing == "surface" ? E_FAIL : create(device, width, height, format, pool, surface, shared);
}

HRESULT STDMETHODCALLTYPE CreateDevice(IDirect3D9* direct3d, UINT adapter, D3DDEVTYPE type, HWND focus,
                                       DWORD flags, D3DPRESENT_PARAMETERS* parameters,
                                       IDirect3DDevice9** device) {
    journal.Add("device " + std::to_string(adapter) + " type " + std::to_string(type) + " flags " +
                std::to_string(flags) + (parameters->Windowed != FALSE ? " windowed" : ""));
    const auto create = reinterpret_cast<decltype(&CreateDevice)>(real[kCreateDevice]);
    const HRESULT result =
        failing == "device" ? E_FAIL : create(direct3d, adapter, type, focus, flags, parameters, device);
    if (SUCCEEDED(result)) {
        (*device)->AddRef();
        made.push_back(*device);
        Replace(*device, kCreateSurface, reinterpret_cast<void*>(CreateSurface));
    }
    return result;
}

// A surface whose rows lie further apart than the canvas's, or that cannot be locked.
constexpr INT kWidePitch = 8192;
Bytes wideRows(static_cast<std::size_t>(kWidePitch) * kOverlayHeight, 0xEE);

HRESULT STDMETHODCALLTYPE WideLock(IDirect3DSurface9*, D3DLOCKED_RECT* locked, const RECT*, DWORD) {
    *locked = {kWidePitch, wideRows.data()};
    return failing == "lock" ? D3DERR_INVALIDCALL : D3D_OK;
}

class Delivery : public testing::Test {
protected:
    void SetUp() override {
        ThePlayerGraph().mixerBitmap = &mixer;
        failing.clear();
        journal.Take();
    }
    void TearDown() override {
        ThePlayerGraph().mixerBitmap.Reset();
        EXPECT_EQ(mixer.references, 0U);
    }

    static Bytes SurfaceBytes(IDirect3DSurface9* surface = OverlaySurface) {
        Bytes bytes;
        D3DLOCKED_RECT locked{};
        EXPECT_EQ(surface->LockRect(&locked, nullptr, D3DLOCK_READONLY), D3D_OK);
        for (int y = 0; y < kOverlayHeight && locked.pBits != nullptr; ++y) {
            const auto* row = static_cast<const std::uint8_t*>(locked.pBits) + y * locked.Pitch;
            bytes.insert(bytes.end(), row, row + kOverlayStride);
        }
        surface->UnlockRect();
        return bytes;
    }

    static Bytes CanvasBytes() {
        return {OverlayCanvas.pixelsPtr(), OverlayCanvas.pixelsPtr() + OverlayCanvas.bufferSize()};
    }

    // A picture in which every row and column differs.
    static void Draw(std::uint8_t seed) {
        for (int i = 0; i < kOverlayWidth; ++i) {
            const auto low = static_cast<std::uint8_t>(i), high = static_cast<std::uint8_t>(i >> 8);
            OverlayCanvas.fillRect(0, i, kOverlayWidth, 1, seed, low, high, 200);
            OverlayCanvas.fillRectAlpha(i, 0, 1, kOverlayHeight, low, high, seed, 100);
        }
    }

    HWND window = CreateWindowA("STATIC", "", WS_POPUP | WS_VISIBLE, 0, 0, 300, 200, nullptr, nullptr,
                                nullptr, nullptr);
    test::FakeMixer mixer{journal};
};

TEST_F(Delivery, WithoutASurfaceNothingIsDrawn) {
    RedrawOverlay();
    EXPECT_EQ(journal.Take(), Lines{});
    EXPECT_EQ(OverlayCanvas.pixelsPtr(), nullptr);
    EXPECT_EQ(OverlayFont, nullptr);
}

TEST_F(Delivery, SetUpReportsItsFailuresAndReleasesWhatItMade) {
    const std::string device = "device 0 type 1 flags 32 windowed",
                      surface = "surface 1920x1080 format 21 pool 2";
    const std::string noDevice = "Unable to create Direct3D Device instance\r\n";
    const std::string noSurface = "Unable to create Direct3D surface\r\n";
    const std::string box = "TV playback failed\nReason: ";
    const struct {
        std::string fails;
        Lines lines;
        std::string errorFile;
    } rows[] = {
        {"Direct3D", {box + noDevice}, "117 " + noDevice},
        {"device", {device, box + noDevice}, "117 " + noDevice},
        {"surface", {device, surface, box + noSurface}, "118 " + noSurface},
        {"", {device, surface}, ""},
    };
    for (const auto& row : rows) {
        const std::string directory = test::NewDirectory("osd" + row.fails);
        std::memcpy(ErrorLogDir, directory.c_str(), directory.size() + 1);
        failing = row.fails;
        test::MessageBoxes boxes;
        boxes.whileOpen = [&boxes](HWND) {
            journal.Add(boxes.shown.back().text);
            for (IUnknown* object : made) { // released afterwards
                EXPECT_GT(object->AddRef(), 2U);
                object->Release();
            }
        };
        made.clear();
        EXPECT_EQ(SetUpOverlaySurface(window), row.fails.empty() ? 1 : 0);
        EXPECT_EQ(journal.Take(), row.lines);
        EXPECT_EQ(OverlaySurface != nullptr, row.fails.empty());
        for (; !made.empty(); made.pop_back()) {
            EXPECT_EQ(made.back()->Release() != 0, row.fails.empty()) << row.fails << " leaks or lacks";
        }
        std::string errors;
        for (const std::string& file : test::FilesIn(directory)) {
            errors += test::FileContents(directory + file);
        }
        EXPECT_EQ(errors, row.errorFile);
    }
    EXPECT_EQ(SurfaceBytes(), Bytes(8294400)); // transparent
    // The whole surface over the whole picture; the colour key is filled in and no flag enables it.
    const VMR9AlphaBitmap record = {4, nullptr,    OverlaySurface, {0, 0, 1920, 1080}, {0, 0, 1, 1},
                                    1, 0x00FF0000, 0x100};
    EXPECT_EQ(std::memcmp(&OverlayAlphaBitmap, &record, sizeof record), 0);
    EXPECT_EQ(OverlayCanvas.pixelsPtr(), nullptr); // comes with the first redraw
}

TEST_F(Delivery, TheWholeCanvasGoesIntoTheSurfaceWhileThereIsAMixer) {
    RedrawOverlay();
    ASSERT_EQ(OverlayCanvas.bufferSize(), 8294400U);
    EXPECT_TRUE(SurfaceBytes() == CanvasBytes());
    Draw(1);
    RedrawOverlay();
    const Bytes shown = SurfaceBytes();
    EXPECT_TRUE(shown == CanvasBytes());
    EXPECT_EQ(journal.Take(), (Lines{"SetAlphaBitmap", "SetAlphaBitmap"}));
    EXPECT_EQ(mixer.last, &OverlayAlphaBitmap);
    ThePlayerGraph().mixerBitmap.Reset();
    Draw(2);
    RedrawOverlay();
    EXPECT_TRUE(SurfaceBytes() == shown);
}

TEST_F(Delivery, FollowsThePitchAndSkipsALockedOutSurface) {
    Draw(79);
    Replace(OverlaySurface, kLock, reinterpret_cast<void*>(WideLock));
    RedrawOverlay();
    EXPECT_EQ(journal.Take(), Lines{"SetAlphaBitmap"});
    failing = "lock";
    RedrawOverlay();
    EXPECT_EQ(journal.Take(), Lines{});
    Replace(OverlaySurface, kLock, real[kLock]);
    for (int y = 0; y < kOverlayHeight; ++y) {
        const std::uint8_t* row = &wideRows[static_cast<std::size_t>(y) * kWidePitch];
        ASSERT_EQ(std::memcmp(row, OverlayCanvas.pixelsPtr() + y * kOverlayStride, kOverlayStride), 0) << y;
        ASSERT_EQ(row[kOverlayStride], 0xEE) << y; // between the rows
    }
}

TEST_F(Delivery, ARebuildMakesAFreshSurfaceAndKeepsTheOldOne) {
    IDirect3DSurface9* earlier = OverlaySurface;
    ASSERT_EQ(SetUpOverlaySurface(window), 1);
    EXPECT_NE(OverlaySurface, earlier);
    EXPECT_EQ(OverlayAlphaBitmap.pDDS, OverlaySurface);
    EXPECT_EQ(SurfaceBytes(earlier).size(), 8294400U); // still there for a renderer that has it
    EXPECT_EQ(SurfaceBytes(), Bytes(8294400));
    RedrawOverlay();
    EXPECT_TRUE(SurfaceBytes() == CanvasBytes());
}

// Bytes, handles.
std::pair<SIZE_T, DWORD> InUse() {
    std::pair<SIZE_T, DWORD> use;
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    GetProcessHandleCount(GetCurrentProcess(), &use.second);
    use.first = memory.PagefileUsage;
    return use;
}

// Direct3D queues its work in a ring of a few megabytes, whose pages count as soon as they are reached: as many
// bare locks as there are redraws show how much of the growth that is.
TEST_F(Delivery, TenThousandRedrawsDoNotGrowTheProcess) {
    constexpr int kTimes = 10000;
    RedrawOverlay();
    const auto [start, handles] = InUse();
    const std::size_t fontBlocks = FontMemoryBlocks();
    for (int i = 0; i < kTimes; ++i) {
        D3DLOCKED_RECT locked{};
        OverlaySurface->LockRect(&locked, nullptr, 0);
        OverlaySurface->UnlockRect();
    }
    const SIZE_T before = InUse().first;
    for (int i = 0; i < kTimes; ++i) {
        RedrawOverlay();
        ASSERT_LE(journal.Take().size(), 2U);
    }
    EXPECT_GT(start, 8294400U * 2); // the counter works: canvas and surface are in it
    EXPECT_LE(InUse().first - before, before - start + 65536);
    EXPECT_EQ(InUse().second, handles);
    EXPECT_EQ(FontMemoryBlocks(), fontBlocks);
}

} // namespace
} // namespace vistrame

// Found before the import library's.
extern "C" IDirect3D9* WINAPI Direct3DCreate9(UINT version) {
    using namespace vistrame;
    if (failing == "Direct3D") {
        return nullptr;
    }
    const auto create = reinterpret_cast<decltype(&Direct3DCreate9)>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryA("d3d9.dll"), "Direct3DCreate9")));
    IDirect3D9* direct3d = create(version);
    direct3d->AddRef();
    made.push_back(direct3d);
    Replace(direct3d, kCreateDevice, reinterpret_cast<void*>(CreateDevice));
    return direct3d;
}
