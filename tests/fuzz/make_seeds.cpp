// Writes the seeds of the fuzzers: good streams and sections, and the jumps and losses that are hard to come
// by.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/transport/ts_builder.h"
#include "transport/clock.h"

namespace {

using namespace vistrame;

// Into the working directory.
void Write(const std::string& path, const Bytes& head, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    for (const Bytes* part : {&head, &bytes}) {
        file.write(reinterpret_cast<const char*>(part->data()), static_cast<std::streamsize>(part->size()));
    }
    if (!file) {
        throw std::filesystem::filesystem_error("cannot write", path, {});
    }
}

// The first two bytes steer demultiplexer_fuzz.
void WriteStreams() {
    const std::string path = "demultiplexer_fuzz/";
    TsBuilder builder;
    builder.AddSdt({{1, "\x15One"}});
    AddProgramme(builder, {.pictures = 3});
    for (const std::size_t stride : {188U, 192U, 204U}) {
        Write(path + "programme" + std::to_string(stride), {0x00, 0x40}, Render(builder.packets, stride));
    }
    AddProgramme(builder, {.start = 400'000'000, .pictures = 2});
    const Bytes jump = Render(builder.packets);
    Write(path + "jump", {0x00, 0xFF}, jump);
    for (std::uint8_t change = 0x13; change < 0x80; change += 0x10) {
        Write(path + "change" + std::to_string(change >> 4), {change, 0x20}, jump);
    }
    TsBuilder halfWrap; // at the next PCR the DTS is less than half a wrap ahead and the PTS is more
    for (const std::int64_t now : {0, 3600, 7200}) {
        const std::int64_t dts = kTickWrap / 2 + now + 2600;
        halfWrap.AddPes(0x101, {.pts = dts + 3600, .dts = dts, .pcr = now * kPcrPerTick}, Bytes(2000));
    }
    Write(path + "half-wrap", {0x00, 0x40}, Render(halfWrap.packets));
}

// The first byte chooses the parser in parsers_fuzz.
void WriteParserInputs() {
    TsBuilder builder;
    builder.AddPat({{1, 0x100}, {2, 0x200}});
    builder.AddPmt(0x100, 1, 0x101,
                   {{0x101, 0x02, {}}, {0x102, 0x06, {0x0A, 4, 'e', 'n', 'g', 0, 0x6A, 1, 0}}});
    builder.AddSdt({{1, "\x05\xDDki"}, {2, "\xC8uber"}});
    std::vector<Bytes> inputs;
    for (const TsBuilder::Packet& packet : builder.packets) { // each a section of less than 256 bytes
        inputs.emplace_back(packet.begin() + 5, packet.begin() + 5 + 3 + packet[7]);
    }
    inputs.push_back(MakePes({.pts = 90'000, .dts = 86'400, .bounded = true}, Bytes(20)));
    inputs.push_back(PicturePayload(0));
    // H.264 and HEVC: the sequence's parameters, user data with an active format, a picture.
    inputs.push_back({0,    0,    1,    9,    0x10, 0,    0,    1,    0x67, 0x64, 0, 0x1E, 0xAC, 0xD9, 0x40,
                      0xB4, 0x12, 0x6F, 0xFC, 0x01, 0,    0,    1,    6,    4,    9, 0xB5, 0,    0x31, 'D',
                      'T',  'G',  '1',  0x41, 0xFA, 0x80, 0,    0,    1,    6,    6, 1,    0x84, 0x80, 0,
                      0,    1,    0x67, 0x64, 0,    0x1E, 0xAD, 0xC5, 0x49, 0,    0, 1,    0x41, 0x9A});
    inputs.push_back({0,    0,    1,    0x40, 1,    0,    0,    1,    0x42, 1, 1, 2,    0x20, 0,
                      0,    3,    0,    0x90, 0,    0,    3,    0,    0,    3, 0, 0x78, 0xA0, 3,
                      0xC0, 0x80, 0x10, 0xE4, 0xD9, 0,    0,    1,    0x4E, 1, 4, 9,    0xB5, 0,
                      0x31, 'D',  'T',  'G',  '1',  0x41, 0xFA, 0x80, 0,    0, 1, 0x26, 1,    0xAF});
    inputs.push_back({0x10, 0, 2, 'A', 0xC8, 'u'}); // text
    for (std::uint8_t parser = 0; parser < inputs.size(); ++parser) {
        Write("parsers_fuzz/" + std::to_string(parser), {parser}, inputs[parser]);
    }
}

// In filters_fuzz the first byte chooses the part; a byte before each piece says how long it is.
void WriteFilterInputs() {
    TsBuilder builder;
    builder.AddPat({{1, 0x100}});
    AddProgramme(builder, {.pictures = 3});
    const Bytes stream = Render(builder.packets);
    const Bytes unit{0, 0, 1, 9, 0x10, 0, 0,    1, 0x65, 0x88, 0,    0, 1,
                     0, 0, 8, 0, 0,    1, 0xB3, 0, 0,    1,    0x26, 1, 0x80};
    for (std::uint8_t part = 0; part < 6; ++part) {
        const Bytes& bytes = part < 3 ? unit : stream;
        Bytes input{part};
        for (std::size_t at = 0; at < bytes.size(); at += 497) { // 31 steps of 16 and one
            input.push_back(31);
            input.insert(input.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at),
                         bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at + 497, bytes.size())));
        }
        Write("filters_fuzz/" + std::to_string(part), {}, input);
    }
}

// In timing_fuzz: a run with both streams and the clock every 40 ms, and a look at the offset.
void WriteTimingInput() {
    Bytes input{0, 0, 0, 0, 0, 0, 0, 0};
    for (int i = 0; i < 20; ++i) {
        for (const std::uint8_t what : {5, 13, 3, i % 8 == 7 ? 4 : 3}) {
            const std::uint8_t later = what == 5 ? 40 : 0;
            input.insert(input.end(), {what, 0, later, 0x80, 0, 0, 20, 0});
        }
    }
    Write("timing_fuzz/run", {}, input);
}

} // namespace

// usage: transport_seeds DIRECTORY
int main(int /*count*/, char** arguments) {
    for (const char* fuzzer : {"demultiplexer_fuzz", "parsers_fuzz", "filters_fuzz", "timing_fuzz"}) {
        std::filesystem::create_directories(std::filesystem::path(arguments[1]) / fuzzer);
    }
    std::filesystem::current_path(arguments[1]);
    WriteStreams();
    WriteParserInputs();
    WriteFilterInputs();
    WriteTimingInput();
    return 0;
}
