#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "filters/base/base_filter.h"
#include "filters/base/output_pin.h"
#include "filters/osd_source/text_picture.h"
#include "contract/maker_interfaces.h"

namespace vistrame {

// A live source of pictures with a text in them, for a mixing renderer to lay over the video. One pin, "1".
//
// The picture is painted when the text or the size changes, and delivered then, when the graph starts, and otherwise
// once per kRepeat, for a renderer that has lost it. Pictures carry no times: each is to be shown at once.
//
// Units      pixels, ARGB32 with straight alpha (RGB32 to a renderer that takes no other).
// Threads    OsdSourceControl from any thread at any time, without waiting for anything downstream. A worker paints and
//            delivers from Pause to Stop.
// Ownership  the text is copied.
// Errors     E_INVALIDARG for a size that is no picture. A size set while connected holds where the renderer takes it
//            in mid-stream; otherwise the connected size stays.
class OsdSource final : public WithInterfaces<BaseFilter, OsdSourceControl, IAMFilterMiscFlags> {
public:
    static constexpr DWORD kRepeat = 1000; // milliseconds

    OsdSource();

    // OsdSourceControl
    HRESULT STDMETHODCALLTYPE SetSize(ULONG width, ULONG height, ULONG visible) override;
    HRESULT STDMETHODCALLTYPE Reserved1() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved2() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetText(const char* text) override;
    // IAMFilterMiscFlags
    ULONG STDMETHODCALLTYPE GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_SOURCE; }

protected:
    bool CanCueWhilePaused() const override { return false; }

private:
    class PicturePin;

    // What is to be shown.
    struct Content {
        std::string text;
        int width = 1920;
        int height = 1080;
        bool visible = true;
    };

    ~OsdSource() override { (void)Stop(); }

    Content Wanted() const;
    void StartWorker();
    void BeginStop();
    void JoinWorker();
    void Work();
    void Paint(const Content& content);
    void Deliver();

    mutable std::mutex lock_; // guards content_, version_, running_; nothing is called under it
    std::condition_variable changed_;
    Content content_;
    unsigned version_ = 0; // of content_
    bool running_ = false;

    std::thread worker_;      // filter lock
    TextPicture textPicture_; // what follows is the worker's
    std::unique_ptr<OsdCanvasArgb32> canvas_;
    PicturePin& pin_;
};

} // namespace vistrame
