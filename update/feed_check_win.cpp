#include "update/feed_check_win.h"

#include "config/config_file_win.h"
#include "config/settings.h"
#include "update/app_version_win.h"
#include "update/feed_check.h"
#include "update/feed_fetch.h"
#include "win/thread.h"

namespace wendra {
namespace {

struct FeedCheckJob {
  std::wstring configPath;
  UpdateOutlet* outlet;  // borrowed until the process ends
  std::shared_ptr<WinHttpExchange> exchange;
};

void FeedCheckThread(std::unique_ptr<FeedCheckJob> job) {
  const Settings settings =
      ReadSettings(ReadConfigText(job->configPath)).value_or(DefaultSettings());
  if (!settings.updateFeedComplaint.empty()) job->outlet->Line(settings.updateFeedComplaint);
  const Outcome<std::string> text = FetchFeed(settings.updateFeed, *job->exchange);
  for (const std::string& line : ReportFeed(text, CurrentVersion())) job->outlet->Line(line);
}

}  // namespace

FeedCheck::FeedCheck(const std::wstring& configPath, UpdateOutlet& outlet)
    : exchange_(std::make_shared<WinHttpExchange>()) {
  auto job = std::make_unique<FeedCheckJob>(FeedCheckJob{configPath, &outlet, exchange_});
  (void)StartThread<FeedCheckThread>(job);  // no code waits for this thread
}

FeedCheck::~FeedCheck() { exchange_->Abort(); }

}  // namespace wendra
