// A Direct3D device that is lost while VMR9 shows pictures, as when another program takes the whole display:
// the stream goes on, and so do the pictures once the device is back.
#include <utility>

#include <d3d9.h>

#include "tests/filters/play/playing_graph.h"

namespace vistrame::test {

namespace {

using PresentCall = HRESULT(STDMETHODCALLTYPE*)(IDirect3DDevice9*, const RECT*, const RECT*, HWND,
                                                const RGNDATA*);

constexpr std::size_t kPresentPlace = 17; // in the interface

std::atomic<bool> lost = false;
std::atomic<int> presented = 0, refused = 0;
PresentCall realPresent = nullptr;

HRESULT STDMETHODCALLTYPE Present(IDirect3DDevice9* device, const RECT* from, const RECT* to, HWND window,
                                  const RGNDATA* dirty) {
    if (lost) {
        ++refused;
        return D3DERR_DEVICELOST;
    }
    ++presented;
    return realPresent(device, from, to, window, dirty);
}

// All devices share their methods, the renderer's too.
class WatchedDevices {
public:
    explicit WatchedDevices(HWND window) {
        const HMODULE library = LoadLibraryA("d3d9.dll");
        const auto create = reinterpret_cast<IDirect3D9*(WINAPI*)(UINT)>(
            reinterpret_cast<void*>(GetProcAddress(library, "Direct3DCreate9")));
        ComPtr<IDirect3D9> direct3d;
        *direct3d.ReleaseAndGetAddressOf() = create(D3D_SDK_VERSION);
        D3DPRESENT_PARAMETERS parameters{};
        parameters.Windowed = TRUE;
        parameters.SwapEffect = D3DSWAPEFFECT_DISCARD;
        EXPECT_EQ(
            direct3d->CreateDevice(D3DADAPTER_DEFAULT, D3DDEVTYPE_HAL, window,
                                   D3DCREATE_SOFTWARE_VERTEXPROCESSING, &parameters, device_.GetAddressOf()),
            D3D_OK);
        realPresent = Put(Present);
    }
    WatchedDevices(const WatchedDevices&) = delete;
    WatchedDevices& operator=(const WatchedDevices&) = delete;
    ~WatchedDevices() { (void)Put(realPresent); }

private:
    PresentCall Put(PresentCall method) {
        PresentCall& place = (*reinterpret_cast<PresentCall**>(device_.Get()))[kPresentPlace];
        DWORD earlier = 0;
        VirtualProtect(&place, sizeof place, PAGE_EXECUTE_READWRITE, &earlier);
        return std::exchange(place, method);
    }

    ComPtr<IDirect3DDevice9> device_;
};

} // namespace

TEST(LostDevice, PicturesGoOnWhenItIsBack) {
    constexpr DWORD kStretch = 1000; // milliseconds of each state
    constexpr int kFew = 8;          // of its 25 pictures
    PlayingGraph play;
    ASSERT_EQ(play.graph.Connect(&play.video->Output(), play.AddVmr9().Get()), S_OK);
    const WatchedDevices watched(GetDesktopWindow());
    play.graph.Run();
    Broadcast broadcast;
    broadcast.Send(*play.feed, 2 * kStretch);
    EXPECT_GT(presented, kFew) << "no picture at all";
    lost = true;
    broadcast.Send(*play.feed, kStretch);
    EXPECT_GT(refused, kFew) << "the stream stood still";
    lost = false;
    presented = 0;
    broadcast.Send(*play.feed, kStretch);
    EXPECT_GT(presented, kFew) << "no picture any more";
    ComPtr<IMediaEvent> events;
    ASSERT_HRESULT_SUCCEEDED(play.graph.graph->QueryInterface(IID_IMediaEvent, &events));
    LONG code = 0;
    LONG_PTR first = 0, second = 0;
    while (events->GetEvent(&code, &first, &second, 0) == S_OK) {
        EXPECT_NE(code, EC_ERRORABORT);
        (void)events->FreeEventParams(code, first, second);
    }
    play.graph.Stop();
}

} // namespace vistrame::test
