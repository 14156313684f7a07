// Reads a stream of server-sent events as far as MCP uses it. Pure.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/stdio/line_splitter.h"

namespace wendra {

// What a line of an event stream means.
struct EventField {
  enum class Kind { kMessage, kEventId };
  Kind kind;
  std::string text;  // without blanks around it; of a message never empty
};

// Lines end at a line feed, with or without a carriage return before it. Deliberate: each "data:"
// line is a message of its own, and an id counts from its line on. All other lines mean nothing.
// The same bytes give the same fields, however they are cut. Time linear in the bytes.
class EventStream {
 public:
  // A line longer than `maxLineBytes` is lost.
  explicit EventStream(size_t maxLineBytes) : lines_(maxLineBytes) {}

  // The fields of the lines that `bytes` completes.
  std::vector<EventField> Feed(std::string_view bytes);

  // At the end of the stream: the field of the line that no line feed ended, if it is one.
  std::vector<EventField> Finish();

 private:
  LineSplitter lines_;
};

}  // namespace wendra
