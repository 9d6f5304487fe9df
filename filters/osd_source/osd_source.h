#pragma once

#include <string>

#include "filters/base/base_filter.h"
#include "filters/base/lock.h"
#include "filters/base/output_pin.h"
#include "filters/base/worker_thread.h"
#include "filters/osd_source/text_picture.h"
#include "filters/pictures/renderer_buffers.h"
#include "contract/maker_interfaces.h"

namespace vistrame {

// A live source of pictures with a text in them, for a mixing renderer to lay over the video. One pin, "1".
//
// The picture is painted when the text or the size changes, and delivered then, when the graph starts, and
// otherwise once per kRepeat, for a renderer that has lost it. Pictures carry no times: each is to be shown
// at once.
//
// Units      pixels, ARGB32 with straight alpha (RGB32 to a renderer that takes no other).
// Threads    OsdSourceControl from any thread at any time, without waiting for anything downstream. A worker
//            paints and delivers from Pause to Stop.
// Ownership  the text is copied.
// Errors     E_INVALIDARG for a size that is no picture. A size set while connected holds where the renderer
//            takes it in mid-stream; otherwise the connected size stays, and it is asked for the next one
//            set.
class OsdSource final : public WithInterfaces<BaseFilter, OsdSourceControl, IAMFilterMiscFlags> {
public:
    static constexpr DWORD kRepeat = 1000; // milliseconds
    static constexpr long kBuffers = 2;    // one at the renderer, one to fill

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
    void Agree(const Content& content);
    bool Paint(const Content& content, unsigned version);
    void Deliver(const Content& content, unsigned version);

    mutable Lock lock_; // guards content_, version_, running_; nothing is called under it
    Condition changed_;
    Content content_;
    unsigned version_ = 0; // of content_
    bool running_ = false;

    WorkerThread worker_;     // filter lock
    TextPicture textPicture_; // what follows is the worker's
    std::unique_ptr<OsdCanvasArgb32> canvas_;
    unsigned paintedVersion_ = 0; // what canvas_ shows
    int askedWidth_ = 0;          // the size that the renderer was asked for last
    int askedHeight_ = 0;
    PicturePin& pin_;
    RendererBuffers buffers_;
};

} // namespace vistrame
