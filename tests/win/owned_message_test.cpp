#include "win/owned_message.h"

#include <memory>

#include <gtest/gtest.h>

#include "tests/support/test_window_win.h"

namespace wendra {
namespace {

constexpr UINT kTestMessage = WM_APP + 100;

struct Payload {
  explicit Payload(int& count) : alive(count) { ++alive; }
  ~Payload() { --alive; }
  int& alive;
};

TEST(PostOwned, HandsThePayloadToTheWindowProcedure) {
  int alive = 0;
  int taken = 0;
  const TestWindow window([&](UINT message, WPARAM wparam, LPARAM lparam) {
    if (message != kTestMessage) return;
    const auto payload = TakeOwned<Payload>(lparam);
    EXPECT_EQ(wparam, 42u);
    EXPECT_EQ(&payload->alive, &alive);
    ++taken;
  });
  EXPECT_TRUE(PostOwned(window.Handle(), kTestMessage, 42, std::make_unique<Payload>(alive)));
  EXPECT_EQ(alive, 1);
  TestWindow::Pump();
  EXPECT_EQ(taken, 1);
  EXPECT_EQ(alive, 0);
}

TEST(PostOwned, FreesThePayloadWhereNobodyTakesIt) {
  int alive = 0;
  EXPECT_FALSE(PostOwned(nullptr, kTestMessage, 0, std::make_unique<Payload>(alive)));
  EXPECT_EQ(alive, 0);
  HWND gone;
  {
    const TestWindow window;
    gone = window.Handle();
  }
  EXPECT_FALSE(PostOwned(gone, kTestMessage, 0, std::make_unique<Payload>(alive)));
  EXPECT_EQ(alive, 0);
}

}  // namespace
}  // namespace wendra
