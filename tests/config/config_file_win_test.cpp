#include "config/config_file_win.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/support/recording_log.h"
#include "tests/support/scratch_folder_win.h"
#include "win/file.h"
#include "win/wide.h"

namespace wendra {
namespace {

using Lines = std::vector<std::string>;
constexpr std::string_view kDefault = "{\r\n  \"mcpServers\": {}\r\n}\r\n";

class ConfigFileTest : public testing::Test {
 protected:
  void Write(const std::wstring& path, std::string_view content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(std::filesystem::path(path), std::ios::binary) << content;
  }
  std::string Content(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }
  static bool Exists(const std::wstring& path) { return std::filesystem::exists(path); }

  ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"süd\\wendra\\config.json";
  const std::string pathText_ = Narrow(path_);
  RecordingLog log_;
  ConfigFile config_{path_, log_};
};

TEST(ConfigFilePath, LiesBelowTheProfileFolder) {
  wchar_t profile[MAX_PATH];
  ASSERT_NE(GetEnvironmentVariableW(L"USERPROFILE", profile, MAX_PATH), 0u);
  EXPECT_EQ(ConfigFilePath(), std::wstring(profile) + L"\\.config\\wendra\\config.json");
}

TEST(ConfigDirectory, IsWhatStandsBeforeTheLastSeparator) {
  RecordingLog log;
  const struct {
    const wchar_t *path, *want;
  } cases[] = {{L"C:\\a\\b.json", L"C:\\a"},
               {L"C:/a/b.json", L"C:/a"},
               {L"b.json", L""},
               {L"C:\\a/b\\c.json", L"C:\\a/b"},
               {L"\\b", L""}};
  for (const auto& c : cases) EXPECT_EQ(ConfigFile(c.path, log).ConfigDirectory(), c.want);
}

TEST_F(ConfigFileTest, EnsureDefaultMakesFolderFileAndLine) {
  config_.EnsureDefaultConfig();
  EXPECT_EQ(Content(path_), kDefault);
  EXPECT_EQ(kDefault.size(), 26u);
  EXPECT_EQ(log_.lines, Lines{"[MCP] created default config at " + pathText_});
}

TEST_F(ConfigFileTest, EnsureDefaultOverwritesAnEmptyFileOnly) {
  Write(path_, "");
  config_.EnsureDefaultConfig();
  EXPECT_EQ(Content(path_), kDefault);
  EXPECT_EQ(log_.lines.size(), 1u);

  for (const char* content : {" ", "broken", "{}"}) {
    Write(path_, content);
    config_.EnsureDefaultConfig();
    EXPECT_EQ(Content(path_), content);
  }
  EXPECT_EQ(log_.lines.size(), 1u);
}

TEST_F(ConfigFileTest, EnsureDefaultSaysItsLineEvenWhereADirectoryIsInTheWay) {
  std::filesystem::create_directories(path_);
  config_.EnsureDefaultConfig();
  EXPECT_TRUE(std::filesystem::is_directory(path_));
  EXPECT_EQ(log_.lines, Lines{"[MCP] created default config at " + pathText_});
}

TEST_F(ConfigFileTest, EnsureDefaultLeavesAFileThatAnotherProgramHolds) {
  Write(path_, "{\"kept\":1}");
  {
    const FileHandle held(CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held);
    config_.EnsureDefaultConfig();
  }
  EXPECT_EQ(Content(path_), "{\"kept\":1}");
  EXPECT_EQ(log_.lines, Lines{"[MCP] created default config at " + pathText_});
}

TEST_F(ConfigFileTest, ReadsUpToOneMebibyteAsItIs) {
  const std::string largest(1'048'576, 'x');
  const std::string samples[] = {"",         " ",    std::string("a\0b", 3), "\xEF\xBB\xBF{}",
                                 "\xFF\xFE", largest};
  for (const std::string& content : samples) {
    Write(path_, content);
    EXPECT_EQ(config_.ReadConfigText(), content);
  }
  Write(path_, largest + "x");
  EXPECT_EQ(config_.ReadConfigText(), "");
}

TEST_F(ConfigFileTest, ReadsNothingWhereThereIsNoReadableFile) {
  EXPECT_EQ(config_.ReadConfigText(), "");  // no folder
  std::filesystem::create_directories(path_);
  EXPECT_EQ(config_.ReadConfigText(), "");  // a directory
  std::filesystem::remove(path_);
  Write(path_, "{}");
  const FileHandle locked(
      CreateFileW(path_.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_EQ(config_.ReadConfigText(), "");  // locked
}

TEST_F(ConfigFileTest, ReadsWhileAnEditorHoldsTheFileOpen) {
  Write(path_, "{\"a\":1}");
  const FileHandle editor(CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(editor);
  EXPECT_EQ(config_.ReadConfigText(), "{\"a\":1}");
}

TEST_F(ConfigFileTest, WriteReplacesTheWholeFileAndLeavesNoTemporaryOne) {
  EXPECT_TRUE(config_.WriteConfigAtomically("first, longer"));
  EXPECT_TRUE(config_.WriteConfigAtomically("second"));
  EXPECT_EQ(Content(path_), "second");
  EXPECT_FALSE(Exists(path_ + L".tmp"));
  EXPECT_TRUE(log_.lines.empty());
}

TEST_F(ConfigFileTest, WriteOverwritesWhatAFailedMoveLeftBehind) {
  Write(path_ + L".tmp", "an old and much longer attempt");
  EXPECT_TRUE(config_.WriteConfigAtomically("new"));
  EXPECT_EQ(Content(path_), "new");
  EXPECT_FALSE(Exists(path_ + L".tmp"));
}

TEST_F(ConfigFileTest, WriteFailsWithoutATemporaryFileAndTouchesNothing) {
  Write(path_, "old");
  std::filesystem::create_directories(path_ + L".tmp");  // in the way
  EXPECT_FALSE(config_.WriteConfigAtomically("new"));
  EXPECT_EQ(Content(path_), "old");
}

TEST_F(ConfigFileTest, WriteCountsAsDoneWhereTheMoveFails) {
  Write(path_, "old");
  {
    const FileHandle held(CreateFileW(path_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(config_.WriteConfigAtomically("new"));
  }
  EXPECT_EQ(Content(path_), "old");
  EXPECT_EQ(Content(path_ + L".tmp"), "new");
}

TEST_F(ConfigFileTest, SaveWritesOneLineAndSaysWhere) {
  Write(path_, "{\r\n \"mcpServers\": {}, \"server\": \"x\", \"updateFeed\": \"f\"\r\n}\r\n");
  config_.SaveChosenServer("http://localhost:3000");
  EXPECT_EQ(Content(path_),
            "{\"mcpServers\":{},\"updateFeed\":\"f\",\"server\":\"http://localhost:3000\"}\r\n");
  EXPECT_EQ(log_.lines, Lines{"[Server] saved \"server\" to " + pathText_});
}

TEST_F(ConfigFileTest, SaveSaysWhenItCannot) {
  Write(path_, "[1,2]");
  std::filesystem::create_directories(path_ + L".tmp");
  config_.SaveChosenServer("http://localhost");
  EXPECT_EQ(Content(path_), "[1,2]");
  EXPECT_EQ(log_.lines, Lines{"[Server] could not save the chosen server to " + pathText_});
}

}  // namespace
}  // namespace wendra
