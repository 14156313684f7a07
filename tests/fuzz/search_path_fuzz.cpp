// Fuzzes the search for a command: on any system, the result is the first candidate that is a file.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "mcp/stdio/search_path.h"
#include "tests/fuzz/fields.h"
#include "tests/support/fake_system.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// Records the paths that it is asked for, and takes a few of them for files.
class AskedFiles final : public wendra::FileProbe {
 public:
  explicit AskedFiles(size_t seed) : seed_(seed) {}

  bool IsFile(const std::wstring& path) const override {
    asked.push_back(path);
    size_t sum = seed_;
    for (const wchar_t c : path) sum = sum * 31 + static_cast<size_t>(c);
    return sum % 64 == 0;
  }

  std::wstring FullPath(const std::wstring& path) const override {
    return wendra::FakeFiles().FullPath(path);
  }

  mutable std::vector<std::wstring> asked;

 private:
  size_t seed_;
};

void CheckLists(const wendra::FakeEnvironment& environment) {
  const auto directories = wendra::SearchDirectories(environment);
  const std::set<std::wstring> distinct(directories.begin(), directories.end());
  Require(distinct.size() == directories.size() && !distinct.contains(L""));
  Require(distinct.contains(L"C:\\ProgramData\\chocolatey\\bin"));
  for (const auto& piece : wendra::ExecutableExtensions(environment)) {
    Require(!piece.empty() && piece.find(L';') == piece.npos);
  }
}

// All paths that may be asked for, in order: each place as written, then with each extension.
std::vector<std::wstring> Candidates(const std::vector<std::wstring>& places,
                                     const wendra::Environment& environment) {
  std::vector<std::wstring> candidates;
  for (const auto& place : places) {
    candidates.push_back(place);
    for (const auto& extension : wendra::ExecutableExtensions(environment)) {
      candidates.push_back(place + extension);
    }
  }
  return candidates;
}

// The places for a command without anything to expand.
std::vector<std::wstring> Places(const std::wstring& command,
                                 const wendra::Environment& environment) {
  if (command.empty()) return {};
  if (command.find_first_of(L"\\/") != command.npos || (command.size() > 1 && command[1] == L':')) {
    const std::wstring full = wendra::FakeFiles().FullPath(command);
    return full.empty() ? std::vector<std::wstring>() : std::vector{full};
  }
  std::vector<std::wstring> places;
  for (const auto& directory : wendra::SearchDirectories(environment)) {
    places.push_back(wendra::JoinPath(directory, command));
  }
  return places;
}

}  // namespace

// The fields: the command, PATH, PATHEXT, USERPROFILE, APPDATA, LOCALAPPDATA. A variable without a
// field is not set.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto fields = wendra::Fields(data, size);
  const wchar_t* names[] = {nullptr,        L"PATH",    L"PATHEXT",
                            L"USERPROFILE", L"APPDATA", L"LOCALAPPDATA"};
  wendra::FakeEnvironment environment;
  for (size_t i = 1; i < fields.size() && i < std::size(names); ++i) {
    environment.variables[names[i]] = fields[i];
  }
  CheckLists(environment);

  const std::wstring& command = fields[0];
  const AskedFiles files(size);
  const std::wstring found = wendra::ResolveCommand(command, environment, files);
  const std::vector<std::wstring> asked = files.asked;
  for (const auto& path : asked) Require(files.IsFile(path) == (path == found));
  Require(found.empty() || asked.back() == found);

  if (command.find_first_of(L"~%") != command.npos) return 0;
  const auto candidates = Candidates(Places(command, environment), environment);
  Require(found.empty() ? asked == candidates
                        : std::equal(asked.begin(), asked.end(), candidates.begin()));
  return 0;
}
