#include "base/output_buffer.h"

#include <cstring>
#include <string_view>

#include <gtest/gtest.h>

namespace wendra {
namespace {

void Write(OutputBuffer& buffer, std::string_view text) {
  while (!text.empty()) {
    const OutputBuffer::Space space = buffer.Reserve(text.size());
    ASSERT_GE(space.bytes, 1u);
    ASSERT_LE(space.bytes, text.size());
    std::memcpy(space.at, text.data(), space.bytes);
    buffer.Commit(space.bytes);
    text.remove_prefix(space.bytes);
  }
}

TEST(OutputBuffer, GivesBackWhatWasWritten) {
  for (const size_t size : {0u, 1u, 4095u, (1u << 20) - 1, 1u << 20, (1u << 20) + 1, 3u << 20}) {
    std::string text;
    for (size_t i = 0; i < size; ++i) text += static_cast<char>(i * 31 % 251);
    OutputBuffer buffer;
    for (size_t at = 0; at < text.size(); at += 4096) {
      Write(buffer, std::string_view(text).substr(at, 4096));
    }
    EXPECT_EQ(buffer.Take(), text) << size;
    EXPECT_EQ(buffer.Take(), "");  // empty afterwards
  }
}

TEST(OutputBuffer, TakesLessThanWasReserved) {
  OutputBuffer buffer;
  std::memcpy(buffer.Reserve(100).at, "ab", 2);
  buffer.Commit(2);
  (void)buffer.Reserve(100);
  buffer.Commit(0);
  Write(buffer, "c");
  EXPECT_EQ(buffer.Take(), "abc");
}

}  // namespace
}  // namespace wendra
