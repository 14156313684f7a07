// Fuzzes event streams: any bytes in any chunks give the same fields as a simple reader of the
// whole.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/http/event_stream.h"
#include "tests/fuzz/cuts.h"

namespace {

using wendra::EventField;
using Fields = std::vector<std::string>;

constexpr std::string_view kWhitespace = " \t\r\n";

void Append(const std::vector<EventField>& fields, Fields& all) {
  for (const EventField& field : fields) {
    all.push_back((field.kind == EventField::Kind::kEventId ? "i" : "m") + field.text);
  }
}

std::string Trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(kWhitespace);
  if (begin == text.npos) return {};
  return std::string(text.substr(begin, text.find_last_not_of(kWhitespace) + 1 - begin));
}

// The fields by definition: line by line.
Fields Expected(std::string_view text, size_t maxBytes) {
  Fields fields;
  for (bool isLast = false; !isLast;) {
    const size_t end = text.find('\n');
    isLast = end == text.npos;
    const std::string_view line = text.substr(0, end);
    if (line.size() <= maxBytes && line.substr(0, 5) == "data:") {
      if (const std::string message = Trimmed(line.substr(5)); !message.empty()) {
        fields.push_back("m" + message);
      }
    } else if (line.size() <= maxBytes && line.substr(0, 3) == "id:") {
      fields.push_back("i" + Trimmed(line.substr(3)));
    }
    if (!isLast) text.remove_prefix(end + 1);
  }
  return fields;
}

// Reads the text in chunks; for `cuts` see FeedInChunks.
Fields Read(std::string_view text, size_t maxBytes, std::string_view cuts) {
  wendra::EventStream stream(maxBytes);
  Fields fields;
  wendra::FeedInChunks(text, cuts,
                       [&](std::string_view chunk) { Append(stream.Feed(chunk), fields); });
  Append(stream.Finish(), fields);
  return fields;
}

}  // namespace

// The first byte is the limit of a line, the next four are the cuts, the rest is the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 5) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t maxBytes = data[0];
  const std::string_view text = input.substr(5);
  const Fields expected = Expected(text, maxBytes);
  for (const std::string_view cuts :
       {input.substr(1, 4), wendra::kByteByByte, wendra::kInOneChunk}) {
    if (Read(text, maxBytes, cuts) != expected) std::abort();
  }
  return 0;
}
