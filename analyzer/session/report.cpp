#include "analyzer/session/report.h"

#include "analyzer/base/text.h"

namespace vistrame {

std::string FormatPicture(const SelectionFact& fact) {
    if (!fact.pictureMsec) {
        return "none";
    }
    std::string text = Format("msec %.0f", *fact.pictureMsec);
    const char* separator = " random-access-msec ";
    for (const double msec : fact.randomAccessMsec) {
        text += Format("%s%.0f", separator, msec);
        separator = ",";
    }
    return text;
}

std::string FormatReport(const StreamFile& file, const ReportFacts& facts, const Outcome& outcome) {
    std::string report = "stream " + file.Path() + "\n";
    report +=
        Format("seconds %.3f\nbitrate %.0f\n", file.Seconds(), file.PacketsPerSecond() * kPacketSize * 8);
    for (const Programme& programme : file.Programmes()) {
        report += Format("programme %u name \"%s\" pmt 0x%04X pcr 0x%04X", programme.number,
                         ProgrammeTitle(programme).c_str(), programme.pmtPid, programme.pcrPid);
        for (const ElementaryStream& stream : programme.streams) {
            report += ", " + DescribeStream(stream);
        }
        report += "\n";
    }
    for (const SelectionFact& fact : facts.selections) {
        report += Format("picture programme %u video 0x%04X audio 0x%04X ", fact.selection.programme,
                         fact.selection.videoPid, fact.selection.audioPid) +
                  FormatPicture(fact) + "\n";
    }
    report +=
        Format("sent-packets %llu\nlost-packets %llu\ndamaged-packets %llu\nseams %u\nlate-msec-max %.1f\n",
               static_cast<unsigned long long>(facts.sent), static_cast<unsigned long long>(facts.lost),
               static_cast<unsigned long long>(facts.damaged), facts.seams, facts.lateMsec);
    report += facts.playerExit ? Format("player-exit 0x%08X\n", static_cast<unsigned>(*facts.playerExit))
                               : std::string("player-exit none\n");
    report += Format("exit %d\n", static_cast<int>(outcome.code));
    return outcome.Ok() ? report : report + "reason " + outcome.reason + "\n";
}

} // namespace vistrame
