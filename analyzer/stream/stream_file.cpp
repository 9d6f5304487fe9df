#include "analyzer/stream/stream_file.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <map>
#include <thread>
#include <utility>

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/stream/pace_meter.h"
#include "analyzer/stream/selection.h"

namespace vistrame {

namespace {

constexpr std::size_t kChunk = std::size_t{1} << 16;
// Tables repeat at least every 2 s (DVB service information), 16 MB at 64 Mbit/s; four times that is read for
// streams that are late with them.
constexpr std::uint64_t kScanWanted = std::uint64_t{16} << 20;
constexpr std::uint64_t kScanAtMost = std::uint64_t{64} << 20;
// Pace of a stream without any PCR: that of a full satellite transponder's smaller services.
constexpr double kDefaultPacketsPerSecond = 6'000'000.0 / 8 / kPacketSize;

// What the PCRs of one PID say about the pace.
struct ClockProbe {
    PaceMeter meter{0};
    std::uint64_t lastPacket = 0;
    std::optional<std::uint64_t> first;
    std::uint64_t firstPacket = 0;

    void OnPcr(std::uint64_t pcr, std::uint64_t packet, bool discontinuity) {
        if (!first) {
            first = pcr;
            firstPacket = packet;
        }
        (void)meter.OnPcr(pcr, packet - lastPacket, discontinuity); // only the mean is of interest
        lastPacket = packet;
    }
    // A single PCR tells nothing.
    bool Tells() const { return meter.MeanTicksPerPacket() > 0; }
};

class Scan {
public:
    void Feed(ByteSpan chunk) { cutter_.Feed(chunk); }
    void Finish() { cutter_.Flush(); }

    bool Complete() const { return table_.Complete(); }
    std::vector<Programme> Programmes() const {
        std::vector<Programme> programmes;
        for (const auto& [number, programme] : programmes_) {
            programmes.push_back(programme);
        }
        return programmes;
    }
    const PacketCutter& Cutter() const { return cutter_; }
    std::map<Pid, PictureHeaders> Pictures() const { return pictures_; }

    // Of the first programme that has a clock, otherwise of any PID that carries one.
    Pid ClockPid() const {
        for (const auto& [number, programme] : programmes_) {
            const auto probe = probes_.find(programme.pcrPid);
            if (probe != probes_.end() && probe->second.Tells()) {
                return programme.pcrPid;
            }
        }
        const auto probe =
            std::ranges::find_if(probes_, [](const auto& entry) { return entry.second.Tells(); });
        return probe != probes_.end() ? probe->first : kNullPid;
    }
    double PacketsPerSecond() const {
        const auto probe = probes_.find(ClockPid());
        return probe != probes_.end() ? kPcrPerSecond / probe->second.meter.MeanTicksPerPacket()
                                      : kDefaultPacketsPerSecond;
    }
    std::optional<std::uint64_t> FirstPcr() const {
        const auto probe = probes_.find(ClockPid());
        if (probe == probes_.end()) {
            return std::nullopt;
        }
        const double before =
            static_cast<double>(probe->second.firstPacket) * kPcrPerSecond / PacketsPerSecond();
        return (*probe->second.first + kPcrWrap - std::llround(before) % kPcrWrap) % kPcrWrap;
    }

private:
    void OnPacket(const PacketView& packet) {
        if (const auto pcr = packet.Pcr()) {
            probes_[packet.PacketId()].OnPcr(*pcr, packets_, packet.DiscontinuityIndicator());
        }
        ++packets_;
        if (table_.Push(packet)) {
            KeepFirst();
        }
        // The file's first that has a shape, for good.
        const auto headers = pictures_.find(packet.PacketId());
        if (headers != pictures_.end() && !headers->second.Shape()) {
            headers->second.Push(packet);
        }
    }
    void KeepFirst() {
        for (const Programme& programme : table_.Programmes()) {
            Programme& kept = programmes_.try_emplace(programme.number, programme).first->second;
            if (!kept.mapped) {
                kept = programme;
                for (const ElementaryStream& stream : kept.streams) {
                    if (IsVideo(stream.coding)) {
                        pictures_.try_emplace(stream.pid, stream.coding);
                    }
                }
            } else if (kept.name.empty()) {
                kept.name = programme.name; // names come later than maps
            }
        }
    }

