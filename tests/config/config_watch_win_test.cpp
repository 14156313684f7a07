#include "config/config_watch_win.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/scratch_folder_win.h"
#include "win/unique.h"

namespace wendra {
namespace {

void SetTime(const std::wstring& path, std::uint64_t time) {
  const FileHandle file(
      CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_ALWAYS, 0, nullptr));
  const FILETIME value{static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
  ASSERT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &value));
}

TEST(ConfigWatch, ReportsEachDifferenceOnceEarlierOrLater) {
  constexpr std::uint64_t kSomeTime = 132'000'000'000'000'000;  // in 2019
  constexpr std::uint64_t kHour = 36'000'000'000;
  ScratchFolder folder;
  const std::wstring path = folder / L"config.json";
  SetTime(path, kSomeTime);
  ConfigWatch watch(path);
  EXPECT_FALSE(watch.HasChanged());
  SetTime(path, kSomeTime + kHour);
  EXPECT_TRUE(watch.HasChanged());
  EXPECT_FALSE(watch.HasChanged());
  SetTime(path, kSomeTime - kHour);
  EXPECT_TRUE(watch.HasChanged());
  EXPECT_FALSE(watch.HasChanged());
}

TEST(ConfigWatch, ReportsTheSameTimeAgainWhenAskedTo) {
  ScratchFolder folder;
  const std::wstring path = folder / L"config.json";
  std::ofstream(std::filesystem::path(path)) << "{}";
  ConfigWatch watch(path);
  watch.LookAgain();
  EXPECT_TRUE(watch.HasChanged());
  EXPECT_FALSE(watch.HasChanged());
  std::filesystem::remove(path);
  watch.LookAgain();
  EXPECT_FALSE(watch.HasChanged());
}

TEST(ConfigWatch, SaysNothingWhileTheFileIsMissing) {
  ScratchFolder folder;
  const std::wstring path = folder / L"config.json";
  ConfigWatch watch(path);
  EXPECT_FALSE(watch.HasChanged());
  std::ofstream(std::filesystem::path(path)) << "{}";
  EXPECT_TRUE(watch.HasChanged());
  std::filesystem::remove(path);
  EXPECT_FALSE(watch.HasChanged());
}

}  // namespace
}  // namespace wendra
