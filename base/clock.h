// Reads the clock for time-outs.
#pragma once

#include <chrono>
#include <cstdint>

namespace wendra {

// Milliseconds since a fixed moment, the same for the whole life of this process; never goes
// backwards. Any thread.
inline std::uint64_t ClockMs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

}  // namespace wendra
