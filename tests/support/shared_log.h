// A log that takes lines from several threads.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/lock.h"
#include "base/log.h"

namespace wendra {

class SharedLog : public Log {
 public:
  void Line(std::string_view line) override { Add(line); }
  void LineFromAnyThread(std::string_view line) override { Add(line); }

  // Waits until there are `count` lines, at most 20 seconds. Returns all lines.
  std::vector<std::string> WaitForLines(size_t count) {
    const std::lock_guard<Lock> lock(lock_);
    (void)added_.WaitFor(lock_, 20'000, [&] { return lines_.size() >= count; });
    return lines_;
  }

  // Takes out all lines.
  std::vector<std::string> Take() {
    const std::lock_guard<Lock> lock(lock_);
    return std::exchange(lines_, {});
  }

 private:
  void Add(std::string_view line) {
    const std::lock_guard<Lock> lock(lock_);
    lines_.emplace_back(line);
    added_.WakeAll();
  }

  Lock lock_;
  Condition added_;
  std::vector<std::string> lines_;
};

}  // namespace wendra
