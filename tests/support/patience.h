// How long a test waits for something that has to happen before it fails.
#pragma once

#include <cstdint>

namespace wendra {

// A machine with other work may need a hundred times what a quiet one needs, so the limit is large;
// only a failing test ever waits so long. Below the limit of a whole test (tests/run.mjs).
inline constexpr std::uint32_t kPatienceMs = 60'000;

}  // namespace wendra
