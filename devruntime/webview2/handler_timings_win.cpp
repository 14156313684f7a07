#include "devruntime/webview2/handler_timings_win.h"

#include <algorithm>

#include "win/file.h"

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

// The object that measures the handler which this thread runs now; null outside a handler.
thread_local HandlerTimings* current = nullptr;

std::string Percentiles(std::vector<std::int64_t>& times) {
  std::sort(times.begin(), times.end());
  const size_t count = times.size();
  const auto percentile = [&](size_t percent) {
    return count == 0 ? 0 : Microseconds(times[std::min(count - 1, count * percent / 100)]);
  };
  return "\"p50\":" + std::to_string(percentile(50)) +
         ",\"p99\":" + std::to_string(percentile(99)) +
         ",\"max\":" + std::to_string(percentile(100));
}

}  // namespace

HandlerTimings::DebuggerOutput::DebuggerOutput() : timings_(current), startTicks_(Ticks()) {}

HandlerTimings::DebuggerOutput::~DebuggerOutput() {
  if (timings_) timings_->debuggerTicks_ += Ticks() - startTicks_;
}

void HandlerTimings::BeginHandler() {
  if (!IsOn()) return;
  current = this;
  isInHandler_ = true;
  callTicks_ = 0;
  debuggerTicks_ = 0;
  handlerStartTicks_ = Ticks();
}

void HandlerTimings::EndHandler() {
  if (!isInHandler_) return;
  shares_.push_back(Ticks() - handlerStartTicks_ - callTicks_ - debuggerTicks_);
  debugger_.push_back(debuggerTicks_);
  isInHandler_ = false;
  current = nullptr;
}

void HandlerTimings::BeginCall() {
  if (isInHandler_) callStartTicks_ = Ticks();
}

void HandlerTimings::EndCall() {
  if (isInHandler_) callTicks_ += Ticks() - callStartTicks_;
}

std::string HandlerTimings::Report() {
  return "{\"count\":" + std::to_string(shares_.size()) + "," + Percentiles(shares_) +
         ",\"debugger\":{" + Percentiles(debugger_) + "}}\n";
}

void HandlerTimings::Write() {
  if (!IsOn()) return;
  const FileHandle file(CreateFileW(file_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return;
  (void)WriteBytes(file, Report());
}

}  // namespace wendra
