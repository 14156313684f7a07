// Reads and writes values in the registry.
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

// Opens the key `path` below HKEY_CURRENT_USER for reading and writing, and creates it if it is
// missing. Empty if that fails.
RegistryKey OpenUserKey(const std::wstring& path);

// The bytes of the value `name` in the key `path` below HKEY_CURRENT_USER, of any type. "" if there
// is no such value. Creates nothing.
std::string UserValueBytes(const std::wstring& path, const std::wstring& name);

// The value `name` in the key `path` below `root` as a number: a REG_DWORD, or a decimal text of at
// most 15 characters. Text that does not begin with a number gives 0. Nothing if the value is
// missing, of another type, or a longer text. Creates nothing.
std::optional<DWORD> NumberValue(HKEY root, const std::wstring& path, const std::wstring& name);

// The name of each value, and its data up to the first NUL, read as UTF-16 text whatever the type
// is. In the order of the system.
std::vector<std::pair<std::wstring, std::wstring>> TextValues(const RegistryKey& key);

// Stores `text` as a REG_SZ value. False if the system refuses.
bool SetTextValue(const RegistryKey& key, const std::wstring& name, const std::wstring& text);

// False if there is no such value, or if the system refuses.
bool DeleteValue(const RegistryKey& key, const std::wstring& name);

}  // namespace wendra
