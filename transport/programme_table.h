#pragma once

#include <map>
#include <memory>
#include <set>

#include "transport/packet_cutter.h"
#include "transport/section_assembler.h"
#include "transport/tables.h"

namespace vistrame {

struct Programme {
    std::uint16_t number = 0;
    std::string name; // of the service table, UTF-8; empty when there is none
    Pid pmtPid = kNullPid;
    Pid pcrPid = kNullPid; // kNullPid: none, or PMT not in yet
    std::vector<ElementaryStream> streams;
    bool mapped = false; // PMT is in
};

// The programmes of a stream, kept up to date from its packets.
//
// Threads    none of its own, not thread-safe.
// Ownership  answers references into itself, good until the next packet.
// Errors     damaged sections are ignored: tables repeat.
class ProgrammeTable {
public:
    ProgrammeTable();
    ProgrammeTable(const ProgrammeTable&) = delete;
    ProgrammeTable& operator=(const ProgrammeTable&) = delete;
    ~ProgrammeTable() = default;

    // True when the packet completed a section that changed something.
    bool Push(const PacketView& packet);
    // Whether Push would look into packets of this PID at all.
    bool Wants(Pid pid) const;
    void Reset();

    // PAT and the PMT of every programme in it are in and, when a service table was seen, all of that.
    bool Complete() const;
    bool PatSeen() const { return patVersion_ >= 0; }
    // In ascending order of their numbers.
    const std::vector<Programme>& Programmes() const { return programmes_; }
    const Programme* FindProgramme(std::uint16_t number) const;
    // The first programme with this PID among its elementary streams, and the stream in it; null when none
    // has it.
    const Programme* FindProgrammeOf(Pid elementary) const;
    const ElementaryStream* FindStream(Pid elementary) const;

private:
    void OnPat(ByteSpan section);
    void OnPmt(Pid pid, ByteSpan section);
    void OnSdt(ByteSpan section);
    void AdoptPat();

    SectionAssembler pat_;
    SectionAssembler sdt_;
    std::map<Pid, std::unique_ptr<SectionAssembler>> pmts_;
    std::map<std::uint8_t, PatSection> patSections_; // of the version being collected, by section number
    std::map<std::uint16_t, std::string> names_;
    std::set<std::uint8_t> sdtSections_;
    std::vector<Programme> programmes_;
    std::map<std::uint16_t, int> pmtVersions_; // by programme
    int patVersion_ = -1;                      // -1: none complete yet
    int collectingVersion_ = -1;
    int sdtVersion_ = -1;
    int sdtLast_ = -1;
    bool changed_ = false;
};

// Finds the programmes of a file from chunks of its beginning.
class ProgrammeScanner {
public:
    ProgrammeScanner();
    void Feed(ByteSpan chunk) { cutter_.Feed(chunk); }
    // End of the file: also the last few packets count.
    void Finish() { cutter_.Flush(); }

    bool Complete() const { return table_.Complete(); }
    const ProgrammeTable& Table() const { return table_; }
    // How much of it was a transport stream at all.
    std::uint64_t Packets() const { return cutter_.Packets(); }
    std::uint64_t DroppedBytes() const { return cutter_.DroppedBytes(); }
    std::size_t Stride() const { return cutter_.Stride(); }

private:
    ProgrammeTable table_;
    PacketCutter cutter_;
};

} // namespace vistrame
