#pragma once

#include <string>
#include <vector>

#include "transport/active_format.h"
#include "transport/packet.h"
#include "transport/picture_shape.h"

namespace vistrame {

// Follows what a video PID says of its pictures in the beginnings of its access units.
//
// Threads    none of its own, not thread-safe.
// Ownership  keeps the beginning of one PES packet.
// Errors     what a lost packet hides is found in a later unit.
class PictureHeaders {
public:
    explicit PictureHeaders(Coding coding) : coding_(coding) {}

    // Each of the PID's packets.
    void Push(const PacketView& packet);

    // The last one said; nothing yet.
    const std::optional<PictureShape>& Shape() const { return shape_; }
    // In force until a unit says otherwise, or a sequence begins without it.
    const std::optional<ActiveFormat>& Active() const { return active_; }
    // "720x576 4:3, AFD 14:9 centre"; empty while there is no shape.
    std::string Text() const;

private:
    void Look();

    Coding coding_;
    std::vector<std::uint8_t> head_; // of the PES packet under way; empty: it has been looked at
    std::optional<PictureShape> shape_;
    std::optional<ActiveFormat> active_;
};

} // namespace vistrame
