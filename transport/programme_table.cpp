#include "transport/programme_table.h"

#include <algorithm>
#include <utility>

namespace vistrame {

template <typename Section>
void ProgrammeTable::Collection<Section>::Add(const Section& section) {
    if (section.header.version != version_ || section.header.lastNumber != last_) {
        sections_.clear();
        version_ = section.header.version;
        last_ = section.header.lastNumber;
    }
    if (section.header.number <= last_) {
        sections_[section.header.number] = section;
    }
}

ProgrammeTable::ProgrammeTable()
    : patAssembler_([this](ByteSpan section) { OnPat(section); }),
      sdtAssembler_([this](ByteSpan section) { OnSdt(section); }),
      vctAssembler_([this](ByteSpan section) { OnVct(section); }) {
    Reset();
}

void ProgrammeTable::Reset() {
    patAssembler_.Reset();
    sdtAssembler_.Reset();
    vctAssembler_.Reset();
    pmtAssemblers_.clear();
    wanted_.reset();
    wanted_.set(kPatPid);
    wanted_.set(kSdtPid);
    wanted_.set(kPsipPid);
    pat_ = {};
    services_ = {};
    channels_ = {};
    programmes_.clear();
    patSeen_ = false;
}

bool ProgrammeTable::Push(const PacketView& packet) {
    changed_ = false;
    const Pid pid = packet.PacketId();
    if (pid == kPatPid) {
        patAssembler_.Push(packet);
    } else if (pid == kSdtPid) {
        sdtAssembler_.Push(packet);
    } else if (pid == kPsipPid) {
        vctAssembler_.Push(packet);
    } else if (const auto pmt = pmtAssemblers_.find(pid); pmt != pmtAssemblers_.end() && pmt->second) {
        pmt->second->Push(packet);
    }
    return changed_;
}

void ProgrammeTable::OnPat(ByteSpan section) {
    const auto parsed = ParsePat(section);
    if (!parsed) {
        return;
    }
    pat_.Add(*parsed);
    if (!pat_.Complete()) {
        return;
    }
    std::map<std::uint16_t, Pid> pmtPids;
    for (const auto& [number, part] : pat_.Sections()) {
        for (const PatSection::Entry& entry : part.entries) {
            if (entry.pmtPid != kPatPid && entry.pmtPid != kSdtPid && entry.pmtPid != kPsipPid &&
                entry.pmtPid != kNullPid && pmtPids.size() < kMaxProgrammes) {
                pmtPids.emplace(entry.programme, entry.pmtPid);
            }
        }
    }
    const bool same =
        patSeen_ && std::ranges::equal(pmtPids, programmes_, [](const auto& pair, const auto& known) {
            return pair.first == known.number && pair.second == known.pmtPid;
        });
    if (!same) {
        AdoptProgrammes(pmtPids);
    }
}

void ProgrammeTable::AdoptProgrammes(const std::map<std::uint16_t, Pid>& pmtPids) {
    std::vector<Programme> programmes;
    std::map<Pid, std::unique_ptr<SectionAssembler>> assemblers;
    for (const auto& [number, pid] : pmtPids) {
        const Programme* known = FindProgramme(number);
        if (known != nullptr && known->pmtPid == pid) {
            programmes.push_back(*known);
        } else {
            Programme& added = programmes.emplace_back();
            added.number = number;
            added.name = NameOf(number);
            added.pmtPid = pid;
        }
        auto& assembler = assemblers[pid];
        if (const auto kept = pmtAssemblers_.find(pid); kept != pmtAssemblers_.end() && kept->second) {
            assembler = std::move(kept->second);
        } else if (!assembler) {
            assembler = std::make_unique<SectionAssembler>(
                [this, pmtPid = pid](ByteSpan section) { OnPmt(pmtPid, section); });
        }
    }
    for (const auto& [pid, assembler] : pmtAssemblers_) {
        wanted_.reset(pid);
    }
    for (const auto& [pid, assembler] : assemblers) {
        wanted_.set(pid);
    }
    programmes_ = std::move(programmes);
    pmtAssemblers_ = std::move(assemblers);
    patSeen_ = true;
    changed_ = true;
}

void ProgrammeTable::OnPmt(Pid pid, ByteSpan section) {
    auto parsed = ParsePmt(section);
    if (!parsed) {
        return;
    }
    const auto found = std::ranges::find(programmes_, parsed->header.tableIdExtension, &Programme::number);
    if (found == programmes_.end() || found->pmtPid != pid) {
        return;
    }
    if (found->mapped && found->pcrPid == parsed->pcrPid && found->streams == parsed->streams) {
        return;
    }
    found->mapped = true;
    found->pcrPid = parsed->pcrPid;
    found->streams = std::move(parsed->streams);
    changed_ = true;
}

void ProgrammeTable::OnSdt(ByteSpan section) {
    const auto parsed = ParseSdt(section);
    if (!parsed) {
        return;
    }
    std::size_t services = 0;
    for (const auto& [number, part] : services_.Sections()) {
        services += number != parsed->header.number ? part.services.size() : 0;
    }
    if (services >= kMaxServices) {
        return;
    }
    const bool complete = services_.Complete();
    services_.Add(*parsed);
    changed_ = changed_ || services_.Complete() != complete;
    AdoptNames();
}

void ProgrammeTable::OnVct(ByteSpan section) {
    const auto parsed = ParseVct(section);
    std::size_t channels = 0;
    for (const auto& [number, part] : channels_.Sections()) {
        channels += part.channels.size();
    }
    if (parsed && channels < kMaxServices) {
        channels_.Add(*parsed);
        AdoptNames();
    }
}

void ProgrammeTable::AdoptNames() {
    for (Programme& programme : programmes_) {
        std::string name = NameOf(programme.number);
        if (!name.empty() && name != programme.name) {
            programme.name = std::move(name);
            changed_ = true;
        }
    }
}

std::string ProgrammeTable::NameOf(std::uint16_t programme) const {
    for (const auto& [number, part] : services_.Sections()) {
        const auto service = std::ranges::find(part.services, programme, &SdtSection::Service::programme);
        if (service != part.services.end()) {
            return service->name;
        }
    }
    for (const auto& [number, part] : channels_.Sections()) {
        const auto channel = std::ranges::find(part.channels, programme, &SdtSection::Service::programme);
        if (channel != part.channels.end()) {
            return channel->name;
        }
    }
    return {};
}

bool ProgrammeTable::Complete() const {
    return patSeen_ && std::ranges::all_of(programmes_, &Programme::mapped) &&
           (!services_.Begun() || services_.Complete());
}

const Programme* ProgrammeTable::FindProgramme(std::uint16_t number) const {
    const auto found = std::ranges::find(programmes_, number, &Programme::number);
    return found != programmes_.end() ? &*found : nullptr;
}

const Programme* ProgrammeTable::FindProgrammeOf(Pid elementary) const {
    const auto found = std::ranges::find_if(programmes_, [&](const Programme& programme) {
        return std::ranges::find(programme.streams, elementary, &ElementaryStream::pid) !=
               programme.streams.end();
    });
    return found != programmes_.end() ? &*found : nullptr;
}

const ElementaryStream* ProgrammeTable::FindStream(Pid elementary) const {
    const Programme* programme = FindProgrammeOf(elementary);
    if (programme == nullptr) {
        return nullptr;
    }
    return &*std::ranges::find(programme->streams, elementary, &ElementaryStream::pid);
}

ProgrammeScanner::ProgrammeScanner()
    : cutter_([this](const PacketView& packet) { static_cast<void>(table_.Push(packet)); }) {}

} // namespace vistrame
