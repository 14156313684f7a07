#include "mcp/long_text.h"

#include <string>

#include <gtest/gtest.h>

namespace wendra {
namespace {

constexpr size_t kMaxBytes = 8'388'608;
constexpr size_t kChunkBytes = 1000;

std::string TakenAfter(size_t chunks) {
  LongText text(kMaxBytes);
  for (size_t i = 0; i < chunks; ++i) text.Append(std::string(kChunkBytes, 'x'));
  return text.Take();
}

TEST(LongText, JoinsItsChunksInOrder) {
  LongText text(kMaxBytes);
  for (const char* chunk : {"a", "", "bc", "d"}) text.Append(chunk);
  EXPECT_EQ(text.Text(), "abcd");
  EXPECT_EQ(text.Take(), "abcd");
  EXPECT_EQ(text.Text(), "");
  text.Append("e");
  text.Drop();
  EXPECT_EQ(text.Take(), "");
}

TEST(LongText, KeepsItsMemoryOnceItIsLong) {
  LongText text(kMaxBytes);
  text.Append(std::string(300'000, 'x'));
  const char* const place = text.Text().data();
  while (text.Text().size() + kChunkBytes <= kMaxBytes) text.Append(std::string(kChunkBytes, 'y'));
  EXPECT_EQ(text.Text().data(), place);
}

TEST(LongText, HandsOverAtMostAsMuchUnusedMemoryAsUsed) {
  for (const size_t chunks : {1u, 100u, 262u, 263u, 1000u, 4000u, 4195u, 8388u}) {
    const std::string text = TakenAfter(chunks);
    EXPECT_EQ(text.size(), chunks * kChunkBytes);
    EXPECT_LE(text.capacity(), 2 * text.size() + 1) << chunks;
  }
}

}  // namespace
}  // namespace wendra
