// Splits the bytes of one input into several texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace wendra {

// A byte FF separates two fields; each other byte is one character, NUL included.
inline std::vector<std::wstring> Fields(const std::uint8_t* data, std::size_t size) {
  std::vector<std::wstring> fields(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0xFF) {
      fields.emplace_back();
    } else {
      fields.back() += static_cast<wchar_t>(data[i]);
    }
  }
  return fields;
}

}  // namespace wendra
