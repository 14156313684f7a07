#include "devruntime/failing_calls/failure_plan.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

// One letter for each of five calls of F with the detail "1": F if the call fails, otherwise a dot.
std::string Verdicts(std::string_view text) {
  FailurePlan plan(text);
  std::string verdicts;
  for (int i = 0; i < 5; ++i) verdicts += plan.Judge("F", "1").fails ? 'F' : '.';
  return verdicts;
}

TEST(FailurePlan, SaysWhichCallsFail) {
  const struct {
    const char *text, *want;
  } cases[] = {
      {"", "....."},        {"F", "FFFFF"},
      {"F:1", "F...."},     {"F:3", "..F.."},
      {"F:2-", ".FFFF"},    {"F:2-4", ".FFF."},
      {"F:4-2", "....."},   {"G", "....."},
      {"FF", "....."},      {"f", "....."},
      {"F/1", "FFFFF"},     {"F/1:2", ".F..."},
      {"F/2", "....."},     {"F/", "FFFFF"},
      {"F:1=5", "F...."},   {"F=5", "FFFFF"},
      {"F:1 F:3", "F.F.."}, {"G,F:1\r\n\tF:3 ,", "F.F.."},
      {"F:", "....."},      {"F:x", "....."},
      {"F:1x", "....."},    {"F:-1", "....."},
      {"F=", "....."},      {"F=x", "....."},
      {"F:1-x", "....."},   {"F:99999999999999999999", "....."},
      {"=", "....."},       {":/=", "....."},
  };
  for (const auto& c : cases) EXPECT_EQ(Verdicts(c.text), c.want) << c.text;
}

TEST(FailurePlan, KnowsTheErrorAndTheLastPartOfAPath) {
  FailurePlan plan("F/c.txt=112 G=7");
  EXPECT_EQ(plan.Judge("F", "C:\\a\\c.txt").error, 112u);
  EXPECT_EQ(plan.Judge("F", "c.txt").error, 112u);
  EXPECT_FALSE(plan.Judge("F", "C:\\a\\bc.txt").fails);
  EXPECT_EQ(plan.Judge("G", "").error, 7u);
}

}  // namespace
}  // namespace wendra
