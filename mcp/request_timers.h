// Timers for the time-outs of requests, as a Connection uses them.
#pragma once

#include <cstdint>

namespace wendra {

// UI thread only.
class RequestTimers {
 public:
  virtual ~RequestTimers() = default;
  // Fires after `periodMs`, and again and again until it is killed. The caller chooses the ids,
  // from 101 upward. False: the system has no timer left, and nothing will fire.
  virtual bool Start(std::uint64_t id, std::uint32_t periodMs) = 0;
  virtual void Kill(std::uint64_t id) = 0;
};

}  // namespace wendra
