#include "win/process_policy.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include <dwmapi.h>

namespace wendra {
namespace {

std::filesystem::path ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).parent_path();
}

TEST(ProcessPolicy, FindsNoLibraryBesideTheProgramByItsNameAlone) {
  const std::filesystem::path planted = ProgramFolder() / "process_policy_planted.dll";
  std::filesystem::remove(planted);  // of an earlier run
  std::filesystem::copy_file(ProgramFolder().parent_path() / "planted.dll", planted);
  const HMODULE before = LoadLibraryW(L"process_policy_planted.dll");
  ASSERT_NE(before, nullptr);
  FreeLibrary(before);
  ApplyProcessPolicy();
  EXPECT_EQ(LoadLibraryW(L"process_policy_planted.dll"), nullptr);
  EXPECT_NE(LoadLibraryW(L"version.dll"), nullptr);
  EXPECT_EQ(LoadLibrariesBesideProgram({L"process_policy_planted.dll"}), nullptr);
}

TEST(ProcessPolicy, NamesTheFirstLibraryThatIsMissing) {
  const wchar_t* const missing = L"missing.dll";
  EXPECT_EQ(LoadLibrariesBesideProgram({missing, L"version.dll"}), missing);
}

TEST(ProcessPolicy, KeepsADelayedLibraryThatAnotherUserFrees) {
  const HMODULE other = LoadLibraryW(L"dwmapi.dll");
  ASSERT_NE(other, nullptr);
  (void)DwmSetWindowAttribute(nullptr, 0, nullptr, 0);  // the first call
  FreeLibrary(other);
  EXPECT_NE(GetModuleHandleW(L"dwmapi.dll"), nullptr);
}

TEST(ProcessPolicy, MakesCallsFailWhenADriveHasNoMedium) {
  ApplyProcessPolicy();
  EXPECT_EQ(GetErrorMode() & SEM_FAILCRITICALERRORS, UINT{SEM_FAILCRITICALERRORS});
}

}  // namespace
}  // namespace wendra
