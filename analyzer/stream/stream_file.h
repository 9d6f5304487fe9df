#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "analyzer/base/outcome.h"
#include "analyzer/source/live_source.h"
#include "transport/picture_headers.h"
#include "transport/programme_table.h"

namespace vistrame {

// What a transport-stream file holds: its programmes and the clock it is paced by, read from its beginning.
//
// Of tables that change the first counts: it is what the stream begins with. Programmes that come later are
// among the others.
//
// Units      seconds and packets of kPacketSize, whatever the distance of packets in the file.
// Threads    none of its own; constant once opened.
// Errors     Open tells a missing file and one that is no transport stream or holds no programme.
class StreamFile {
public:
    Outcome Open(const std::string& path);
    // A stream that arrives now instead of a file. Watches it until its tables are known, some seconds at
    // most.
    Outcome OpenLive(const std::string& name, std::shared_ptr<LiveSource> source);
    // Null: it is a file.
    LiveSource* Live() const { return live_.get(); }

    const std::string& Path() const { return path_; }
    const std::vector<Programme>& Programmes() const { return programmes_; }
    const Programme* Find(std::uint16_t number) const;

    // What its first pictures say of themselves, as PictureHeaders words it; empty where nothing was found.
    std::string PictureText(Pid pid) const;

    // The PCR everything is paced by: that of the first programme that has one, kNullPid when nobody has.
    // Never changed by choosing a programme, so that a switch leaves the pace alone.
    Pid ClockPid() const { return clockPid_; }
    // Mean over what was read.
    double PacketsPerSecond() const { return packetsPerSecond_; }
    // Of the whole file, by its size; 0 of a live stream.
    double Seconds() const { return seconds_; }
    // Distance of packets in the file.
    std::size_t Stride() const { return stride_; }
    // What the clock would have said in front of the first packet, 27 MHz, modulo its wrap; nothing without a
    // clock.
    std::optional<std::uint64_t> FirstPcr() const { return firstPcr_; }

private:
    std::string path_;
    std::shared_ptr<LiveSource> live_;
    std::vector<Programme> programmes_;
    std::map<Pid, PictureHeaders> pictures_;
    Pid clockPid_ = kNullPid;
    double packetsPerSecond_ = 0;
    double seconds_ = 0;
    std::size_t stride_ = kPacketSize;
    std::optional<std::uint64_t> firstPcr_;
};

// The table of --list, each line ended by '\n'.
std::string FormatProgrammeTable(const StreamFile& file);
// That of --list-fields: per programme its number, the PIDs of the video and the audio that would be played,
// its name.
std::string FormatProgrammeFields(const StreamFile& file);

} // namespace vistrame
