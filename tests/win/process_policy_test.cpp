#include "win/process_policy.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <windows.h>

namespace wendra {
namespace {

std::filesystem::path ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).parent_path();
}

TEST(ProcessPolicy, FindsNoLibraryBesideTheProgramByItsNameAlone) {
  const std::filesystem::path planted = ProgramFolder() / "process_policy_planted.dll";
  std::filesystem::copy_file(ProgramFolder().parent_path() / "planted.dll", planted,
                             std::filesystem::copy_options::overwrite_existing);
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

TEST(ProcessPolicy, MakesCallsFailWhenADriveHasNoMedium) {
  ApplyProcessPolicy();
  EXPECT_EQ(GetErrorMode() & SEM_FAILCRITICALERRORS, UINT{SEM_FAILCRITICALERRORS});
}

}  // namespace
}  // namespace wendra
