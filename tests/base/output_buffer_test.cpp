#include "base/output_buffer.h"

#include <string_view>

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(OutputBuffer, GivesBackWhatWasAppended) {
  for (const size_t size : {0u, 1u, 4095u, (1u << 20) - 1, 1u << 20, (1u << 20) + 1, 3u << 20}) {
    std::string text;
    for (size_t i = 0; i < size; ++i) text += static_cast<char>(i * 31 % 251);
    for (const size_t chunk : {7u, 4096u, 1u << 20, 4u << 20}) {
      OutputBuffer buffer;
      for (size_t at = 0; at < text.size(); at += chunk) {
        buffer.Append(std::string_view(text).substr(at, chunk));
      }
      EXPECT_TRUE(buffer.Take() == text) << size << " bytes, " << chunk << " at a time";
      EXPECT_EQ(buffer.Take(), "");  // the first Take has emptied it
    }
  }
}

TEST(OutputBuffer, CollectsNewOutputAfterTake) {
  OutputBuffer buffer;
  buffer.Append("ab");
  EXPECT_EQ(buffer.Take(), "ab");
  buffer.Append("");
  buffer.Append("c");
  EXPECT_EQ(buffer.Take(), "c");
}

}  // namespace
}  // namespace wendra
