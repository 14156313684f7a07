// What the stand-in is told by environment variables; docs/runtime-winsparkle.md lists them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace wendra {

struct SparkleSettings {
  std::wstring callsFile;                     // "" when nobody wants to know
  std::uint16_t controlPort = 0;              // on the loopback address; 0 for none
  std::optional<long long> automatic;         // answers of the getters, instead of what was set
  std::optional<long long> intervalSeconds;   // likewise
  std::optional<long long> lastCheckSeconds;  // since 1970 UTC
  bool callsBackLate = false;                 // during clean-up, and again at the process's end
};

// Reads the environment anew.
SparkleSettings ReadSparkleSettings();

}  // namespace wendra