    ProgrammeTable table_;
    std::map<std::uint16_t, Programme> programmes_;
    std::map<Pid, ClockProbe> probes_;
    std::map<Pid, PictureHeaders> pictures_;
    std::uint64_t packets_ = 0;
    PacketCutter cutter_{[this](const PacketView& packet) { OnPacket(packet); }};
};

} // namespace

Outcome StreamFile::Open(const std::string& path) {
    const auto fail = [&path](const char* why) { return Outcome{ExitCode::kStream, path + ": " + why}; };
    std::error_code unknown;
    const auto size = std::filesystem::file_size(FilePath(path), unknown);
    std::ifstream file(FilePath(path), std::ios::binary);
    if (unknown || !file) {
        return fail(std::filesystem::exists(FilePath(path), unknown) ? "cannot be read" : "no such file");
    }
    Scan scan;
    std::vector<std::uint8_t> chunk(kChunk);
    for (std::uint64_t read = 0; read < (scan.Complete() ? kScanWanted : kScanAtMost); read += kChunk) {
        file.read(reinterpret_cast<char*>(chunk.data()), static_cast<std::streamsize>(chunk.size()));
        scan.Feed(ByteSpan(chunk).first(static_cast<std::size_t>(file.gcount())));
        if (!file) {
            scan.Finish();
            break;
        }
    }
    const PacketCutter& cutter = scan.Cutter();
    // A few bytes in front of the first packet, or a damaged stretch, are fine; mostly something else is not.
    if (cutter.Packets() == 0 || cutter.DroppedBytes() > cutter.Packets() * kPacketSize) {
        return fail("no transport stream");
    }
    if (scan.Programmes().empty()) {
        return fail("no programme in it (no program association table was found)");
    }
    path_ = path;
    programmes_ = scan.Programmes();
    pictures_ = scan.Pictures();
    firstPcr_ = scan.FirstPcr();
    clockPid_ = scan.ClockPid();
    packetsPerSecond_ = scan.PacketsPerSecond();
    stride_ = std::max(cutter.Stride(), kPacketSize);
    seconds_ = static_cast<double>(size) / static_cast<double>(stride_) / packetsPerSecond_;
    return {};
}

Outcome StreamFile::OpenLive(const std::string& name, std::shared_ptr<LiveSource> source) {
    using namespace std::chrono_literals;
    constexpr auto kAtLeast = 600ms; // names come later than the rest
    constexpr auto kAtMost = 5s;
    Scan scan;
    const auto begin = std::chrono::steady_clock::now();
    const auto passed = [begin] { return std::chrono::steady_clock::now() - begin; };
    while ((passed() < kAtLeast || !scan.Complete()) && passed() < kAtMost && !source->Ended()) {
        std::this_thread::sleep_for(20ms);
        scan.Feed(source->Take());
    }
    if (scan.Programmes().empty()) {
        return {ExitCode::kStream,
                name + (scan.Cutter().Packets() == 0 ? ": no transport stream arrives there"
                                                     : ": no programme in it so far")};
    }
    path_ = name;
    live_ = std::move(source);
    programmes_ = scan.Programmes();
    pictures_ = scan.Pictures();
    clockPid_ = scan.ClockPid();
    packetsPerSecond_ = scan.PacketsPerSecond();
    return {};
}

const Programme* StreamFile::Find(std::uint16_t number) const {
    const auto found = std::ranges::find(programmes_, number, &Programme::number);
    return found != programmes_.end() ? &*found : nullptr;
}

std::string StreamFile::PictureText(Pid pid) const {
    const auto found = pictures_.find(pid);
    return found != pictures_.end() ? found->second.Text() : "";
}

std::string FormatProgrammeTable(const StreamFile& file) {
    std::string table =
        Format("%u programmes, %.1f s, %.2f Mbit/s\n", static_cast<unsigned>(file.Programmes().size()),
               file.Seconds(), file.PacketsPerSecond() * kPacketSize * 8 / 1e6);
    for (const Programme& programme : file.Programmes()) {
        table += Format("programme %u \"%s\" pmt 0x%04X", programme.number, programme.name.c_str(),
                        programme.pmtPid);
        table += programme.mapped ? Format(" pcr 0x%04X\n", programme.pcrPid) : " without a map\n";
        for (const ElementaryStream& stream : programme.streams) {
            const std::string picture = file.PictureText(stream.pid);
            table += "  " + DescribeStream(stream) + (picture.empty() ? "" : " " + picture) + "\n";
        }
    }
    return table;
}

std::string FormatProgrammeFields(const StreamFile& file) {
    const auto field = [](Pid pid) { return pid == kNullPid ? std::string("-") : Format("0x%04X", pid); };
    std::string lines;
    for (const Programme& programme : file.Programmes()) {
        const Selection played = SelectStreams(programme, std::nullopt).value_or(Selection());
        lines += Format("%u\t", programme.number) + field(played.videoPid) + '\t' + field(played.audioPid) +
                 '\t' + programme.name + '\n'; // names hold no control codes
    }
    return lines;
}

} // namespace vistrame
