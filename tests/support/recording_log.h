// A log that keeps its lines, so that a test can compare them byte for byte. One thread.
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
