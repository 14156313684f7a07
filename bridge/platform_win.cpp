#include "bridge/platform.h"

#include <iterator>
#include <utility>

#include "win/environment.h"
#include "win/wide.h"

#include <windows.h>

namespace wendra {
namespace {

// RtlGetVersion gives the real version. GetVersionEx depends on what the manifest declares.
std::string KernelVersion() {
  using RtlGetVersionFunction = LONG(WINAPI*)(RTL_OSVERSIONINFOW*);
  RTL_OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof(version);
  const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll"), "RtlGetVersion");
  if (const auto rtlGetVersion = reinterpret_cast<RtlGetVersionFunction>(
          reinterpret_cast<void*>(found))) {  // the cast to void* avoids a compiler warning
    rtlGetVersion(&version);
  }
  return std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) +
         "." + std::to_string(version.dwBuildNumber);
}

std::string AccountName() {
  wchar_t name[256];  // a longer name counts as not known
  DWORD units = static_cast<DWORD>(std::size(name));
  return GetUserNameW(name, &units) ? Narrow(name) : std::string();
}

}  // namespace

PlatformFacts ReadPlatformFacts() {
  return {KernelVersion(), AccountName(), Narrow(EnvironmentText(L"USERPROFILE"))};
}

Action PlatformAction(Replies& replies) {
  return {"platform", [&replies](const std::string& reqId, const Json&) {
            replies.Succeed(reqId, PlatformValue(ReadPlatformFacts()));
          }};
}

}  // namespace wendra
