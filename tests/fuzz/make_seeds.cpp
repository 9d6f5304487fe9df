// Writes the seeds of the fuzzers: good streams and sections, and the jumps and losses that are hard to come by.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/transport/ts_builder.h"

namespace {

using namespace vistrame;

std::filesystem::path directory;

void Write(const char* fuzzer, const std::string& name, Bytes head, const Bytes& bytes) {
    head.insert(head.end(), bytes.begin(), bytes.end());
    std::ofstream file(directory / fuzzer / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(head.data()), static_cast<std::streamsize>(head.size()));
    if (!file) {
        throw std::filesystem::filesystem_error("cannot write", directory / fuzzer / name, {});
    }
}

// The first two bytes steer demultiplexer_fuzz.
void WriteStreams() {
    TsBuilder builder;
    builder.AddSdt({{1, "\x15One"}});
    AddProgramme(builder, {.pictures = 3});
    for (const std::size_t stride : {188U, 192U, 204U}) {
        Write("demultiplexer_fuzz", "programme" + std::to_string(stride), {0x00, 0x40},
              Render(builder.packets, stride));
    }
    AddProgramme(builder, {.start = 400'000'000, .pictures = 2});
    const Bytes jump = Render(builder.packets);
    Write("demultiplexer_fuzz", "jump", {0x00, 0xFF}, jump);
    for (unsigned change = 1; change < 8; ++change) {
        Write("demultiplexer_fuzz", "change" + std::to_string(change),
              {static_cast<std::uint8_t>(change << 4 | 3), 0x20}, jump);
    }
}

// The first byte chooses the parser in parsers_fuzz.
void WriteParserInputs() {
    TsBuilder builder;
    builder.AddPat({{1, 0x100}, {2, 0x200}});
    builder.AddPmt(0x100, 1, 0x101,
                   {{0x101, 0x02, {}}, {0x102, 0x06, {0x0A, 4, 'e', 'n', 'g', 0, 0x6A, 1, 0}}});
    builder.AddSdt({{1, "\x05\xDDki"}, {2, "\xC8uber"}});
    std::uint8_t parser = 0;
    for (const TsBuilder::Packet& packet : builder.packets) {
        const std::size_t size =
            std::size_t{3} + (static_cast<std::size_t>(packet[6] & 0x0F) << 8 | packet[7]);
        Write("parsers_fuzz", "section" + std::to_string(parser), {parser},
              Bytes(packet.begin() + 5, packet.begin() + 5 + static_cast<std::ptrdiff_t>(size)));
        ++parser;
    }
    Write("parsers_fuzz", "pes", {3}, MakePes({.pts = 90'000, .dts = 86'400, .bounded = true}, Bytes(20)));
    Write("parsers_fuzz", "mpeg2", {4}, PicturePayload(0));
    Write("parsers_fuzz", "h264", {5}, {0, 0, 1, 9, 0x10, 0, 0, 1, 6, 6, 1, 0x84, 0x80, 0, 0, 1, 0x41, 0x9A});
    Write("parsers_fuzz", "hevc", {6}, {0, 0, 1, 0x40, 1, 0, 0, 1, 0x26, 1, 0xAF});
    Write("parsers_fuzz", "text", {7}, {0x10, 0, 2, 'A', 0xC8, 'u'});
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        (void)std::fprintf(stderr, "usage: transport_seeds DIRECTORY\n");
        return 2;
    }
    directory = arguments[1];
    for (const char* fuzzer : {"demultiplexer_fuzz", "parsers_fuzz"}) {
        std::filesystem::create_directories(directory / fuzzer);
    }
    WriteStreams();
    WriteParserInputs();
    return 0;
}
