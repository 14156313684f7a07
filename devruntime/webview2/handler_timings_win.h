// How long the host's WebMessageReceived handlers take, without what they spend in calls back into
// this DLL and in the system's debugger output: the host's own share of a request. The debugger
// output is told apart since its cost is Wine's, and this DLL's tap of it is in it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <windows.h>

namespace wendra {

// UI thread.
class HandlerTimings {
 public:
  // With an empty `file` nothing is measured.
  explicit HandlerTimings(std::wstring file) : file_(std::move(file)) {}
  HandlerTimings(const HandlerTimings&) = delete;
  HandlerTimings& operator=(const HandlerTimings&) = delete;

  void BeginHandler();
  void EndHandler();

  // Around every call that a handler makes into this DLL. Not nested.
  class Call {
   public:
    explicit Call(HandlerTimings& timings) : timings_(timings) { timings_.BeginCall(); }
    ~Call() { timings_.EndCall(); }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    HandlerTimings& timings_;
  };

  // Around a write to the debugger, on any thread: counts in the handler of the calling thread, if
  // it runs one.
  class DebuggerOutput {
   public:
    DebuggerOutput();
    ~DebuggerOutput();
    DebuggerOutput(const DebuggerOutput&) = delete;
    DebuggerOutput& operator=(const DebuggerOutput&) = delete;

   private:
    HandlerTimings* const timings_;  // null outside a handler that is measured
    const std::int64_t start_;
  };

  // {"count":…,"p50":…,"p99":…,"max":…,"debugger":{"p50":…,"p99":…,"max":…}} in microseconds, over
  // whatever the file held.
  void Write();

 private:
  void BeginCall();
  void EndCall();
  bool IsOn() const { return !file_.empty(); }
  std::string Report();

  std::wstring file_;
  bool inHandler_ = false;
  std::int64_t handlerStart_ = 0;  // ticks of the performance counter, all three
  std::int64_t callStart_ = 0;
  std::int64_t inCalls_ = 0;
  std::int64_t inDebugger_ = 0;
  std::vector<std::int64_t> shares_;
  std::vector<std::int64_t> debugger_;
};

}  // namespace wendra
