// The overlay's road to the renderer: real Direct3D with single methods replaced, and a recording mixer. The
// tests build on each other's process: the surface comes with the first one and stays.
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <psapi.h>

#include "player/app/settings.h"
#include "player/graph/player_graph.h"
#include "player/osd/font_memory.h"
#include "player/osd/overlay_drawing.h"
#include "player/graph/overlay_redraw.h"
#include "player/osd/overlay_size.h"
#include "player/graph/overlay_surface.h"
#include "tests/support/files.h"
#include "tests/support/message_boxes.h"
#include "tests/support/playback_fakes.h"

namespace vistrame {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::string failing;         // what Direct3D refuses: "Direct3D", "device", "surface" or "lock"
std::vector<IUnknown*> made; // Direct3D and its device, referenced once more

// Puts a method in the place of one that all objects of a Direct3D class share, and keeps that.
void Replace(IUnknown* object, std::size_t place, void* method, void*& real) {
    void*& slot = (*reinterpret_cast<void***>(object))[place];
    if (slot != method) {
        DWORD earlier = 0;
        VirtualProtect(&slot, sizeof slot, PAGE_EXECUTE_READWRITE, &earlier);
        real = std::exchange(slot, method);
    }
}

// Places in their interfaces.
constexpr std::size_t kCreateDevice = 16, kCreateSurface = 36, kLock = 13;
void *realCreateDevice, *realCreateSurface, *realLock;

HRESULT STDMETHODCALLTYPE CreateSurface(IDirect3DDevice9* device, UINT width, UINT height, D3DFORMAT format,
                                        D3DPOOL pool, IDirect3DSurface9** surface, HANDLE* shared) {
    EXPECT_EQ(std::tuple(width, height, format, pool),
              std::tuple(1920U, 1080U, D3DFMT_A8R8G8B8, D3DPOOL_SYSTEMMEM));
    const auto create = reinterpret_cast<decltype(&CreateSurface)>(realCreateSurface);
    return failing == "surface" ? E_FAIL : create(device, width, height, format, pool, surface, shared);
}

HRESULT STDMETHODCALLTYPE CreateDevice(IDirect3D9* direct3d, UINT adapter, D3DDEVTYPE type, HWND focus,
                                       DWORD flags, D3DPRESENT_PARAMETERS* parameters,
                                       IDirect3DDevice9** device) {
    EXPECT_EQ(std::tuple(adapter, type, flags, parameters->Windowed),
              std::tuple(0U, D3DDEVTYPE_HAL, DWORD{D3DCREATE_SOFTWARE_VERTEXPROCESSING}, TRUE));
    if (failing == "device") {
        return E_FAIL;
    }
    const auto create = reinterpret_cast<decltype(&CreateDevice)>(realCreateDevice);
    const HRESULT result = create(direct3d, adapter, type, focus, flags, parameters, device);
    (*device)->AddRef();
    made.push_back(*device);
    Replace(*device, kCreateSurface, reinterpret_cast<void*>(CreateSurface), realCreateSurface);
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
        ThePlayerGraph().mixerBitmap = mixer.As<IVMRMixerBitmap9>();
        failing.clear();
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
    static void Draw(unsigned seed) {
        std::generate_n(OverlayCanvas.pixelsPtr(), OverlayCanvas.bufferSize(), std::mt19937(seed));
    }

    HWND window = CreateWindowA("STATIC", "", WS_POPUP | WS_VISIBLE, 0, 0, 300, 200, nullptr, nullptr,
                                nullptr, nullptr);
    test::Journal journal;
    test::FakeMixer mixer{journal};
};

// Without a surface nothing is drawn, either.
TEST_F(Delivery, SetUpReportsItsFailuresAndReleasesWhatItMade) {
    const std::string noDevice = "Unable to create Direct3D Device instance\r\n";
    const struct {
        std::string fails;
        std::size_t objects;
        std::string code, text;
    } rows[] = {
        {"Direct3D", 0, "117 ", noDevice},
        {"device", 1, "117 ", noDevice},
        {"surface", 2, "118 ", "Unable to create Direct3D surface\r\n"},
        {"", 2, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fails);
        const std::string directory = test::NewDirectory("osd" + row.fails);
        std::memcpy(ErrorLogDir, directory.c_str(), directory.size() + 1);
        failing = row.fails;
        const bool fine = row.fails.empty();
        std::string errors;
        test::MessageBoxes boxes;
        boxes.whileOpen = [&] {
            errors += boxes.shown.back().text;
            for (IUnknown* object : made) { // released afterwards
                EXPECT_GT(object->AddRef(), 2U);
                object->Release();
            }
        };
        EXPECT_EQ(SetUpOverlaySurface(window), fine ? 1 : 0);
        EXPECT_EQ(made.size(), row.objects);
        for (; !made.empty(); made.pop_back()) {
            EXPECT_EQ(made.back()->Release() != 0, fine) << "leaks or lacks";
        }
        for (const std::string& file : test::FilesIn(directory)) {
            errors += test::FileContents(directory + file);
        }
        EXPECT_EQ(errors, fine ? "" : "TV playback failed\nReason: " + row.text + row.code + row.text);
        EXPECT_EQ(OverlayCanvas.pixelsPtr(), nullptr); // comes with the first redraw
        RedrawOverlay();
        EXPECT_EQ(journal.Take().size(), fine ? 1U : 0U);
    }
    // The whole surface over the whole picture; the colour key is filled in and no flag enables it.
    const VMR9AlphaBitmap record = {4, nullptr,    OverlaySurface, {0, 0, 1920, 1080}, {0, 0, 1, 1},
                                    1, 0x00FF0000, 0x100};
    EXPECT_EQ(std::memcmp(&OverlayAlphaBitmap, &record, sizeof record), 0);
}

TEST_F(Delivery, ARebuildMakesAFreshSurfaceThatShowsTheCanvasWhileThereIsAMixer) {
    IDirect3DSurface9* earlier = OverlaySurface;
    ASSERT_EQ(SetUpOverlaySurface(window), 1);
    EXPECT_NE(OverlaySurface, earlier);
    EXPECT_EQ(OverlayAlphaBitmap.pDDS, OverlaySurface);
    EXPECT_EQ(SurfaceBytes(earlier).size(), 8294400U); // still there for a renderer that has it
    EXPECT_EQ(SurfaceBytes(), Bytes(8294400));         // transparent
    Draw(1);
    const Bytes drawn(OverlayCanvas.pixelsPtr(), OverlayCanvas.pixelsPtr() + OverlayCanvas.bufferSize());
    RedrawOverlay();
    EXPECT_TRUE(SurfaceBytes() == drawn);
    EXPECT_EQ(mixer.last, &OverlayAlphaBitmap);
    ThePlayerGraph().mixerBitmap.Reset();
    Draw(2);
    RedrawOverlay();
    EXPECT_TRUE(SurfaceBytes() == drawn);
}

TEST_F(Delivery, FollowsThePitchAndSkipsALockedOutSurface) {
    Draw(79);
    Replace(OverlaySurface, kLock, reinterpret_cast<void*>(WideLock), realLock);
    RedrawOverlay();
    EXPECT_EQ(journal.Take(), std::vector<std::string>{"mixer.SetAlphaBitmap"});
    failing = "lock";
    RedrawOverlay();
    EXPECT_EQ(journal.Take(), std::vector<std::string>{});
    Replace(OverlaySurface, kLock, realLock, realLock);
    for (int y = 0; y < kOverlayHeight; ++y) {
        const std::uint8_t* row = &wideRows[static_cast<std::size_t>(y) * kWidePitch];
        ASSERT_EQ(std::memcmp(row, OverlayCanvas.pixelsPtr() + y * kOverlayStride, kOverlayStride), 0) << y;
        ASSERT_EQ(row[kOverlayStride], 0xEE) << y; // between the rows
    }
}

// Each set takes tens of megabytes and a thread or more. A renderer of one of the two graphs before may still
// draw from its surface; a failed build lets go of nothing.
TEST_F(Delivery, OfOldSetsTheTwoNewestStayOnceALaterBuildHasSucceeded) {
    const auto letGoOfOurs = [] {
        for (; !made.empty(); made.pop_back()) {
            made.back()->Release();
        }
    };
    letGoOfOurs();
    const auto devices = [] {
        int alive = 0;
        for (std::size_t i = 1; i < made.size(); i += 2) { // Direct3D lives as long as its device
            made[i]->AddRef();
            alive += made[i]->Release() > 1 ? 1 : 0; // one is ours
        }
        return alive;
    };
    for (int sets = 1; sets <= 6; ++sets) {
        SCOPED_TRACE(sets);
        ASSERT_EQ(SetUpOverlaySurface(window), 1);
        EXPECT_EQ(devices(), std::min(sets, 4)) << "let go before the build has succeeded";
        LetGoOfOldOverlays();
        EXPECT_EQ(devices(), std::min(sets, 3));
        RedrawOverlay();
    }
    letGoOfOurs();
}

// Bytes, handles.
std::pair<SIZE_T, DWORD> InUse() {
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    DWORD handles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    return {memory.PagefileUsage, handles};
}

// Direct3D queues its work in a ring of a few megabytes, whose pages count as soon as they are reached: as
// many bare locks as there are redraws show how much of the growth that is.
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
    Replace(direct3d, kCreateDevice, reinterpret_cast<void*>(CreateDevice), realCreateDevice);
    return direct3d;
}
