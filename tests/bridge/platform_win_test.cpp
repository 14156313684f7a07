#include "bridge/platform.h"

#include <gtest/gtest.h>

#include "tests/support/recording_page.h"
#include "win/environment.h"
#include "win/wide.h"

namespace wendra {
namespace {

TEST(ReadPlatformFacts, GivesVersionUserAndHome) {
  const PlatformFacts facts = ReadPlatformFacts();
  EXPECT_TRUE(facts.version.starts_with("10.0.")) << facts.version;
  EXPECT_FALSE(facts.user.empty());
  EXPECT_EQ(facts.home, Narrow(EnvironmentText(L"USERPROFILE")));
  EXPECT_FALSE(facts.home.empty());
}

TEST(PlatformAction, AnswersBeforeItReturns) {
  RecordingPage page;
  Replies replies(page);
  const Action action = PlatformAction(replies);
  EXPECT_EQ(action.name, "platform");
  action.run("r7", Json());
  ASSERT_EQ(page.scripts.size(), 1u);
  EXPECT_NE(page.scripts[0].find("__resolve('r7', 1, {\"name\":\"Windows\",\"version\":\"10.0."),
            std::string::npos)
      << page.scripts[0];
}

}  // namespace
}  // namespace wendra
