#include "mcp/stdio/line_splitter.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace wendra {
namespace {

using Lines = std::vector<std::string>;

Lines SplitInChunks(std::string_view text, size_t chunkBytes, size_t maxPendingBytes) {
  LineSplitter splitter(maxPendingBytes);
  Lines lines;
  for (size_t at = 0; at < text.size(); at += chunkBytes) {
    for (auto& line : splitter.Feed(text.substr(at, chunkBytes))) lines.push_back(std::move(line));
  }
  if (std::string last = splitter.Finish(); !last.empty()) lines.push_back(std::move(last));
  return lines;
}

TEST(LineSplitter, GivesTheSameLinesForEveryChunkSize) {
  const struct {
    const char* why;
    std::string_view in;
    Lines want;
  } cases[] = {
      {"nothing", "", {}},
      {"one line", "x\n", {"x"}},
      {"two in one write", "{\"a\":1}\n{\"b\":2}\n", {"{\"a\":1}", "{\"b\":2}"}},
      {"empty lines vanish", "\n\nx\n\n\ny\n\n", {"x", "y"}},
      {"CR is kept", "x\r\n\r\n", {"x\r", "\r"}},
      {"last line without LF", "x\ny", {"x", "y"}},
      {"a NUL is a byte like any other", {"a\0b\n", 4}, {std::string("a\0b", 3)}},
      {"bytes that are no UTF-8", "\xFF\xC3\n\x80", {"\xFF\xC3", "\x80"}},
      {"as long as may be", "12345678\n", {"12345678"}},
      {"as long as may be, without LF", "12345678", {"12345678"}},
      {"one byte too long", "123456789\nx\n", {"x"}},
      {"much too long", "1234567890123456789012345\nx\n", {"x"}},
      {"too long at the end", "x\n123456789", {"x"}},
      {"too long twice", "x\n123456789\n123456789\ny", {"x", "y"}},
      {"limits are of one line", "1234567\n1234567\n1234567\n", {"1234567", "1234567", "1234567"}},
  };
  for (const auto& c : cases) {
    for (size_t chunkBytes = 1; chunkBytes <= c.in.size() + 1; ++chunkBytes) {
      EXPECT_EQ(SplitInChunks(c.in, chunkBytes, 8), c.want) << c.why << ", by " << chunkBytes;
    }
  }
}

TEST(LineSplitter, GivesEachLineAsSoonAsItIsWhole) {
  LineSplitter splitter(100);
  EXPECT_EQ(splitter.Feed("ab"), Lines());
  EXPECT_EQ(splitter.Feed("c\nd"), Lines({"abc"}));
  EXPECT_EQ(splitter.Feed("\n"), Lines({"d"}));
  EXPECT_EQ(splitter.Feed(""), Lines());
  EXPECT_EQ(splitter.Finish(), "");
}

TEST(LineSplitter, StartsAgainAfterTheEnd) {
  LineSplitter splitter(3);
  EXPECT_EQ(splitter.Feed("ab"), Lines());
  EXPECT_EQ(splitter.Finish(), "ab");
  EXPECT_EQ(splitter.Feed("abcd"), Lines());
  EXPECT_EQ(splitter.Finish(), "");
  EXPECT_EQ(splitter.Feed("abc\n"), Lines({"abc"}));
}

// Like the reader of a child's output: reads of 4,096 bytes, lines of at most 1 MiB.
TEST(LineSplitter, TakesLinesOfOneMebibyteAndNoMore) {
  constexpr size_t kLimitBytes = 1 << 20;
  const struct {
    size_t bytes;
    bool arrives;
  } cases[] = {
      {kLimitBytes - 1, true},     {kLimitBytes, true},       {kLimitBytes + 1, false},
      {kLimitBytes + 4096, false}, {10 * kLimitBytes, false},
  };
  for (const auto& c : cases) {
    const std::string line(c.bytes, 'x');
    const Lines want = c.arrives ? Lines{line, "after"} : Lines{"after"};
    EXPECT_TRUE(SplitInChunks(line + "\nafter\n", 4096, kLimitBytes) == want) << c.bytes;
  }
}

}  // namespace
}  // namespace wendra
