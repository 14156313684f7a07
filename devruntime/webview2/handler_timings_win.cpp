#include "devruntime/webview2/handler_timings_win.h"

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

// Whose handler this thread runs.
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

HandlerTimings::DebuggerOutput::DebuggerOutput() : timings_(current), start_(Ticks()) {}

HandlerTimings::DebuggerOutput::~DebuggerOutput() {
  if (timings_) timings_->inDebugger_ += Ticks() - start_;
}

void HandlerTimings::BeginHandler() {
  if (!IsOn()) return;
  current = this;
  inHandler_ = true;
  inCalls_ = 0;
  inDebugger_ = 0;
  handlerStart_ = Ticks();
}

void HandlerTimings::EndHandler() {
  if (!inHandler_) return;
  shares_.push_back(Ticks() - handlerStart_ - inCalls_ - inDebugger_);
  debugger_.push_back(inDebugger_);
  inHandler_ = false;
  current = nullptr;
}

void HandlerTimings::BeginCall() {
  if (inHandler_) callStart_ = Ticks();
}

void HandlerTimings::EndCall() {
  if (inHandler_) inCalls_ += Ticks() - callStart_;
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
  const std::string report = Report();
  DWORD written = 0;
  WriteFile(file.Get(), report.data(), static_cast<DWORD>(report.size()), &written, nullptr);
}

}  // namespace wendra
