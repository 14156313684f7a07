// Fuzzes the environment block: for any host block and any pairs, it has the form that the system
// takes and holds the given values.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>

#include "mcp/stdio/child_environment.h"
#include "tests/fuzz/fields.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

std::wstring UntilNul(const std::wstring& text) { return text.substr(0, text.find(L'\0')); }

std::wstring Upper(std::wstring text) {
  std::ranges::transform(text, text.begin(), [](wchar_t c) {
    return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - 32) : c;
  });
  return text;
}

// Name and value of each entry. The block must end with its second NUL in a row, and not before.
wendra::WideNamedValues Entries(std::wstring_view block) {
  wendra::WideNamedValues entries;
  while (block.size() > 1) {
    const std::wstring_view entry = block.substr(0, block.find(L'\0'));
    const size_t equals = entry.find(L'=');
    Require(!entry.empty() && equals != entry.npos);
    entries.emplace_back(entry.substr(0, equals), entry.substr(equals + 1));
    block.remove_prefix(entry.size() + 1);
  }
  Require(block == std::wstring_view(L"\0", 1));
  return entries;
}

}  // namespace

// The fields: the host's block, one search directory, then names and values in turn.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto fields = wendra::Fields(data, size);
  if (fields.size() < 2) return 0;
  const std::wstring directory = UntilNul(fields[1]);
  wendra::WideNamedValues env;
  std::map<std::wstring, std::wstring> wanted;
  for (size_t i = 2; i + 1 < fields.size(); i += 2) {
    std::erase(fields[i], L'=');  // Entries would take it for the end of the name
    env.emplace_back(fields[i], fields[i + 1]);
    wanted[Upper(UntilNul(fields[i]))] = UntilNul(fields[i + 1]);
  }
  wanted.erase(L"");

  const auto entries = Entries(wendra::BuildChildEnvironment(fields[0], {directory}, env));
  const std::map<std::wstring, std::wstring> got(entries.begin(), entries.end());
  Require(got.size() == entries.size());  // no name twice
  Require(std::ranges::equal(got, entries, [](const auto& a, const auto& b) {
    return a.first == b.first && a.second == b.second;  // in the order of the names
  }));
  for (const auto& [name, value] : wanted) Require(got.at(name) == value);
  Require(wanted.contains(L"PATH") || got.at(L"PATH").starts_with(directory + L";"));
  return 0;
}
