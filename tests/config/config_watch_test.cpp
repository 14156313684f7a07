#include "config/config_watch.h"

#include <string>

#include <gtest/gtest.h>

namespace wendra {
namespace {

class TimedConfig : public ConfigStore {
 public:
  std::string ReadConfigText() override { return {}; }
  std::string ConfigPathText() override { return {}; }
  void SaveChosenServer(std::string_view) override {}
  void EnsureDefaultConfig() override {}
  ConfigReading Read() const override { return {}; }
  bool WriteConfigAtomically(std::string_view) override { return false; }
  std::optional<std::uint64_t> LastWriteTime() const override { return time; }

  std::optional<std::uint64_t> time;
};

constexpr std::uint64_t kSomeTime = 132'000'000'000'000'000;  // a time in 2019
constexpr std::uint64_t kHour = 36'000'000'000;

TEST(ConfigWatch, ReportsAnEarlierOrLaterTimeOnce) {
  TimedConfig config;
  config.time = kSomeTime;
  ConfigWatch watch(config);
  EXPECT_FALSE(watch.HasChanged());
  for (const std::uint64_t time : {kSomeTime + kHour, kSomeTime - kHour}) {
    config.time = time;
    EXPECT_TRUE(watch.HasChanged());
    EXPECT_FALSE(watch.HasChanged());
  }
}

TEST(ConfigWatch, ReportsTheSameTimeOnceAfterLookAgain) {
  TimedConfig config;
  config.time = kSomeTime;
  ConfigWatch watch(config);
  watch.LookAgain();
  EXPECT_TRUE(watch.HasChanged());
  EXPECT_FALSE(watch.HasChanged());
  config.time.reset();
  watch.LookAgain();
  EXPECT_FALSE(watch.HasChanged());
}

TEST(ConfigWatch, ReportsNothingWhileTheFileIsMissing) {
  TimedConfig config;
  ConfigWatch watch(config);
  EXPECT_FALSE(watch.HasChanged());
  config.time = kSomeTime;
  EXPECT_TRUE(watch.HasChanged());
  config.time.reset();
  EXPECT_FALSE(watch.HasChanged());
}

}  // namespace
}  // namespace wendra
