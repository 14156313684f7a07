// Fuzzes LineSplitter: any bytes in any chunks give the same lines as a simple reader of the whole.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/stdio/line_splitter.h"
#include "tests/fuzz/cuts.h"

namespace {

using Lines = std::vector<std::string>;

// The lines by definition: the texts between line feeds that are neither empty nor too long.
Lines Expected(std::string_view text, size_t maxBytes) {
  Lines lines;
  for (bool isLast = false; !isLast;) {
    const size_t end = text.find('\n');
    isLast = end == text.npos;
    const std::string_view line = text.substr(0, end);
    if (!line.empty() && line.size() <= maxBytes) lines.emplace_back(line);
    if (!isLast) text.remove_prefix(end + 1);
  }
  return lines;
}

// Splits the text in chunks; for `cuts` see FeedInChunks.
Lines Split(std::string_view text, size_t maxBytes, std::string_view cuts) {
  wendra::LineSplitter splitter(maxBytes);
  Lines lines;
  wendra::FeedInChunks(text, cuts, [&](std::string_view chunk) {
    for (auto& line : splitter.Feed(chunk)) lines.push_back(std::move(line));
  });
  if (std::string last = splitter.Finish(); !last.empty()) lines.push_back(std::move(last));
  return lines;
}

}  // namespace

// The first byte is the limit of a line, the next four are the cuts, the rest is the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 5) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t maxBytes = data[0];
  const std::string_view text = input.substr(5);
  const Lines expected = Expected(text, maxBytes);
  for (const std::string_view cuts :
       {input.substr(1, 4), wendra::kByteByByte, wendra::kInOneChunk}) {
    if (Split(text, maxBytes, cuts) != expected) std::abort();
  }
  return 0;
}
