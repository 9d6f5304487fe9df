// What is asked of Direct3D for the overlay, and what is left when it refuses. This program's Direct3DCreate9 makes
// the real object, with single methods replaced by recording ones that may fail.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <d3d9.h>

#include "app/settings.h"
#include "osd/overlay_surface.h"
#include "tests/support/files.h"
#include "tests/support/message_boxes.h"

namespace vistrame {
namespace {

// Places of the methods in their interfaces.
constexpr std::size_t kRelease = 2;
constexpr std::size_t kCreateDevice = 16, kDirect3DMethods = 17;
constexpr std::size_t kCreateOffscreenPlainSurface = 36, kDeviceMethods = 119;

enum class Fails { kNothing, kDirect3D, kDevice, kSurface };

struct Recorder {
    Fails fails = Fails::kNothing;
    std::vector<std::string> lines;
} recorder;

using Method = void*;

// The object's methods, in a table of its own.
template <std::size_t kCount>
std::array<Method, kCount>& OwnMethods(IUnknown* object, std::array<Method, kCount>& table,
                                       std::array<Method, kCount>& real) {
    auto** methods = reinterpret_cast<Method**>(object);
    std::copy_n(*methods, kCount, table.begin());
    real = table;
    *methods = table.data();
    return table;
}

std::array<Method, kDirect3DMethods> direct3dMethods, realDirect3D;
std::array<Method, kDeviceMethods> deviceMethods, realDevice;

template <const auto& kReal>
ULONG STDMETHODCALLTYPE RecordedRelease(IUnknown* object) {
    const ULONG left = reinterpret_cast<ULONG(STDMETHODCALLTYPE*)(IUnknown*)>(kReal[kRelease])(object);
    if (left == 0) {
        recorder.lines.push_back(kReal.size() == kDeviceMethods ? "device gone" : "Direct3D gone");
    }
    return left;
}

HRESULT STDMETHODCALLTYPE RecordedCreateSurface(IDirect3DDevice9* device, UINT width, UINT height,
                                                D3DFORMAT format, D3DPOOL pool, IDirect3DSurface9** surface,
                                                HANDLE* shared) {
    recorder.lines.push_back("surface " + std::to_string(width) + "x" + std::to_string(height) + " format " +
                             std::to_string(format) + " pool " + std::to_string(pool) +
                             (shared == nullptr ? "" : " shared"));
    if (recorder.fails == Fails::kSurface) {
        return D3DERR_OUTOFVIDEOMEMORY;
    }
    const auto create =
        reinterpret_cast<decltype(&RecordedCreateSurface)>(realDevice[kCreateOffscreenPlainSurface]);
    return create(device, width, height, format, pool, surface, shared);
}

HRESULT STDMETHODCALLTYPE RecordedCreateDevice(IDirect3D9* direct3d, UINT adapter, D3DDEVTYPE type,
                                               HWND focus, DWORD flags, D3DPRESENT_PARAMETERS* parameters,
                                               IDirect3DDevice9** device) {
    D3DPRESENT_PARAMETERS expected{};
    expected.Windowed = TRUE;
    expected.SwapEffect = D3DSWAPEFFECT_DISCARD;
    const bool asExpected = std::memcmp(parameters, &expected, sizeof expected) == 0;
    recorder.lines.push_back("device " + std::to_string(adapter) + " type " + std::to_string(type) +
                             " flags " + std::to_string(flags) +
                             (asExpected ? "" : " with other parameters"));
    if (recorder.fails == Fails::kDevice) {
        return D3DERR_NOTAVAILABLE;
    }
    const auto create = reinterpret_cast<decltype(&RecordedCreateDevice)>(realDirect3D[kCreateDevice]);
    const HRESULT result = create(direct3d, adapter, type, focus, flags, parameters, device);
    auto& methods = OwnMethods(*device, deviceMethods, realDevice);
    methods[kRelease] = reinterpret_cast<Method>(RecordedRelease<realDevice>);
    methods[kCreateOffscreenPlainSurface] = reinterpret_cast<Method>(RecordedCreateSurface);
    return result;
}

TEST(OverlayDevice, FailuresAreReportedBeforeWhatWasMadeIsReleased) {
    HWND window = CreateWindowA("STATIC", "", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 300, 200, nullptr,
                                nullptr, nullptr, nullptr);
    const std::string device = "device 0 type 1 flags 32";
    const std::string surface = "surface 1920x1080 format 21 pool 2";
    const std::string noDevice = "TV playback failed\nReason: Unable to create Direct3D Device instance\r\n";
    const std::string noSurface = "TV playback failed\nReason: Unable to create Direct3D surface\r\n";
    struct Row {
        Fails fails;
        std::vector<std::string> lines;
        std::string errorFile;
    };
    const Row rows[] = {
        {Fails::kDirect3D, {noDevice}, "117 Unable to create Direct3D Device instance\r\n"},
        {Fails::kDevice,
         {device, noDevice, "Direct3D gone"},
         "117 Unable to create Direct3D Device instance\r\n"},
        {Fails::kSurface,
         {device, surface, noSurface, "device gone", "Direct3D gone"},
         "118 Unable to create Direct3D surface\r\n"},
        {Fails::kNothing, {device, surface}, ""},
    };
    for (const Row& row : rows) {
        const std::string directory =
            test::NewDirectory("osd" + std::to_string(static_cast<int>(row.fails)) + ".");
        directory.copy(ErrorLogDir, sizeof ErrorLogDir - 1);
        ErrorLogDir[directory.size()] = '\0';
        recorder = {row.fails, {}};
        test::MessageBoxes boxes;
        boxes.whileOpen = [&](HWND) { recorder.lines.push_back(boxes.shown.back().text); };
        const bool works = row.fails == Fails::kNothing;
        EXPECT_EQ(SetUpOverlaySurface(window), works ? 1 : 0);
        EXPECT_EQ(recorder.lines, row.lines);
        EXPECT_EQ(OverlaySurface != nullptr, works);
        const std::vector<std::string> files = test::FilesIn(directory);
        ASSERT_EQ(files.size(), works ? 0U : 1U);
        EXPECT_EQ(works ? "" : test::FileContents(directory + files[0]), row.errorFile);
    }
    DestroyWindow(window);
}

} // namespace
} // namespace vistrame

// Found before the import library's.
extern "C" IDirect3D9* WINAPI Direct3DCreate9(UINT version) {
    using namespace vistrame;
    EXPECT_EQ(version, 32U);
    if (recorder.fails == Fails::kDirect3D) {
        return nullptr;
    }
    const auto create = reinterpret_cast<decltype(&Direct3DCreate9)>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryA("d3d9.dll"), "Direct3DCreate9")));
    IDirect3D9* direct3d = create(version);
    auto& methods = OwnMethods(direct3d, direct3dMethods, realDirect3D);
    methods[kRelease] = reinterpret_cast<Method>(RecordedRelease<realDirect3D>);
    methods[kCreateDevice] = reinterpret_cast<Method>(RecordedCreateDevice);
    return direct3d;
}
