#include "bridge/pick_directory_win.h"

#include <vector>

#include <gtest/gtest.h>

#include "tests/support/recording_page.h"
#include "tests/support/test_window_win.h"
#include "win/messages.h"

namespace wendra {
namespace {

using Titles = std::vector<std::string>;

class FolderPickerTest : public testing::Test {
 protected:
  void Ask(const std::string& title) {
    Json args = Json::Array();
    args.items.emplace_back(title);
    action_.run("r" + title, args);
  }

  // "ID=VALUE" for each reply so far.
  Titles Answers() const {
    Titles answers;
    for (const std::string& script : page_.scripts) {
      constexpr std::string_view kBegin = "__resolve('";
      const size_t id = script.find(kBegin) + kBegin.size();
      const size_t value = script.find("', 1, ", id);
      const size_t end = script.find(") : 0;", value);
      answers.push_back(script.substr(id, value - id) + "=" +
                        script.substr(value + 6, end - value - 6));
    }
    return answers;
  }

  RecordingPage page_;
  Replies replies_{page_};
  std::function<void(const std::string& title)> whileShown_;
  Titles shown_;
  HWND owner_ = nullptr;  // the main window, as the picker gets it
  int depth_ = 0;
  FolderPicker picker_{replies_, [this] { return owner_; },
                       [this](const std::string& title, HWND) -> std::optional<std::string> {
                         EXPECT_EQ(++depth_, 1);  // one dialog at a time
                         shown_.push_back(title);
                         if (whileShown_) whileShown_(title);
                         --depth_;
                         if (title == "cancelled") return std::nullopt;
                         return "C:\\" + title;
                       }};
  const Action action_ = PickDirectoryAction(picker_);
  const TestWindow window_{[this](UINT message, WPARAM, LPARAM) {
    if (message == kPickDirectoryMessage) picker_.ShowDialogs();
  }};

  void SetUp() override { owner_ = window_.Handle(); }
};

TEST_F(FolderPickerTest, ShowsTheDialogFromTheMessageLoop) {
  EXPECT_EQ(action_.name, "pickDirectory");
  Ask("a");
  EXPECT_EQ(shown_, Titles());
  TestWindow::Pump();
  EXPECT_EQ(shown_, Titles{"a"});
  Ask("cancelled");
  TestWindow::Pump();
  EXPECT_EQ(Answers(), (Titles{"ra=\"C:\\\\a\"", "rcancelled=null"}));
}

TEST_F(FolderPickerTest, ShowsOneDialogAfterTheOther) {
  whileShown_ = [&](const std::string& title) {
    if (title != "a") return;
    Ask("c");
    Ask("d");
    picker_.ShowDialogs();  // as if another program had posted the message
    TestWindow::Pump();
  };
  Ask("a");
  Ask("b");
  TestWindow::Pump();
  EXPECT_EQ(shown_, (Titles{"a", "b", "c", "d"}));
  EXPECT_EQ(page_.scripts.size(), 4u);
}

TEST_F(FolderPickerTest, LetsSixteenRequestsWait) {
  for (const bool isFirstShown : {false, true}) {
    SCOPED_TRACE(isFirstShown);
    shown_.clear();
    page_.scripts.clear();
    const auto askForTheRest = [&] {
      for (int i = 1; i < 300; ++i) Ask(std::to_string(i));
      EXPECT_EQ(page_.scripts.size(), 283u);
      EXPECT_EQ(Answers().front(), "r17=null");
    };
    whileShown_ = [&](const std::string& title) {
      if (isFirstShown && title == "0") askForTheRest();
    };
    Ask("0");
    if (!isFirstShown) askForTheRest();
    TestWindow::Pump();
    ASSERT_EQ(shown_.size(), 17u);
    for (size_t i = 0; i < shown_.size(); ++i) EXPECT_EQ(shown_[i], std::to_string(i));
    EXPECT_EQ(page_.scripts.size(), 300u);
  }
}

TEST_F(FolderPickerTest, DoesNothingWithoutARequest) {
  picker_.ShowDialogs();
  EXPECT_EQ(shown_, Titles());
}

TEST_F(FolderPickerTest, AnswersWithNullWithoutAWindow) {
  owner_ = nullptr;
  Ask("a");
  Ask("b");
  EXPECT_EQ(Answers(), (Titles{"ra=null", "rb=null"}));
  EXPECT_EQ(shown_, Titles());
}

TEST_F(FolderPickerTest, ShowsNothingMoreOnceTheWindowIsGone) {
  whileShown_ = [&](const std::string&) { owner_ = nullptr; };
  Ask("a");
  Ask("b");
  TestWindow::Pump();
  EXPECT_EQ(shown_, Titles{"a"});
}

}  // namespace
}  // namespace wendra
