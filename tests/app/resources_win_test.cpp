// The resources of the built program, read as Windows and the update library read them.
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "win/wide.h"

#include <windows.h>

namespace wendra {
namespace {

// wendra.exe is one folder above the tests.
std::wstring ProgramPath() {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  return (std::filesystem::path(self).parent_path().parent_path() / L"wendra.exe").wstring();
}

class ResourcesTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(program_, nullptr) << GetLastError(); }
  ~ResourcesTest() override { FreeLibrary(program_); }

  std::string_view Resource(LPCWSTR name, LPCWSTR type) const {
    const HRSRC found = FindResourceW(program_, name, type);
    if (!found) return {};
    const void* bytes = LockResource(LoadResource(program_, found));
    return {static_cast<const char*>(bytes), SizeofResource(program_, found)};
  }

  const HMODULE program_ = LoadLibraryExW(ProgramPath().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
};

TEST_F(ResourcesTest, IconOneHasSixteenToTwoHundredFiftySixPixels) {
  const std::string_view group = Resource(MAKEINTRESOURCEW(1), RT_GROUP_ICON);
  ASSERT_GE(group.size(), 6u);
  const auto count = static_cast<size_t>(static_cast<unsigned char>(group[4]));
  std::vector<int> widths;
  for (size_t i = 0; i < count; ++i) {
    const int width = static_cast<unsigned char>(group.at(6 + i * 14));
    widths.push_back(width == 0 ? 256 : width);
  }
  EXPECT_EQ(widths, (std::vector{16, 20, 24, 32, 40, 48, 64, 128, 256}));
}

TEST_F(ResourcesTest, ManifestDeclaresDpiControlsSystemAndPrivileges) {
  const std::string_view manifest = Resource(MAKEINTRESOURCEW(1), RT_MANIFEST);
  for (const char* part : {"PerMonitorV2", "Microsoft.Windows.Common-Controls", "6.0.0.0",
                           "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}", "asInvoker"}) {
    EXPECT_NE(manifest.find(part), std::string_view::npos) << part;
  }
  // It would change the ANSI code page, as which the host reads the output of commands.
  EXPECT_EQ(manifest.find("activeCodePage"), std::string_view::npos);
}

TEST_F(ResourcesTest, UpdateKeyIsFortyFourBase64Characters) {
  const std::string_view key = Resource(L"EDDSAPUB", L"EDDSA");
  EXPECT_EQ(key.size(), 44u);
  EXPECT_EQ(
      key.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/="),
      std::string_view::npos);
}

TEST_F(ResourcesTest, HasOneFourPartVersionAndNames) {
  const std::wstring path = ProgramPath();
  std::vector<char> block(GetFileVersionInfoSizeW(path.c_str(), nullptr));
  ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()));
  const auto text = [&](const std::wstring& name) {
    void* value = nullptr;
    UINT units = 0;
    const std::wstring entry = L"\\StringFileInfo\\040904B0\\" + name;
    if (!VerQueryValueW(block.data(), entry.c_str(), &value, &units)) return std::string();
    return Narrow(static_cast<const wchar_t*>(value));
  };
  void* value = nullptr;
  UINT bytes = 0;
  ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", &value, &bytes));
  const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
  const auto parts = [](DWORD high, DWORD low) {
    return std::to_string(HIWORD(high)) + "." + std::to_string(LOWORD(high)) + "." +
           std::to_string(HIWORD(low)) + "." + std::to_string(LOWORD(low));
  };
  const std::string version = text(L"FileVersion");
  EXPECT_EQ(version, text(L"ProductVersion"));
  EXPECT_EQ(version, parts(fixed->dwFileVersionMS, fixed->dwFileVersionLS));
  EXPECT_EQ(version, parts(fixed->dwProductVersionMS, fixed->dwProductVersionLS));
  EXPECT_EQ(text(L"ProductName"), "Wendra");
  EXPECT_FALSE(text(L"CompanyName").empty());
}

}  // namespace
}  // namespace wendra
