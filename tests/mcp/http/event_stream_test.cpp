#include "mcp/http/event_stream.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace wendra {
namespace {

using Fields = std::vector<std::string>;

void Append(const std::vector<EventField>& fields, Fields& all) {
  for (const EventField& field : fields) {
    all.push_back((field.kind == EventField::Kind::kEventId ? "id " : "") + field.text);
  }
}

Fields Read(std::string_view text, size_t chunkBytes, size_t maxLineBytes = 100) {
  EventStream stream(maxLineBytes);
  Fields fields;
  for (; !text.empty(); text.remove_prefix(std::min(chunkBytes, text.size()))) {
    Append(stream.Feed(text.substr(0, chunkBytes)), fields);
  }
  Append(stream.Finish(), fields);
  return fields;
}

TEST(EventStream, GivesTheSameFieldsForEveryChunkSize) {
  const struct {
    const char* why;
    std::string_view text;
    Fields want;
  } cases[] = {
      {"nothing", "", {}},
      {"one event", "event: message\ndata: {}\n\n", {"{}"}},
      {"no space after the colon", "data:{}\n", {"{}"}},
      {"spaces and tabs around", "data: \t {}\t \n", {"{}"}},
      {"CR LF", "id: 7\r\ndata: {}\r\n\r\n", {"id 7", "{}"}},
      {"each line is a message", "data: {\"a\":\ndata: 1}\n\n", {"{\"a\":", "1}"}},
      {"last line without an end", "data: a\ndata: b", {"a", "b"}},
      {"last line ends in CR", "data: a\r", {"a"}},
      {"CR alone ends no line", "data: a\rdata: b\n", {"a\rdata: b"}},
      {"empty data", "data:\ndata: \t\r\ndata\n", {}},
      {"empty id", "id:\nid: 1\nid:  \n", {"id ", "id 1", "id "}},
      {"id with empty data", "id: 5\ndata:\n\n", {"id 5"}},
      {"what means nothing", ": data: x\nretry: 5\nevent: data:\n data: x\nDATA: x\nids: 1\n", {}},
      {"bytes are kept", "data: gr\xC3\xBCn \xFF\n", {"gr\xC3\xBCn \xFF"}},
  };
  for (const auto& c : cases) {
    for (size_t chunkBytes = 1; chunkBytes <= c.text.size() + 1; ++chunkBytes) {
      EXPECT_EQ(Read(c.text, chunkBytes), c.want) << c.why << ", " << chunkBytes;
    }
  }
}

TEST(EventStream, DropsALineThatIsTooLong) {
  const std::string longest = "data:" + std::string(95, 'x');
  for (size_t chunkBytes = 1; chunkBytes <= longest.size(); ++chunkBytes) {
    EXPECT_EQ(Read(longest + "\n" + longest + "x\ndata: y\n", chunkBytes),
              (Fields{std::string(95, 'x'), "y"}));
  }
}

TEST(EventStream, GivesAMessageAsSoonAsItsLineIsWhole) {
  EventStream stream(100);
  EXPECT_TRUE(stream.Feed("data: a").empty());
  EXPECT_EQ(stream.Feed("\nda").size(), 1u);
  EXPECT_TRUE(stream.Feed("ta: b\r").empty());
  EXPECT_EQ(stream.Feed("\n").size(), 1u);
}

}  // namespace
}  // namespace wendra
