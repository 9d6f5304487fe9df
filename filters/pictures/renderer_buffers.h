#pragma once

#include <span>

#include "filters/base/output_pin.h"
#include "filters/pictures/picture_types.h"

namespace vistrame {

// The buffers that an output pin gets from its renderer for pictures: how they are laid out now, and how that
// changes.
//
// Threads    the streaming thread, or connecting while there is none. No buffer may be outstanding here when
//            the type is to change.
// Ownership  borrows the pin.
// Errors     what is refused leaves the layout as it was.
class RendererBuffers {
public:
    // Only the `layouts`, which must outlive this, count as pictures.
    explicit RendererBuffers(OutputPin& pin, std::span<const SampleLayout> layouts = PixelLayouts())
        : pin_(pin), layouts_(layouts) {}

    // The pin is connected with this type. False: it is not one of the layouts.
    bool Connected(const MediaType& type);
    // How a picture has to be written now.
    const PictureType& Target() const { return target_; }

    // A buffer to fill as Target() then says: the renderer may have put a layout of its own on it. False when
    // stopping.
    bool Take(ComPtr<IMediaSample>* sample, BYTE** buffer, DWORD flags = 0);

    // Another type for pictures of the connected size.
    bool ChangeType(const MediaType& type);
    // Another size. A renderer's yes to it (QueryAccept) is not relied upon, some accept any and go on
    // reading the buffer with the old one: it has to reconnect (IPin::ReceiveConnection while running). One
    // that refuses because it holds a picture is flushed and asked again.
    bool Reconnect(const MediaType& type);

private:
    HRESULT TryType(const MediaType& type);
    HRESULT TryReconnect(const MediaType& type);

    OutputPin& pin_;
    const std::span<const SampleLayout> layouts_;
    PictureType target_;
};

} // namespace vistrame
