#include "bridge/file_actions.h"

#include <filesystem>
#include <fstream>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/reply_to.h"
#include "tests/support/scratch_folder_win.h"
#include "win/file.h"
#include "win/wide.h"

namespace wendra {
namespace {

class FileActionsTest : public testing::Test {
 protected:
  std::string Answer(const Action& action, const std::string& args) {
    return ReplyTo(action, args, page_);
  }
  std::string Path(const std::wstring& name) { return Narrow(folder_ / name); }
  static std::string Quoted(const std::string& text) {
    std::string json;
    Serialize(Json(text), json);
    return json;
  }
  std::string Args(const std::string& first) { return "[" + Quoted(first) + "]"; }
  std::string Args(const std::string& first, const std::string& second) {
    return "[" + Quoted(first) + "," + Quoted(second) + "]";
  }
  void Put(const std::wstring& name, std::string_view content) {
    std::ofstream(std::filesystem::path(folder_ / name), std::ios::binary) << content;
  }

  ScratchFolder folder_;
  RecordingPage page_;
  Replies replies_{page_};
  const Action read_ = ReadFileAction(replies_);
  const Action readBase64_ = ReadFileBase64Action(replies_);
  const Action write_ = WriteFileAction(replies_);
};

TEST_F(FileActionsTest, HaveTheirNames) {
  EXPECT_EQ(read_.name, "readFile");
  EXPECT_EQ(readBase64_.name, "readFileBase64");
  EXPECT_EQ(write_.name, "writeFile");
}

TEST_F(FileActionsTest, SayWhatTheyExpect) {
  for (const char* args : {"[]", "null", "[5]", "[\"\"]", "\"x\"", "{\"0\":\"x\"}", "[null]"}) {
    EXPECT_EQ(Answer(read_, args), "0, \"readFile expects [path]\"") << args;
    EXPECT_EQ(Answer(readBase64_, args), "0, \"readFileBase64 expects [path]\"") << args;
    EXPECT_EQ(Answer(write_, args), "0, \"writeFile expects [path, content]\"") << args;
  }
}

TEST_F(FileActionsTest, ReadTheWholeFile) {
  const struct {
    std::string content, text, base64;
  } cases[] = {
      {"", "1, \"\"", "1, \"\""},
      {"abc", "1, \"abc\"", "1, \"YWJj\""},
      {"ab", "1, \"ab\"", "1, \"YWI=\""},
      {"ü\n\"\\", "1, \"ü\\n\\\"\\\\\"", "1, \"w7wKIlw=\""},
      {std::string("a\0b", 3), "1, \"a\\u0000b\"", "1, \"YQBi\""},
      {"\xFF\xFE", "1, \"\xFF\xFE\"", "1, \"//4=\""},  // not UTF-8: the bytes stay unchanged
  };
  for (const auto& c : cases) {
    Put(L"ü.txt", c.content);
    EXPECT_EQ(Answer(read_, Args(Path(L"ü.txt"))), c.text);
    EXPECT_EQ(Answer(readBase64_, Args(Path(L"ü.txt"))), c.base64);
  }
}

TEST_F(FileActionsTest, SayWhyTheyCannotRead) {
  std::filesystem::create_directories(folder_ / L"folder");
  Put(L"locked", "x");
  const FileHandle locked(CreateFileW((folder_ / L"locked").c_str(), GENERIC_READ, 0, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
  const struct {
    std::string path, error;
  } cases[] = {
      {Path(L"missing"), "no such file"},
      {Path(L"no\\such\\folder"), "no such file"},
      {Path(L"folder"), "is a directory"},
      {Path(L"folder\\"), "is a directory"},
      {"C:\\", "is a directory"},
      {Path(L"locked"), "could not open file"},
      {Path(L"locked") + std::string("\0.txt", 5), "no such file"},  // not cut at the NUL
      {"C:\\a*b", "no such file"},
      {"\\\\no-such-host.invalid\\share\\x", "no such file"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Answer(read_, Args(c.path)), "0, \"" + c.error + "\"") << c.path;
    EXPECT_EQ(Answer(readBase64_, Args(c.path)), "0, \"" + c.error + "\"") << c.path;
  }
}

TEST_F(FileActionsTest, ReadSixteenMebibytesAndNoByteMore) {
  const std::string largest(16'777'216, 'x');
  Put(L"big", largest);
  EXPECT_EQ(Answer(read_, Args(Path(L"big"))), "1, \"" + largest + "\"");
  EXPECT_EQ(Answer(readBase64_, Args(Path(L"big"))).size(), 3 + 2 + (16'777'216u + 2) / 3 * 4);
  Put(L"big", largest + "x");
  EXPECT_EQ(Answer(read_, Args(Path(L"big"))), "0, \"file too large\"");
  EXPECT_EQ(Answer(readBase64_, Args(Path(L"big"))), "0, \"file too large\"");
}

TEST_F(FileActionsTest, ReadWhileOthersWriteAndDelete) {
  Put(L"shared", "abc");
  const FileHandle other(CreateFileW((folder_ / L"shared").c_str(), GENERIC_WRITE | DELETE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(other);
  EXPECT_EQ(Answer(read_, Args(Path(L"shared"))), "1, \"abc\"");
}

TEST_F(FileActionsTest, WriteTheContentAndMakeMissingFolders) {
  const std::string path = Path(L"a b\\ü\\日本\\x.txt");
  EXPECT_EQ(Answer(write_, Args(path, "first, longer")), "1, \"ok\"");
  EXPECT_EQ(Answer(write_, Args(path, "häl\nlo")), "1, \"ok\"");
  EXPECT_EQ(Answer(read_, Args(path)), "1, \"häl\\nlo\"");
  EXPECT_EQ(Answer(write_, Args(path)), "1, \"ok\"");  // no content argument: an empty file
  EXPECT_EQ(Answer(read_, Args(path)), "1, \"\"");
  EXPECT_EQ(Answer(write_, "[" + Quoted(path) + ",5]"), "1, \"ok\"");  // a number is no content
  EXPECT_EQ(Answer(read_, Args(path)), "1, \"\"");
}

TEST_F(FileActionsTest, NameTheErrorCodeWhenTheyCannotWrite) {
  std::filesystem::create_directories(folder_ / L"folder");
  Put(L"held", "old");
  const FileHandle held(CreateFileW((folder_ / L"held").c_str(), GENERIC_READ, FILE_SHARE_READ,
                                    nullptr, OPEN_EXISTING, 0, nullptr));
  const struct {
    std::string path, error;
  } cases[] = {
      {Path(L"folder"), "could not create file (5)"},
      {Path(L"held"), "could not create file (32)"},
      {Path(L"held\\x"), "could not create file (3)"},
      {Path(L"zero") + std::string("\0.txt", 5), "could not create file (123)"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Answer(write_, Args(c.path, "new")), "0, \"" + c.error + "\"") << c.path;
  }
  EXPECT_EQ(Answer(read_, Args(Path(L"held"))), "1, \"old\"");
  EXPECT_FALSE(std::filesystem::exists(folder_ / L"zero"));
}

}  // namespace
}  // namespace wendra
