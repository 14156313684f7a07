#include "bridge/project_dirs.h"

#include <map>

#include <gtest/gtest.h>

#include "tests/support/reply_to.h"
#include "win/registry_key.h"
#include "win/wide.h"

namespace wendra {
namespace {

using Map = std::map<std::string, std::string>;

constexpr wchar_t kKey[] = L"Software\\Wendra.Test\\projectDirs";

class ProjectDirsTest : public testing::Test {
 protected:
  ProjectDirsTest() { RegDeleteKeyW(HKEY_CURRENT_USER, kKey); }
  ~ProjectDirsTest() override { RegDeleteKeyW(HKEY_CURRENT_USER, kKey); }

  std::string Answer(const Action& action, const std::string& args) {
    return ReplyTo(action, args, page_);
  }
  // The value of getProjectDirs' reply, in no particular order.
  Map Dirs() {
    const std::string answer = Answer(get_, "[]");
    EXPECT_TRUE(answer.starts_with("1, "));
    Json value;
    EXPECT_TRUE(Parse(std::string_view(answer).substr(3), value));
    Map dirs;
    for (const auto& [id, path] : value.members) dirs[id] = path.text;
    EXPECT_EQ(dirs.size(), value.members.size());
    return dirs;
  }

  RecordingPage page_;
  Replies replies_{page_};
  const Action get_ = GetProjectDirsAction(replies_, kKey);
  const Action set_ = SetProjectDirAction(replies_, kKey);
};

TEST_F(ProjectDirsTest, LiveBelowTheApplicationsKey) {
  EXPECT_EQ(ProjectDirsKeyPath(), L"Software\\Wendra.Desktop\\projectDirs");
  EXPECT_EQ(get_.name, "getProjectDirs");
  EXPECT_EQ(set_.name, "setProjectDir");
}

TEST_F(ProjectDirsTest, AreEmptyAtFirst) { EXPECT_EQ(Answer(get_, "null"), "1, {}"); }

TEST_F(ProjectDirsTest, KeepAFolderUntilItIsCleared) {
  EXPECT_EQ(Answer(set_, "[\"p1\",\"C:\\\\a\"]"), "1, \"ok\"");
  EXPECT_EQ(Answer(set_, "[\"prøjekt 日\",\"D:\\\\ü\"]"), "1, \"ok\"");
  EXPECT_EQ(Dirs(), (Map{{"p1", "C:\\a"}, {"prøjekt 日", "D:\\ü"}}));
  EXPECT_EQ(Answer(set_, "[\"p1\",\"C:\\\\b\"]"), "1, \"ok\"");
  EXPECT_EQ(Dirs(), (Map{{"p1", "C:\\b"}, {"prøjekt 日", "D:\\ü"}}));
  EXPECT_EQ(Answer(set_, "[\"p1\",\"\"]"), "1, \"ok\"");
  EXPECT_EQ(Answer(set_, "[\"p1\"]"), "1, \"ok\"");  // the value is gone already: still "ok"
  EXPECT_EQ(Dirs(), (Map{{"prøjekt 日", "D:\\ü"}}));
}

TEST_F(ProjectDirsTest, SayWhatTheyExpect) {
  for (const char* args : {"[]", "null", "[\"\",\"C:\\\\a\"]", "[5,\"x\"]"}) {
    EXPECT_EQ(Answer(set_, args), "0, \"setProjectDir expects [projectId, path]\"") << args;
  }
  EXPECT_EQ(Answer(get_, "[]"), "1, {}");
}

TEST_F(ProjectDirsTest, ReadValuesOfAnyType) {
  const RegistryKey key = OpenUserKey(kKey);
  ASSERT_TRUE(key);
  const auto set = [&](const wchar_t* name, DWORD type, const void* data, size_t bytes) {
    ASSERT_EQ(RegSetValueExW(key.Get(), name, 0, type, static_cast<const BYTE*>(data),
                             static_cast<DWORD>(bytes)),
              ERROR_SUCCESS);
  };
  set(L"no zero", REG_SZ, L"abc", 6);
  set(L"two", REG_MULTI_SZ, L"a\0b\0", 10);
  set(L"binary", REG_BINARY, L"xy", 4);
  set(L"odd", REG_BINARY, L"xy", 3);
  set(L"empty", REG_SZ, nullptr, 0);
  set(L"number", REG_DWORD, L"A", 4);
  set(L"", REG_SZ, L"default", 16);
  EXPECT_EQ(Dirs(), (Map{{"no zero", "abc"},
                         {"two", "a"},
                         {"binary", "xy"},
                         {"odd", "x"},
                         {"empty", ""},
                         {"number", "A"},
                         {"", "default"}}));
}

TEST_F(ProjectDirsTest, HoldTenThousand) {
  const RegistryKey key = OpenUserKey(kKey);
  for (int i = 0; i < 10'000; ++i) {
    ASSERT_TRUE(SetTextValue(key, L"p" + std::to_wstring(i), L"C:\\" + std::to_wstring(i)));
  }
  const auto dirs = Dirs();
  EXPECT_EQ(dirs.size(), 10'000u);
  EXPECT_EQ(dirs.at("p9999"), "C:\\9999");
}

}  // namespace
}  // namespace wendra
