#include "update/check_action.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/recording_page.h"

namespace wendra {
namespace {

TEST(CheckForUpdates, StartsACheckAndRepliesAtOnceForAnyArguments) {
  const Json arguments[] = {Json::Array(), Json::Object(), Json(), Json("x"), Json(5)};
  for (const Json& args : arguments) {
    RecordingPage page;
    Replies replies(page);
    std::vector<size_t> repliesBeforeCheck;
    const Action action =
        CheckForUpdatesAction(replies, [&] { repliesBeforeCheck.push_back(page.scripts.size()); });
    EXPECT_EQ(action.name, "checkForUpdates");
    action.run("r1", args);
    EXPECT_EQ(repliesBeforeCheck, std::vector<size_t>{0}) << "one check, before the reply";
    ASSERT_EQ(page.scripts.size(), 1u);
    RecordingPage expected;
    Replies(expected).Succeed("r1", "ok");
    EXPECT_EQ(page.scripts, expected.scripts);
  }
}

}  // namespace
}  // namespace wendra
