// Splits a stream of bytes into lines. Pure.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/long_text.h"

namespace wendra {

// The same bytes give the same lines, whatever the chunks. Takes time linear in the number of bytes
// and keeps at most one unfinished line.
class LineSplitter {
 public:
  // A line longer than `maxPendingBytes` is dropped as a whole, up to its line feed.
  explicit LineSplitter(size_t maxPendingBytes)
      : maxPendingBytes_(maxPendingBytes), pending_(maxPendingBytes) {}

  // The lines that `bytes` completes, without their line feeds. Empty lines are left out; a
  // carriage return stays.
  std::vector<std::string> Feed(std::string_view bytes);

  // At the end of the stream: the last line, if it has no line feed; otherwise "".
  std::string Finish();

 private:
  void Keep(std::string_view chunk);

  const size_t maxPendingBytes_;
  LongText pending_;
  bool isTooLong_ = false;  // the start of the pending line was dropped; its rest follows
};

}  // namespace wendra
