#include "analyzer/session/player_counts.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include <winternl.h>

#include "analyzer/base/handle.h"
#include "analyzer/base/text.h"
#include "contract/system_dlls.h"

namespace vistrame {

namespace {

// The table of all handles, as the system lays it out. Kinds have numbers of the running system's choice.
struct HandleEntry {
    void* object;
    ULONG_PTR processId;
    ULONG_PTR handle;
    ULONG access;
    USHORT creator;
    USHORT kind;
    ULONG attributes;
    ULONG reserved;
};
struct HandleTable {
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry entries[1];
};
constexpr auto kHandleTable = static_cast<SYSTEM_INFORMATION_CLASS>(64);

std::vector<std::byte> ReadHandleTable() {
    auto* const query = SystemFunction<NTSTATUS WINAPI(SYSTEM_INFORMATION_CLASS, void*, ULONG, ULONG*)>(
        L"ntdll.dll", "NtQuerySystemInformation");
    constexpr std::size_t kLargest = std::size_t{64} << 20;
    for (std::size_t size = std::size_t{1} << 20; query != nullptr && size <= kLargest; size *= 4) {
        std::vector<std::byte> table(size);
        if (query(kHandleTable, table.data(), static_cast<ULONG>(size), nullptr) == 0) {
            return table;
        }
    }
    return {};
}

void CountHandles(DWORD processId, ProcessCounts& counts) {
    HKEY sample = nullptr; // tells which kind a registry key is
    (void)RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &sample); // without: no kind is it
    const std::vector<std::byte> bytes = ReadHandleTable();
    if (!bytes.empty()) {
        const auto* const table = reinterpret_cast<const HandleTable*>(bytes.data());
        const std::span entries(table->entries, table->count);
        const auto own = std::ranges::find_if(entries, [&](const HandleEntry& entry) {
            return entry.processId == GetCurrentProcessId() &&
                   entry.handle == reinterpret_cast<ULONG_PTR>(sample);
        });
        counts.handles = 0;
        counts.registryKeys = 0;
        for (const HandleEntry& entry : entries) {
            if (entry.processId == processId) {
                ++*counts.handles;
                *counts.registryKeys += own != entries.end() && entry.kind == own->kind ? 1 : 0;
            }
        }
    }
    (void)RegCloseKey(sample); // null is refused, and that is all
}

std::optional<unsigned> Resources(HANDLE process, DWORD kind) {
    const DWORD count = process != nullptr ? GetGuiResources(process, kind) : 0;
    return count != 0 ? std::optional<unsigned>(count) : std::nullopt; // a program with a window has some
}

struct WindowCount {
    DWORD processId;
    unsigned count = 0;

    static BOOL CALLBACK Add(HWND window, LPARAM self) {
        auto& windows = *reinterpret_cast<WindowCount*>(self);
        DWORD owner = 0;
        (void)GetWindowThreadProcessId(window, &owner); // 0 for a window that has just gone
        windows.count += owner == windows.processId ? 1 : 0;
        return TRUE;
    }
};

unsigned CountWindows(DWORD processId) {
    WindowCount windows{processId};
    (void)EnumChildWindows(GetDesktopWindow(), WindowCount::Add, reinterpret_cast<LPARAM>(&windows));
    for (HWND window = nullptr;
         (window = FindWindowExW(HWND_MESSAGE, window, nullptr, nullptr)) != nullptr;) {
        (void)WindowCount::Add(window, reinterpret_cast<LPARAM>(&windows));
    }
    return windows.count;
}

} // namespace

ProcessCounts CountOf(DWORD processId) {
    ProcessCounts counts;
    CountHandles(processId, counts);
    const Handle process(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, processId));
    counts.gdiObjects = Resources(process.get(), GR_GDIOBJECTS);
    counts.userObjects = Resources(process.get(), GR_USEROBJECTS);
    counts.windows = CountWindows(processId);
    return counts;
}

std::string FormatCounts(const ProcessCounts& counts) {
    std::string text;
    const auto add = [&](const char* name, std::optional<unsigned> count) {
        text += count ? Format("%s %u ", name, *count) : "";
    };
    add("handles", counts.handles);
    add("keys", counts.registryKeys);
    add("gdi", counts.gdiObjects);
    add("user", counts.userObjects);
    return text + Format("windows %u", counts.windows);
}

} // namespace vistrame
