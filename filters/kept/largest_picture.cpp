#include "filters/kept/largest_picture.h"

#include <algorithm>
#include <map>

#include "transport/picture_headers.h"
#include "transport/programme_table.h"

namespace vistrame {
namespace {

template <class Visit>
void ForEachPacket(KeptBlocks blocks, Visit visit) {
    for (const auto& block : blocks) {
        for (ByteSpan left = block->packets; left.size() >= kPacketSize; left = left.subspan(kPacketSize)) {
            visit(PacketView(left.first<kPacketSize>()));
        }
    }
}

LargestPicture Search(KeptBlocks blocks, Coding coding) {
    ProgrammeTable tables;
    ForEachPacket(blocks, [&](const PacketView& packet) {
        if (tables.Wants(packet.PacketId())) {
            (void)tables.Push(packet);
        }
    });
    LargestPicture found{.certain = tables.PatSeen()};
    std::map<Pid, PictureHeaders> videos;
    for (const Programme& programme : tables.Programmes()) {
        found.certain = found.certain && programme.mapped;
        for (const ElementaryStream& stream : programme.streams) {
            if (stream.coding == coding) {
                videos.emplace(stream.pid, coding);
            }
        }
    }
    ForEachPacket(blocks, [&](const PacketView& packet) {
        if (const auto video = videos.find(packet.PacketId());
            video != videos.end() && !video->second.Shape()) {
            video->second.Push(packet);
        }
    });
    for (const auto& [pid, headers] : videos) {
        const PictureShape shape = headers.Shape().value_or(PictureShape{});
        found.width = std::max(found.width, shape.width);
        found.height = std::max(found.height, shape.height);
        found.certain = found.certain && headers.Shape().has_value();
    }
    return found;
}

} // namespace

std::optional<LargestPicture> FindLargestPicture(const KeptStream::Snapshot& kept, Coding coding) {
    LargestPicture found;
    SearchNewest(kept, [&](KeptBlocks blocks) {
        found = Search(blocks, coding);
        return found.certain;
    });
    return found.width == 0 ? std::nullopt : std::optional(found);
}

} // namespace vistrame
