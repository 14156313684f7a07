// A log that keeps its lines, for comparing them byte for byte.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/log.h"

namespace wendra {

class RecordingLog : public Log {
 public:
  void Line(std::string_view line) override { lines.emplace_back(line); }
  void LineFromAnyThread(std::string_view line) override { lines.emplace_back(line); }

  std::vector<std::string> lines;
};

}  // namespace wendra
