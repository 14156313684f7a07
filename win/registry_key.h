// One open key below HKEY_CURRENT_USER and its values.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "win/unique.h"

namespace wendra {

struct RegistryTraits {
  using Raw = HKEY;
  static Raw Empty() { return nullptr; }
  static void Close(Raw key) { RegCloseKey(key); }
};
using RegistryKey = Unique<RegistryTraits>;

// Opens `path` below HKEY_CURRENT_USER for reading and writing; makes it if missing. Empty when
// that fails.
RegistryKey OpenUserKey(const std::wstring& path);

// The bytes of one value below HKEY_CURRENT_USER, whatever its type; "" when there is none. Makes
// nothing.
std::string UserValueBytes(const std::wstring& path, const std::wstring& name);

// A number below `root`, be it stored as one or as decimal text; nothing for anything else. Makes
// nothing.
std::optional<DWORD> NumberValue(HKEY root, const std::wstring& path, const std::wstring& name);

// Every value's name and its data as UTF-16 text, up to the first zero, in the system's order. The
// type is not looked at.
std::vector<std::pair<std::wstring, std::wstring>> TextValues(const RegistryKey& key);

// Stores `text` with its terminating zero. False when the system refuses.
bool SetTextValue(const RegistryKey& key, const std::wstring& name, const std::wstring& text);

// False when there is no such value, or the system refuses.
bool DeleteValue(const RegistryKey& key, const std::wstring& name);

}  // namespace wendra
