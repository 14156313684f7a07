#include "mcp/stdio/error_text.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(ErrorText, IsWholeOrNothing) {
  const struct {
    size_t bytes, chunkBytes;
    bool isShown;
  } cases[] = {
      {0, 1, false},           {1, 1, true},
      {65'535, 2048, true},    {65'536, 2048, false},
      {65'537, 2048, false},   {70'000, 2048, false},
      {65'535, 65'535, true},  {70'000, 70'000, false},
      {10 << 20, 2048, false},
  };
  for (const auto& c : cases) {
    const std::string all(c.bytes, 'e');
    ErrorText text;
    for (size_t at = 0; at < all.size(); at += c.chunkBytes) {
      text.Add(std::string_view(all).substr(at, c.chunkBytes));
    }
    EXPECT_EQ(text.Take(), c.isShown ? all : "") << c.bytes;
  }
}

}  // namespace
}  // namespace wendra
