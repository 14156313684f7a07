// Feeds text in chunks, as it arrives from a pipe or a socket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace wendra {

// Calls `feed` with one chunk of `text` after the other. Each byte of `cuts`, again and again from
// the first, gives the size of a chunk: 1 to 64 bytes. Without cuts the text is one chunk.
template <typename Feed>
void FeedInChunks(std::string_view text, std::string_view cuts, Feed feed) {
  if (cuts.empty()) return feed(text);
  for (std::size_t i = 0; !text.empty(); ++i) {
    const auto chunk = text.substr(0, static_cast<std::uint8_t>(cuts[i % cuts.size()]) % 64 + 1u);
    text.remove_prefix(chunk.size());
    feed(chunk);
  }
}

constexpr std::string_view kByteByByte("\0", 1);
constexpr std::string_view kInOneChunk;

}  // namespace wendra
