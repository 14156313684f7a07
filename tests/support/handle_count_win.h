// Counts the open handles of a process in the system's list of all handles. On Windows
// GetProcessHandleCount would be enough, but Wine's always gives 0. Link with ntdll.
#pragma once

#include <algorithm>
#include <vector>

#include <windows.h>

#include <winternl.h>

namespace wendra {

// The layout of the list that NtQuerySystemInformation gives.
struct HandleEntry {
  ULONG process;
  BYTE objectType;
  BYTE flags;
  USHORT value;
  void* object;
  ULONG access;
};
struct HandleList {
  ULONG count;
  HandleEntry entries[1];
};

inline long long CountHandles(DWORD process) {
  constexpr auto kSystemHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
  constexpr LONG kBufferTooSmall = static_cast<LONG>(0xC0000004);
  std::vector<HandleEntry> buffer(1024);
  const auto ask = [&buffer] {
    const auto bytes = static_cast<ULONG>(buffer.size() * sizeof(HandleEntry));
    return NtQuerySystemInformation(kSystemHandleInformation, buffer.data(), bytes, nullptr);
  };
  while (ask() == kBufferTooSmall) buffer.resize(buffer.size() * 2);
  const auto* list = reinterpret_cast<const HandleList*>(buffer.data());
  return std::count_if(list->entries, list->entries + list->count,
                       [process](const HandleEntry& entry) { return entry.process == process; });
}

}  // namespace wendra
