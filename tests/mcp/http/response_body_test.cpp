#include "mcp/http/response_body.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace wendra {
namespace {

using Messages = std::vector<std::string>;

constexpr char kJsonType[] = "application/json";
constexpr char kStreamType[] = "text/event-stream";

struct Extracted {
  Messages messages;
  bool isAnswered;
};

Extracted Extract(std::string_view type, std::string_view text, size_t chunkBytes) {
  ResponseBody body(type, "1");
  Messages messages;
  const auto add = [&](Messages more) {
    messages.insert(messages.end(), more.begin(), more.end());
  };
  for (; !text.empty(); text.remove_prefix(std::min(chunkBytes, text.size()))) {
    add(body.Feed(text.substr(0, chunkBytes)));
  }
  add(body.Finish());
  return {messages, body.IsAnswered()};
}

TEST(ResponseBody, GivesTheSameMessagesForEveryChunkSize) {
  const struct {
    const char* why;
    const char* type;
    std::string_view text;
    Messages want;
    bool isAnswered;
  } cases[] = {
      {"JSON", kJsonType, R"({"id":"1"})", {R"({"id":"1"})"}, true},
      {"JSON over several lines", kJsonType, "{\n\"id\": 1\r\n}\n", {"{\n\"id\": 1\r\n}\n"}, true},
      {"JSON of no type", "", R"({"id":"2"})", {R"({"id":"2"})"}, false},
      {"JSON cut short", kJsonType, R"({"id":"1")", {R"({"id":"1")"}, false},
      {"anything else", "text/html", "<html>\n", {"<html>\n"}, false},
      {"empty", kJsonType, "", {}, false},
      {"whitespace", kJsonType, " \r\n", {}, false},
      {"empty stream", kStreamType, "", {}, false},
      {"stream", kStreamType, "event: message\ndata: {\"id\":\"1\"}\n\n", {"{\"id\":\"1\"}"}, true},
      {"stream by its lines",
       kJsonType,
       "id: 3\ndata: {\"id\":\"1\"}\n\n",
       {"{\"id\":\"1\"}"},
       true},
      {"stream by its last line", "", ": hello\r\ndata: {\"id\":\"1\"}", {"{\"id\":\"1\"}"}, true},
      {"stream with nothing in it", "", "data:\n{\"id\":\"1\"}\n", {}, false},
      {"two messages", kStreamType, "data: a\ndata: b\n", {"a", "b"}, false},
      {"message before the answer",
       kStreamType,
       "data: {\"id\":1,\"method\":\"m\"}\ndata: {\"id\":1}\n",
       {"{\"id\":1,\"method\":\"m\"}", "{\"id\":1}"},
       true},
      {"each answer twice",
       kStreamType,
       "data: {\"id\":1}\ndata: {\"id\":1}\n",
       {"{\"id\":1}", "{\"id\":1}"},
       true},
      {"JSON said to be a stream", kStreamType, R"({"id":"1"})", {}, false},
      {"type with a parameter", "Text/Event-Stream ; charset=utf-8", "x\ndata:{}\n", {"{}"}, false},
      {"another type", "text/event-streams", R"({"id":"1"})", {R"({"id":"1"})"}, true},
      {"JSON before a stream", kJsonType, "{\"id\":\"1\"}\ndata: x\n", {"x"}, false},
      {"data: within a line", kJsonType, R"({"a":"data: x"})", {R"({"a":"data: x"})"}, false},
  };
  for (const auto& c : cases) {
    for (size_t chunkBytes = 1; chunkBytes <= c.text.size() + 1; ++chunkBytes) {
      const Extracted got = Extract(c.type, c.text, chunkBytes);
      EXPECT_EQ(got.messages, c.want) << c.why << ", " << chunkBytes;
      EXPECT_EQ(got.isAnswered, c.isAnswered) << c.why << ", " << chunkBytes;
    }
  }
}

// IsAnswered is true after the last byte of the answer and not one byte earlier.
TEST(ResponseBody, IsAnsweredOnceTheAnswerIsWhole) {
  const std::string large = R"({"id":"1","result":")" + std::string(24'000, 'x') + "\"}";
  const struct {
    const char* why;
    const char* type;
    std::string before;  // up to the byte that completes the answer
  } cases[] = {
      {"id first, a long answer", kJsonType, large},
      {"the same in a stream", kStreamType, "data: " + large + "\n"},
      {"a stream that is found out", "", "event: message\ndata: " + large + "\n"},
      {"CR LF", kStreamType, "data: {\"id\":\"1\"}\r\n"},
      {"the answer holds its own text", kJsonType,
       R"({"result":{"id":"1","text":"\"id\":\"1\""},"id":"1"})"},
      {"a message before holds it", kStreamType,
       "data: {\"method\":\"m\",\"params\":{\"id\":\"1\"}}\ndata: {\"id\": \"1\"}\n"},
  };
  for (const auto& c : cases) {
    ResponseBody body(c.type, "1");
    for (const char& byte : c.before) {
      EXPECT_FALSE(body.IsAnswered()) << c.why;
      (void)body.Feed({&byte, 1});
    }
    EXPECT_TRUE(body.IsAnswered()) << c.why;
  }
}

TEST(ResponseBody, HandsOverEachMessageOfAStreamWhenItsLineIsWhole) {
  ResponseBody body(kStreamType, "1");
  EXPECT_EQ(body.Feed("data: {\"id\":0,\"method\":\"ping\"}"), Messages());
  EXPECT_EQ(body.Feed("\n\ndata: {\"id\""), Messages{"{\"id\":0,\"method\":\"ping\"}"});
  EXPECT_FALSE(body.IsAnswered());
  EXPECT_EQ(body.Feed(":\"1\"}\ndata: cut"), Messages{"{\"id\":\"1\"}"});
  EXPECT_TRUE(body.IsAnswered());
  EXPECT_EQ(body.Finish(), Messages{"cut"});
}

TEST(ResponseBody, HasRoomForEightMebibytes) {
  for (const char* type : {kJsonType, kStreamType}) {
    ResponseBody body(type, "1");
    EXPECT_EQ(body.Room(), 8'388'608u);
    (void)body.Feed("data: ");
    (void)body.Feed(std::string(8'388'601, 'x'));
    EXPECT_EQ(body.Room(), 1u);
    (void)body.Feed("x");
    EXPECT_EQ(body.Room(), 0u);
    EXPECT_EQ(body.Finish(), Messages{std::string(8'388'602, 'x')});
  }
}

}  // namespace
}  // namespace wendra
