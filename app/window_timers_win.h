// Implements the MCP client's timers with timers of the main window.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "mcp/request_timers.h"

#include <windows.h>

namespace wendra {

class WindowTimers : public RequestTimers {
 public:
  explicit WindowTimers(std::function<HWND()> window) : window_(std::move(window)) {}

  bool Start(std::uint64_t id, std::uint32_t periodMs) override {
    return SetTimer(window_(), id, periodMs, nullptr) != 0;
  }
  void Kill(std::uint64_t id) override { (void)KillTimer(window_(), id); }

 private:
  const std::function<HWND()> window_;
};

}  // namespace wendra
