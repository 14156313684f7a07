#include "config/config_file_win.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stop_token>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "devruntime/failing_calls/import_table_win.h"
#include "tests/support/recording_log.h"
#include "tests/support/scratch_folder_win.h"
#include "win/file.h"
#include "win/wide.h"

namespace wendra {
namespace {

using Lines = std::vector<std::string>;
constexpr std::string_view kDefault = "{\r\n  \"mcpServers\": {}\r\n}\r\n";

struct ShareMode {
  const char* name;
  DWORD value;
};
constexpr ShareMode kShareModes[] = {{"none", 0}, {"read", FILE_SHARE_READ}};

// Opens the file as another program does that reads and writes it and allows others only `share`.
FileHandle Hold(const std::wstring& path, DWORD share) {
  return FileHandle(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, share, nullptr,
                                OPEN_EXISTING, 0, nullptr));
}

// The fault that the hooked system functions simulate. TearDown resets it.
enum class Fault { kNone, kDiskFull, kShortWrite, kReadError, kReadOnly };
Fault fault = Fault::kNone;
std::function<void()> afterFileOpening;  // runs once, after the next CreateFileW; may be empty

decltype(&WriteFile) realWriteFile = nullptr;
decltype(&ReadFile) realReadFile = nullptr;
decltype(&CreateFileW) realCreateFile = nullptr;

BOOL WINAPI FaultyWriteFile(HANDLE file, const void* bytes, DWORD count, DWORD* written,
                            OVERLAPPED* overlapped) {
  if (fault != Fault::kDiskFull && fault != Fault::kShortWrite) {
    return realWriteFile(file, bytes, count, written, overlapped);
  }
  const BOOL isWritten = realWriteFile(file, bytes, count / 2, written, overlapped);
  if (fault == Fault::kShortWrite) return isWritten;
  SetLastError(ERROR_DISK_FULL);
  return FALSE;
}

BOOL WINAPI FaultyReadFile(HANDLE file, void* bytes, DWORD count, DWORD* got,
                           OVERLAPPED* overlapped) {
  if (fault != Fault::kReadError) return realReadFile(file, bytes, count, got, overlapped);
  SetLastError(ERROR_LOCK_VIOLATION);
  return FALSE;
}

HANDLE WINAPI WatchedCreateFile(const wchar_t* path, DWORD access, DWORD share,
                                SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                                HANDLE model) {
  if (fault == Fault::kReadOnly && (access & GENERIC_WRITE)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  const HANDLE file = realCreateFile(path, access, share, security, disposition, flags, model);
  const DWORD error = GetLastError();
  if (afterFileOpening) std::exchange(afterFileOpening, {})();
  SetLastError(error);
  return file;
}

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

  static void SetUpTestSuite() {
    ASSERT_TRUE(RedirectImport("WriteFile", &FaultyWriteFile, realWriteFile));
    ASSERT_TRUE(RedirectImport("ReadFile", &FaultyReadFile, realReadFile));
    ASSERT_TRUE(RedirectImport("CreateFileW", &WatchedCreateFile, realCreateFile));
  }
  void TearDown() override {
    fault = Fault::kNone;
    afterFileOpening = {};
  }

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

TEST(ConfigDirectory, IsThePathBeforeTheLastSeparator) {
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

TEST_F(ConfigFileTest, EnsureDefaultMakesFolderAndFileAndLogsIt) {
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

TEST_F(ConfigFileTest, EnsureDefaultLogsEvenWhenADirectoryHasTheFilesName) {
  std::filesystem::create_directories(path_);
  config_.EnsureDefaultConfig();
  EXPECT_TRUE(std::filesystem::is_directory(path_));
  EXPECT_EQ(log_.lines, Lines{"[MCP] created default config at " + pathText_});
}

TEST_F(ConfigFileTest, EnsureDefaultLeavesAFileThatAnotherProgramHolds) {
  for (const auto& share : kShareModes) {
    SCOPED_TRACE(share.name);
    Write(path_, "{\"kept\":1}");
    FileHandle held = Hold(path_, share.value);
    ASSERT_TRUE(held);
    config_.EnsureDefaultConfig();
    held.Reset();
    EXPECT_EQ(Content(path_), "{\"kept\":1}");
  }
  EXPECT_EQ(log_.lines, Lines());
}

TEST_F(ConfigFileTest, EnsureDefaultLeavesAFileThatAnotherProgramReleasesMeanwhile) {
  for (const auto& share : kShareModes) {
    SCOPED_TRACE(share.name);
    Write(path_, "{\"kept\":1}");
    FileHandle held = Hold(path_, share.value);
    ASSERT_TRUE(held);
    afterFileOpening = [&] { held.Reset(); };
    config_.EnsureDefaultConfig();
    EXPECT_FALSE(held);
    EXPECT_EQ(Content(path_), "{\"kept\":1}");
  }
  EXPECT_EQ(log_.lines, Lines());
}

TEST_F(ConfigFileTest, EnsureDefaultLeavesAFileThatAnotherProgramWritesMeanwhile) {
  const struct {
    const char* name;
    bool isThere;
  } cases[] = {{"empty before", true}, {"missing before", false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::filesystem::remove_all(std::filesystem::path(path_).parent_path());
    if (c.isThere) Write(path_, "");
    afterFileOpening = [&] { Write(path_, "{\"kept\":1}"); };
    config_.EnsureDefaultConfig();
    EXPECT_EQ(Content(path_), "{\"kept\":1}");
  }
  EXPECT_EQ(log_.lines, Lines());
}

TEST_F(ConfigFileTest, EnsureDefaultLeavesAnEmptyFileThatAnotherProgramIsAboutToFill) {
  Write(path_, "");
  FileHandle held = Hold(path_, FILE_SHARE_READ | FILE_SHARE_WRITE);
  config_.EnsureDefaultConfig();
  ASSERT_TRUE(WriteBytes(held, "{\"kept\":1}"));
  held.Reset();
  EXPECT_EQ(Content(path_), "{\"kept\":1}");
  EXPECT_EQ(log_.lines, Lines());
}

TEST_F(ConfigFileTest, EnsureDefaultLogsEvenWhenAnEmptyFileIsReadOnly) {
  Write(path_, "");
  fault = Fault::kReadOnly;
  config_.EnsureDefaultConfig();
  fault = Fault::kNone;
  EXPECT_EQ(Content(path_), "");
  EXPECT_EQ(log_.lines, Lines{"[MCP] created default config at " + pathText_});
}

// Each round does what the host does when a page asks for the file.
TEST_F(ConfigFileTest, NothingIsLostWhileAnotherProgramOpensAndReleasesTheFile) {
  constexpr int kRounds = 10'000;
  for (const auto& share : kShareModes) {
    SCOPED_TRACE(share.name);
    Write(path_, "{\"kept\":1}");
    const std::jthread other([&](const std::stop_token& stop) {
      while (!stop.stop_requested()) (void)Hold(path_, share.value);
    });
    int read = 0;
    for (int i = 0; i < kRounds; ++i) {
      config_.EnsureDefaultConfig();
      const std::string text = config_.ReadConfigText();
      ASSERT_TRUE(text.empty() || text == "{\"kept\":1}") << text;
      read += !text.empty();
    }
    if (share.value == 0) {
      EXPECT_GT(read, 0);        // sometimes the file was free
      EXPECT_LT(read, kRounds);  // and sometimes the other program held it
    } else {
      EXPECT_EQ(read, kRounds);
    }
  }
  EXPECT_EQ(log_.lines, Lines());
}

TEST_F(ConfigFileTest, ReadsUpToOneMebibyteUnchanged) {
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

TEST_F(ConfigFileTest, WriteOverwritesTheTemporaryFileOfAFailedMove) {
  Write(path_ + L".tmp", "an old and much longer attempt");
  EXPECT_TRUE(config_.WriteConfigAtomically("new"));
  EXPECT_EQ(Content(path_), "new");
  EXPECT_FALSE(Exists(path_ + L".tmp"));
}

TEST_F(ConfigFileTest, WriteFailsWithoutATemporaryFileAndChangesNothing) {
  Write(path_, "old");
  std::filesystem::create_directories(path_ + L".tmp");  // prevents a file of this name
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

TEST_F(ConfigFileTest, WriteDoesNotMoveAnIncompleteFile) {
  for (const Fault f : {Fault::kDiskFull, Fault::kShortWrite}) {
    Write(path_, "old");
    fault = f;
    EXPECT_TRUE(config_.WriteConfigAtomically("new text"));
    fault = Fault::kNone;
    EXPECT_EQ(Content(path_), "old");
    EXPECT_EQ(Content(path_ + L".tmp"), "new ");
  }
}

TEST_F(ConfigFileTest, SaveLeavesAFileThatItCannotRead) {
  const std::string old = "{\"mcpServers\":{\"a\":{}}}";
  const auto check = [&] {
    EXPECT_EQ(Content(path_), old);
    EXPECT_FALSE(Exists(path_ + L".tmp"));
    EXPECT_EQ(log_.lines, Lines{"[Server] could not save the chosen server to " + pathText_});
    log_.lines.clear();
  };
  Write(path_, old);
  FileHandle held = Hold(path_, 0);
  afterFileOpening = [&] { held.Reset(); };  // from then on a move could succeed
  config_.SaveChosenServer("http://localhost");
  check();

  fault = Fault::kReadError;  // opened, but a part of it is locked
  config_.SaveChosenServer("http://localhost");
  fault = Fault::kNone;
  check();
}

TEST_F(ConfigFileTest, SaveWritesOneLineAndLogsThePath) {
  Write(path_, "{\r\n \"mcpServers\": {}, \"server\": \"x\", \"updateFeed\": \"f\"\r\n}\r\n");
  config_.SaveChosenServer("http://localhost:3000");
  EXPECT_EQ(Content(path_),
            "{\"mcpServers\":{},\"updateFeed\":\"f\",\"server\":\"http://localhost:3000\"}\r\n");
  EXPECT_EQ(log_.lines, Lines{"[Server] saved \"server\" to " + pathText_});
}

TEST_F(ConfigFileTest, SaveLogsAFailure) {
  Write(path_, "[1,2]");
  std::filesystem::create_directories(path_ + L".tmp");
  config_.SaveChosenServer("http://localhost");
  EXPECT_EQ(Content(path_), "[1,2]");
  EXPECT_EQ(log_.lines, Lines{"[Server] could not save the chosen server to " + pathText_});
}

TEST(ConfigFile, GivesItsLastWriteTime) {
  ScratchFolder folder;
  const std::wstring path = folder / L"config.json";
  RecordingLog log;
  const ConfigFile config(path, log);
  EXPECT_EQ(config.LastWriteTime(), std::nullopt);
  constexpr std::uint64_t kTime = 132'000'000'000'000'000;  // a time in 2019
  const FILETIME value{static_cast<DWORD>(kTime), static_cast<DWORD>(kTime >> 32)};
  const FileHandle file(
      CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, CREATE_NEW, 0, nullptr));
  ASSERT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &value));
  EXPECT_EQ(config.LastWriteTime(), kTime);
}

}  // namespace
}  // namespace wendra
