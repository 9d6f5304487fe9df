// The overlay commands sent to the built player by the analyzer, while its graph of the companion filters and
// the system's VMR9 plays: the first one and a rebuild.
#include <sstream>

#include <gtest/gtest.h>

#include "tests/end_to_end/analyzer_run.h"
#include "tests/support/files.h"

namespace vistrame::test {
namespace {

TEST(PlayerOverlay, CommandsWorkFromTheFirstGraphOn) {
    const RegisteredFilters filters;
    DeleteFileA(kDebugLogPath);
    std::string script, expected;
    for (const int programme : {1, 2}) {
        const std::string position = programme == 1 ? "0312C0F0" : "0312C0F1";
        script += "+0 play " + std::to_string(programme) + "\n+0 wait picture 30\n+0 command 2 0x" +
                  position +
                  "\n+0 command 1 0x05000000\n+0 command 1 0x05000001\n+0 command 13 0\n+0.6 mark timer\n";
        expected += "Redraw Overlay: " + position + "\r\n";
    }
    AnalyzerRun run({"--player-log", "--set", "UseVMR9=1", VISTRAME_DEMO_STREAM}, script + "+0 quit\n");
    EXPECT_EQ(run.WaitForExit(90'000), DWORD{0}) << run.Written("log");

    std::istringstream log(FileContents(kDebugLogPath));
    std::string lines;
    for (std::string line; std::getline(log, line);) {
        if (line.starts_with("Redraw") || line.starts_with("Error")) {
            lines += line + '\n';
        }
    }
    EXPECT_EQ(lines, expected);
}

} // namespace
} // namespace vistrame::test
