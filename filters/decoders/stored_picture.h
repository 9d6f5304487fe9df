#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "filters/pictures/picture.h"

namespace vistrame {

// A copy of a decoded picture that outlives the decoder's.
//
// Ownership  the picture from Get() borrows this object's bytes.
// Errors     std::bad_alloc from Store, and there is none then.
class StoredPicture {
public:
    // A format that is not known is not stored.
    void Store(const Picture& picture);
    void Clear() { picture_.reset(); }
    [[nodiscard]] const std::optional<Picture>& Get() const { return picture_; }

private:
    std::vector<std::uint8_t> bytes_;
    std::optional<Picture> picture_;
};

} // namespace vistrame
