#include "runtime/webview2/handler_timings_win.h"

#include <algorithm>

#include "win/unique.h"

namespace wendra {
namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;

std::int64_t Ticks() {
  LARGE_INTEGER now{};
  QueryPerformanceCounter(&now);
  return now.QuadPart;
}

std::int64_t Microseconds(std::int64_t ticks) {
  LARGE_INTEGER perSecond{};
  QueryPerformanceFrequency(&perSecond);
  return ticks * kMicrosecondsPerSecond / perSecond.QuadPart;
}

}  // namespace

void HandlerTimings::BeginHandler() {
  if (!IsOn()) return;
  inHandler_ = true;
  inCalls_ = 0;
  handlerStart_ = Ticks();
}

void HandlerTimings::EndHandler() {
  if (!inHandler_) return;
  shares_.push_back(Ticks() - handlerStart_ - inCalls_);
  inHandler_ = false;
}

void HandlerTimings::BeginCall() {
  if (inHandler_) callStart_ = Ticks();
}

void HandlerTimings::EndCall() {
  if (inHandler_) inCalls_ += Ticks() - callStart_;
}

std::string HandlerTimings::Report() {
  std::sort(shares_.begin(), shares_.end());
  const size_t count = shares_.size();
  const auto percentile = [&](size_t percent) {
    return count == 0 ? 0 : Microseconds(shares_[std::min(count - 1, count * percent / 100)]);
  };
  return "{\"count\":" + std::to_string(count) + ",\"p50\":" + std::to_string(percentile(50)) +
         ",\"p99\":" + std::to_string(percentile(99)) +
         ",\"max\":" + std::to_string(percentile(100)) + "}\n";
}

void HandlerTimings::Write() {
  if (!IsOn()) return;
  const FileHandle file(CreateFileW(file_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return;
  const std::string report = Report();
  DWORD written = 0;
  WriteFile(file.Get(), report.data(), static_cast<DWORD>(report.size()), &written, nullptr);
}

}  // namespace wendra
