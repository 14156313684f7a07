// Reads the fields of an event stream (server-sent events) that MCP uses. Pure.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/stdio/line_splitter.h"

namespace wendra {

// The meaning of one line of an event stream.
struct EventField {
  enum class Kind { kMessage, kEventId };
  Kind kind;
  std::string text;  // without whitespace around it; never empty for a message
};

// A line ends at a line feed, with or without a carriage return before it. Deliberate: each "data:"
// line is a message of its own, and an id counts from its line on. All other lines are ignored. The
// same bytes give the same fields, whatever the chunks. Takes time linear in the number of bytes.
class EventStream {
 public:
  // A line longer than `maxLineBytes` is dropped.
  explicit EventStream(size_t maxLineBytes) : lines_(maxLineBytes) {}

  // The fields of the lines that `bytes` completes.
  std::vector<EventField> Feed(std::string_view bytes);

  // At the end of the stream: the field of the last line, if that has no line feed and is a field.
  std::vector<EventField> Finish();

 private:
  LineSplitter lines_;
};

}  // namespace wendra
