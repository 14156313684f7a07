// Measures how long the host's WebMessageReceived handlers take, without the time that they spend
// in this DLL and in OutputDebugStringW: the host's own share of a request.
//
// The debugger output is reported separately: its time depends on Wine, and includes the tap of
// this DLL.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace wendra {

// UI thread.
class HandlerTimings {
 public:
  // Nothing is measured when `file` is "".
  explicit HandlerTimings(std::wstring file) : file_(std::move(file)) {}
  HandlerTimings(const HandlerTimings&) = delete;
  HandlerTimings& operator=(const HandlerTimings&) = delete;

  void BeginHandler();
  void EndHandler();

  // Lives during a call that a handler makes into this DLL. Not nested.
  class Call {
   public:
    explicit Call(HandlerTimings& timings) : timings_(timings) { timings_.BeginCall(); }
    ~Call() { timings_.EndCall(); }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    HandlerTimings& timings_;
  };

  // Lives during a call of OutputDebugStringW, on any thread. The time counts for the handler that
  // the calling thread runs, if any.
  class DebuggerOutput {
   public:
    DebuggerOutput();
    ~DebuggerOutput();
    DebuggerOutput(const DebuggerOutput&) = delete;
    DebuggerOutput& operator=(const DebuggerOutput&) = delete;

   private:
    HandlerTimings* const timings_;  // borrowed; null outside a measured handler
    const std::int64_t startTicks_;
  };

  // Replaces the content of the file by
  // {"count":…,"p50":…,"p99":…,"max":…,"debugger":{"p50":…,"p99":…,"max":…}}, in microseconds.
  void Write();

 private:
  void BeginCall();
  void EndCall();
  bool IsOn() const { return !file_.empty(); }
  std::string Report();

  const std::wstring file_;
  bool isInHandler_ = false;
  // In ticks of the performance counter.
  std::int64_t handlerStartTicks_ = 0;
  std::int64_t callStartTicks_ = 0;
  std::int64_t callTicks_ = 0;          // of the handler that runs
  std::int64_t debuggerTicks_ = 0;      // likewise
  std::vector<std::int64_t> shares_;    // one for each handler call
  std::vector<std::int64_t> debugger_;  // likewise
};

}  // namespace wendra
