// Cuts a stream of bytes into lines.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/long_text.h"

namespace wendra {

// The same bytes give the same lines, however they are cut into pieces. Time linear in the bytes;
// no more is kept than one unfinished line within the limit.
class LineSplitter {
 public:
  // A line longer than `maxPendingBytes` is lost, all of it, up to its line feed.
  explicit LineSplitter(size_t maxPendingBytes)
      : maxPendingBytes_(maxPendingBytes), pending_(maxPendingBytes) {}

  // The lines that `bytes` completes, without their line feeds. Empty lines are left out; a
  // carriage return stays.
  std::vector<std::string> Feed(std::string_view bytes);

  // At the end of the stream: the line that no line feed ended; may be empty.
  std::string Finish();

 private:
  void Keep(std::string_view piece);

  const size_t maxPendingBytes_;
  LongText pending_;
  bool isTooLong_ = false;  // the pending line has been dropped; its rest is still to come
};

}  // namespace wendra
