#include "analyzer/ui/png_file.h"

#include <memory>

#include <wincodec.h>
#include <wrl/client.h>

#include "analyzer/base/utf8.h"

namespace vistrame {

namespace {

using Microsoft::WRL::ComPtr;

struct BitmapDeleter {
    using pointer = HBITMAP;
    void operator()(HBITMAP bitmap) const { (void)DeleteObject(bitmap); } // selected nowhere any more
};
using Bitmap = std::unique_ptr<HBITMAP, BitmapDeleter>;

Bitmap CopyScreen(const RECT& area) {
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    const int width = area.right - area.left;
    const int height = area.bottom - area.top;
    Bitmap bitmap(CreateCompatibleBitmap(screen, width, height));
    HGDIOBJ before = SelectObject(memory, bitmap.get());
    const bool copied = BitBlt(memory, 0, 0, width, height, screen, area.left, area.top, SRCCOPY);
    (void)SelectObject(memory, before);
    (void)DeleteDC(memory); // nothing to do about a failure, as with the next
    (void)ReleaseDC(nullptr, screen);
    return copied ? std::move(bitmap) : Bitmap();
}

HRESULT Write(HBITMAP picture, const std::wstring& path) {
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICBitmap> bitmap;
    ComPtr<IWICStream> stream;
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    HRESULT result = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_PPV_ARGS(factory.GetAddressOf()));
    const auto then = [&result](auto step) { result = SUCCEEDED(result) ? step() : result; };
    then([&] {
        return factory->CreateBitmapFromHBITMAP(picture, nullptr, WICBitmapIgnoreAlpha,
                                                bitmap.GetAddressOf());
    });
    then([&] { return factory->CreateStream(stream.GetAddressOf()); });
    then([&] { return stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE); });
    then([&] { return factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.GetAddressOf()); });
    then([&] { return encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache); });
    then([&] { return encoder->CreateNewFrame(frame.GetAddressOf(), nullptr); });
    then([&] { return frame->Initialize(nullptr); });
    then([&] { return frame->SetPixelFormat(&format); });
    then([&] { return frame->WriteSource(bitmap.Get(), nullptr); });
    then([&] { return frame->Commit(); });
    then([&] { return encoder->Commit(); });
    return result;
}

} // namespace

std::string SaveScreenAsPng(const RECT& area, const std::wstring& path) {
    const Bitmap picture = CopyScreen(area);
    if (!picture) {
        return "the screen cannot be read";
    }
    const HRESULT entered = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const HRESULT written = Write(picture.get(), path);
    if (SUCCEEDED(entered)) {
        CoUninitialize();
    }
    return SUCCEEDED(written) ? std::string() : ErrorText(static_cast<unsigned long>(written));
}

} // namespace vistrame
