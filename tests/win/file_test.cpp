#include "win/file.h"

#include <gtest/gtest.h>

#include "tests/support/scratch_folder_win.h"

namespace wendra {
namespace {

TEST(File, GivesBackWhatWasWritten) {
  ScratchFolder folder;
  const std::wstring path = folder / L"ü.bin";
  const std::string content("a\0b\r\n\xFF", 6);
  {
    const FileHandle file = CreateForWriting(path);
    ASSERT_TRUE(file);
    EXPECT_TRUE(WriteBytes(file, content));
  }
  const FileHandle file = OpenForReading(path);
  ASSERT_TRUE(file);
  EXPECT_EQ(FileSize(file), 6u);
  EXPECT_EQ(ReadBytes(file, 6), content);
}

TEST(File, FillsTheResultWithNulWhenTheFileIsTooShort) {
  ScratchFolder folder;
  const std::wstring path = folder / L"short";
  EXPECT_TRUE(WriteBytes(CreateForWriting(path), "ab"));
  EXPECT_EQ(ReadBytes(OpenForReading(path), 4), std::string("ab\0\0", 4));
  EXPECT_EQ(ReadBytes(OpenForReading(path), 0), "");
}

TEST(File, KeepsTheErrorCodeOfTheSystem) {
  ScratchFolder folder;
  EXPECT_FALSE(OpenForReading(folder / L"missing"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_FALSE(CreateForWriting(folder / L"no\\such\\folder"));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

}  // namespace
}  // namespace wendra
