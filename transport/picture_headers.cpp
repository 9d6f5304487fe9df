#include "transport/picture_headers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace vistrame {
namespace {

std::string AspectText(double aspect) {
    struct Named {
        double aspect;
        const char* name;
    };
    constexpr std::array kNames{Named{4.0 / 3, "4:3"}, Named{16.0 / 9, "16:9"}};
    constexpr double kSame = 0.03; // 16:9 is written in more than one way
    const auto* const found = std::ranges::find_if(
        kNames, [&](const Named& named) { return std::abs(named.aspect - aspect) < kSame * aspect; });
    if (found != kNames.end()) {
        return found->name;
    }
    std::array<char, 24> text{};
    (void)std::snprintf(text.data(), text.size(), "%.2f:1", aspect);
    return text.data();
}

} // namespace

void PictureHeaders::Push(const PacketView& packet) {
    constexpr std::size_t kHead = 1024; // parameter sets and captions fit in front of the first slice
    if (packet.Scrambled()) {
        head_.clear();
        return;
    }
    if (packet.UnitStart()) {
        Look();
    }
    if (const ByteSpan payload = packet.Payload(); packet.UnitStart() || !head_.empty()) {
        head_.insert(head_.end(), payload.begin(), payload.end());
    }
    if (head_.size() >= kHead) {
        Look();
    }
}

void PictureHeaders::Look() {
    const auto shape = FindPictureShape(coding_, head_);
    const auto active = FindActiveFormat(coding_, head_);
    shape_ = shape ? shape : shape_;
    active_ = shape || active ? active : active_;
    head_.clear();
}

std::string PictureHeaders::Text() const {
    if (!shape_) {
        return "";
    }
    std::string text = std::to_string(shape_->width) + "x" + std::to_string(shape_->height) + " " +
                       AspectText(shape_->aspect);
    return active_ ? text + ", AFD " + ActiveFormatName(*active_) : text;
}

} // namespace vistrame
