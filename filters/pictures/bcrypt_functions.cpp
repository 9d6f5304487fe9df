// What FFmpeg's libraries ask of bcrypt.dll, found when it is first wanted instead of linked: the system
// looks for a linked one in the folder of our module first.

#include <windows.h>
#include <bcrypt.h>

#include "contract/system_dlls.h"

namespace {

constexpr NTSTATUS kNotThere = static_cast<NTSTATUS>(0xC0000002); // STATUS_NOT_IMPLEMENTED

// Calls the system's function of this name, if it has one.
template <typename Function, typename... Arguments>
NTSTATUS Call(const char* name, Arguments... arguments) {
    auto* const function = vistrame::SystemFunction<Function>(L"bcrypt.dll", name);
    return function == nullptr ? kNotThere : function(arguments...);
}

} // namespace

// Under the names that their header declares; whoever calls them need not know. Once in a process, so nothing
// is remembered.
extern "C" NTSTATUS WINAPI BCryptOpenAlgorithmProvider(BCRYPT_ALG_HANDLE* phAlgorithm, LPCWSTR pszAlgId,
                                                       LPCWSTR pszImplementation, ULONG dwFlags) {
    return Call<decltype(BCryptOpenAlgorithmProvider)>("BCryptOpenAlgorithmProvider", phAlgorithm, pszAlgId,
                                                       pszImplementation, dwFlags);
}

extern "C" NTSTATUS WINAPI BCryptGenRandom(BCRYPT_ALG_HANDLE hAlgorithm, PUCHAR pbBuffer, ULONG cbBuffer,
                                           ULONG dwFlags) {
    return Call<decltype(BCryptGenRandom)>("BCryptGenRandom", hAlgorithm, pbBuffer, cbBuffer, dwFlags);
}

extern "C" NTSTATUS WINAPI BCryptCloseAlgorithmProvider(BCRYPT_ALG_HANDLE hAlgorithm, ULONG dwFlags) {
    return Call<decltype(BCryptCloseAlgorithmProvider)>("BCryptCloseAlgorithmProvider", hAlgorithm, dwFlags);
}
