// Fuzzes command lines: for any words, each runtime gets the words back, and cmd.exe sees one
// command and expands nothing in it.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "mcp/stdio/command_line.h"
#include "tests/fuzz/fields.h"
#include "tests/support/shell_reading.h"

namespace {

using Words = std::vector<std::wstring>;

void Require(bool holds) {
  if (!holds) std::abort();
}

bool HoldsAny(const Words& words, const std::wstring& set) {
  for (const auto& word : words) {
    if (word.find_first_of(set) != word.npos) return true;
  }
  return false;
}

void RequireWords(std::wstring_view line, const std::wstring& program, const Words& arguments) {
  Words words = {program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  Require(wendra::SplitLikeRuntime(line, wendra::Runtime::kOld) == words);
  Require(wendra::SplitLikeRuntime(line, wendra::Runtime::kNew) == words);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Words arguments = wendra::Fields(data, size);

  const std::wstring program = L"C:\\my tools\\a.exe";
  const auto line = wendra::ChildCommandLine(program, arguments);
  Require(line.has_value() != HoldsAny(arguments, std::wstring(1, L'\0')));
  if (line) RequireWords(*line, program, arguments);

  const std::wstring script = L"C:\\100% & more\\a.cmd";
  const auto shellLine = wendra::ChildCommandLine(script, arguments);
  Require(shellLine.has_value() != HoldsAny(arguments, std::wstring(L"\0\r\n", 3)));
  if (!shellLine) return 0;
  const std::wstring shell = L"cmd.exe /d /s /c \"";
  Require(shellLine->starts_with(shell) && shellLine->ends_with(L'"'));
  const auto expanded = wendra::ExpandLikeShell(
      std::wstring_view(*shellLine).substr(shell.size(), shellLine->size() - shell.size() - 1));
  Require(expanded && !wendra::HoldsOperators(*expanded));
  RequireWords(*expanded, script, arguments);
  return 0;
}
