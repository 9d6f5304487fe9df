#pragma once

#include <bitset>
#include <map>
#include <memory>
#include <vector>

#include "transport/packet_cutter.h"
#include "transport/section_assembler.h"
#include "transport/tables.h"

namespace vistrame {

struct Programme {
    std::uint16_t number = 0;
    std::string name; // of the service table, otherwise the channel table; UTF-8, empty when neither says one
    Pid pmtPid = kNullPid;
    Pid pcrPid = kNullPid; // kNullPid: none, or the PMT is not in yet
    std::vector<ElementaryStream> streams;
    bool mapped = false; // the PMT is in

    bool operator==(const Programme&) const = default;
};

// The programmes of a stream, kept up to date from its packets.
//
// Threads    none of its own, not thread-safe.
// Ownership  answers references into itself, good until the next Push() or Reset().
// Errors     damaged sections are ignored: tables repeat. What counts is the tables' content, not their
//            version number, so a stream that continues with another one's tables is followed too. What is
//            more than any multiplex carries is left out: a made-up table would keep the thread busy.
class ProgrammeTable {
public:
    static constexpr std::size_t kMaxProgrammes = 512;
    static constexpr std::size_t kMaxServices = 1024; // and the rest of a section

    ProgrammeTable();
    ProgrammeTable(const ProgrammeTable&) = delete;
    ProgrammeTable& operator=(const ProgrammeTable&) = delete;
    ~ProgrammeTable() = default;

    // True when the packet completed a section that changed something.
    bool Push(const PacketView& packet);
    // Whether Push() looks into packets of this PID.
    bool Wants(Pid pid) const { return wanted_[pid]; }
    void Reset();

    // PAT and the PMT of every programme in it are in and, where a service table has begun, all of that. A
    // programme that is announced but not in the stream keeps this false for good, and names may begin up to
    // 2 s after the rest: how long to look is the caller's choice.
    bool Complete() const;
    bool PatSeen() const { return patSeen_; }
    bool NamesComplete() const { return services_.Complete(); }
    // In ascending order of their numbers.
    const std::vector<Programme>& Programmes() const { return programmes_; }
    const Programme* FindProgramme(std::uint16_t number) const;
    // The first programme with this PID among its elementary streams, and the stream in it; null when none
    // has it.
    const Programme* FindProgrammeOf(Pid elementary) const;
    const ElementaryStream* FindStream(Pid elementary) const;

private:
    // Sections of one version of a table, by number; another version empties it.
    template <typename Section>
    class Collection {
    public:
        void Add(const Section& section);
        bool Begun() const { return !sections_.empty(); }
        bool Complete() const { return Begun() && sections_.size() == std::size_t{last_} + 1; }
        const std::map<std::uint8_t, Section>& Sections() const { return sections_; }

    private:
        std::map<std::uint8_t, Section> sections_;
        std::uint8_t version_ = 0;
        std::uint8_t last_ = 0;
    };

    void OnPat(ByteSpan section);
    void OnPmt(Pid pid, ByteSpan section);
    void OnSdt(ByteSpan section);
    void OnVct(ByteSpan section);
    void AdoptNames();
    void AdoptProgrammes(const std::map<std::uint16_t, Pid>& pmtPids);
    std::string NameOf(std::uint16_t programme) const;

    SectionAssembler patAssembler_;
    SectionAssembler sdtAssembler_;
    SectionAssembler vctAssembler_;
    std::map<Pid, std::unique_ptr<SectionAssembler>> pmtAssemblers_;
    std::bitset<kPidCount> wanted_;
    Collection<PatSection> pat_;
    Collection<SdtSection> services_;
    Collection<VctSection> channels_;
    std::vector<Programme> programmes_;
    bool patSeen_ = false;
    bool changed_ = false;
};

// Finds the programmes of a file from chunks of its beginning.
class ProgrammeScanner {
public:
    ProgrammeScanner();

    void Feed(ByteSpan chunk) { cutter_.Feed(chunk); }
    // End of the file: the last few packets count too.
    void Finish() { cutter_.Flush(); }

    bool Complete() const { return table_.Complete(); }
    const ProgrammeTable& Table() const { return table_; }
    // How much of it is a transport stream at all.
    std::uint64_t Packets() const { return cutter_.Packets(); }
    std::uint64_t DroppedBytes() const { return cutter_.DroppedBytes(); }
    std::size_t Stride() const { return cutter_.Stride(); }

private:
    ProgrammeTable table_;
    PacketCutter cutter_;
};

} // namespace vistrame
