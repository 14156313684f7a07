#include "win/registry_key.h"

#include <cwchar>

namespace wendra {

RegistryKey OpenUserKey(const std::wstring& path) {
  RegistryKey key;
  (void)RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_READ | KEY_WRITE, nullptr, key.Receive(), nullptr);
  return key;
}

std::string UserValueBytes(const std::wstring& path, const std::wstring& name) {
  const auto read = [&](void* data, DWORD& bytes) {
    return RegGetValueW(HKEY_CURRENT_USER, path.c_str(), name.c_str(), RRF_RT_ANY, nullptr, data,
                        &bytes) == ERROR_SUCCESS;
  };
  DWORD bytes = 0;
  if (!read(nullptr, bytes)) return {};
  std::string value(bytes, '\0');
  if (!read(value.data(), bytes)) return {};
  value.resize(bytes);
  return value;
}

std::optional<DWORD> NumberValue(HKEY root, const std::wstring& path, const std::wstring& name) {
  DWORD number = 0;
  DWORD bytes = sizeof(number);
  if (RegGetValueW(root, path.c_str(), name.c_str(), RRF_RT_REG_DWORD, nullptr, &number, &bytes) ==
      ERROR_SUCCESS) {
    return number;
  }
  wchar_t text[16];
  bytes = sizeof(text);
  if (RegGetValueW(root, path.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, text, &bytes) !=
      ERROR_SUCCESS) {
    return std::nullopt;
  }
  return static_cast<DWORD>(std::wcstoul(text, nullptr, 10));
}

std::vector<std::pair<std::wstring, std::wstring>> TextValues(const RegistryKey& key) {
  DWORD longestName = 0;  // in characters, without the NUL
  DWORD longestData = 0;  // in bytes
  if (RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                       &longestName, &longestData, nullptr, nullptr) != ERROR_SUCCESS) {
    return {};
  }
  std::vector<std::pair<std::wstring, std::wstring>> values;
  std::wstring name(longestName + 1, L'\0');
  std::wstring data(longestData / sizeof(wchar_t) + 1, L'\0');
  for (DWORD index = 0;; ++index) {
    auto nameUnits = static_cast<DWORD>(name.size());
    auto dataBytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
    if (RegEnumValueW(key.Get(), index, name.data(), &nameUnits, nullptr, nullptr,
                      reinterpret_cast<BYTE*>(data.data()), &dataBytes) != ERROR_SUCCESS) {
      return values;
    }
    const std::wstring text = data.substr(0, dataBytes / sizeof(wchar_t));
    values.emplace_back(name.substr(0, nameUnits), text.substr(0, text.find(L'\0')));
  }
}

bool SetTextValue(const RegistryKey& key, const std::wstring& name, const std::wstring& text) {
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return RegSetValueExW(key.Get(), name.c_str(), 0, REG_SZ,
                        reinterpret_cast<const BYTE*>(text.c_str()), bytes) == ERROR_SUCCESS;
}

bool DeleteValue(const RegistryKey& key, const std::wstring& name) {
  return RegDeleteValueW(key.Get(), name.c_str()) == ERROR_SUCCESS;
}

}  // namespace wendra
