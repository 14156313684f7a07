#include "win/unique.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace wendra {
namespace {

std::vector<int> closed;

struct CountingTraits {
  using Raw = int;
  static Raw Empty() { return -1; }
  static void Close(Raw raw) { closed.push_back(raw); }
};
using Counting = Unique<CountingTraits>;

class UniqueTest : public testing::Test {
 protected:
  void SetUp() override { closed.clear(); }
};

TEST_F(UniqueTest, ClosesOnceAtItsEnd) {
  { const Counting owner(7); }
  EXPECT_EQ(closed, std::vector{7});
}

TEST_F(UniqueTest, ClosesNothingWhenItIsEmpty) {
  { const Counting owner; }
  { const Counting owner(-1); }
  EXPECT_TRUE(closed.empty());
}

TEST_F(UniqueTest, MovingOntoAnOwnerClosesItsOldObject) {
  Counting a(1);
  Counting b(2);
  a = std::move(b);
  EXPECT_EQ(closed, std::vector{1});
  EXPECT_EQ(a.Get(), 2);
  EXPECT_FALSE(b);
}

TEST_F(UniqueTest, MovingOntoItselfChangesNothing) {
  Counting a(1);
  Counting& same = a;
  a = std::move(same);
  EXPECT_TRUE(closed.empty());
  EXPECT_EQ(a.Get(), 1);
}

TEST_F(UniqueTest, ReleaseGivesUpWithoutClosing) {
  Counting a(1);
  EXPECT_EQ(a.Release(), 1);
  EXPECT_FALSE(a);
  a.Reset();
  EXPECT_TRUE(closed.empty());
}

TEST_F(UniqueTest, ReceiveClosesTheOldObject) {
  Counting a(1);
  *a.Receive() = 2;
  EXPECT_EQ(closed, std::vector{1});
  EXPECT_EQ(a.Get(), 2);
}

TEST_F(UniqueTest, ResetToANewObjectClosesTheOldOne) {
  Counting a(1);
  a.Reset(2);
  EXPECT_EQ(closed, std::vector{1});
}

}  // namespace
}  // namespace wendra
