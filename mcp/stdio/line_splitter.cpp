#include "mcp/stdio/line_splitter.h"

#include <utility>

namespace wendra {

std::vector<std::string> LineSplitter::Feed(std::string_view bytes) {
  std::vector<std::string> lines;
  for (size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n')) {
    Keep(bytes.substr(0, end));
    bytes.remove_prefix(end + 1);
    if (std::string line = Finish(); !line.empty()) lines.push_back(std::move(line));
  }
  Keep(bytes);
  return lines;
}

std::string LineSplitter::Finish() {
  isTooLong_ = false;
  return pending_.Take();
}

void LineSplitter::Keep(std::string_view chunk) {
  if (isTooLong_) return;
  if (chunk.size() <= maxPendingBytes_ - pending_.Text().size()) return pending_.Append(chunk);
  isTooLong_ = true;
  pending_.Drop();
}

}  // namespace wendra
