#include <gtest/gtest.h>

#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {
namespace {

using namespace std::string_view_literals;

bool Parses(std::string_view text) {
  Json value;
  return Parse(text, value);
}

// Reads the text and writes it again; "(fails)" if it cannot be read.
std::string Rewritten(std::string_view text) {
  Json value;
  if (!Parse(text, value)) return "(fails)";
  std::string written;
  Serialize(value, written);
  return written;
}

TEST(JsonReader, ReadsWellFormedText) {
  const struct {
    std::string_view text;
    std::string_view written;
  } cases[] = {
      {"null", "null"},
      {"true", "true"},
      {"false", "false"},
      {" {\"a\":1} ", "{\"a\":1}"},
      {"[]", "[]"},
      {"{}", "{}"},
      {"[ ]", "[]"},
      {"{ \t\r\n}", "{}"},
      {" \t\r\n[ \t\r\n1 \t\r\n, \t\r\n2 \t\r\n] \t\r\n", "[1,2]"},
      {" { \"a\" : 1 , \"b\" : 2 } ", "{\"a\":1,\"b\":2}"},
      {"{                                      \"a\":1}", "{\"a\":1}"},
      {"[true ,false]", "[true,false]"},
      {"[null,true,false,0,\"\",[],{}]", "[null,true,false,0,\"\",[],{}]"},
      {"[[[]],[{}],{\"a\":[]}]", "[[[]],[{}],{\"a\":[]}]"},
      {"{\"a\":{\"b\":{\"c\":[1,[2,[3]]]}},\"d\":4}",
       "{\"a\":{\"b\":{\"c\":[1,[2,[3]]]}},\"d\":4}"},
      {"{\"\":1}", "{\"\":1}"},
      {"{\"a\\nb\":1}", "{\"a\\nb\":1}"},
      {"{\"a\":1,\"a\":2}", "{\"a\":1,\"a\":2}"},
      {"{\"b\":1,\"a\":2,\"b\":3}", "{\"b\":1,\"a\":2,\"b\":3}"},
      {"\"\"", "\"\""},
      {"\"abc\"", "\"abc\""},
      {"[\"abc\"]", "[\"abc\"]"},
      {"\"a longer text than fits into a small string\"",
       "\"a longer text than fits into a small string\""},
  };
  for (const auto& c : cases) EXPECT_EQ(Rewritten(c.text), c.written) << c.text;
}

TEST(JsonReader, RefusesTextThatIsNotWellFormed) {
  const std::string_view cases[] = {
      "",
      "\n",
      " \t\r\n",
      "{\"a\":1} x",
      "[] []",
      "1 2",
      "1,",
      ",1",
      ",",
      ":",
      "]",
      "}",
      "x",
      "[",
      "[ ",
      "[1",
      "[1 ",
      "[1,",
      "[1,]",
      "[1,2,]",
      "[,1]",
      "[,]",
      "[1 2]",
      "[1:2]",
      "[1}",
      "{",
      "{ ",
      "{\"a\"",
      "{\"a\" ",
      "{\"a\":",
      "{\"a\": ",
      "{\"a\":1",
      "{\"a\":1 ",
      "{\"a\":1,",
      "{\"a\":1,}",
      "{\"a\":1, ",
      "{,}",
      "{,\"a\":1}",
      "{\"a\"}",
      "{\"a\",1}",
      "{\"a\":}",
      "{\"a\":,}",
      "{\"a\" 1}",
      "{\"a\":1 \"b\":2}",
      "{\"a\":1]",
      "{a:1}",
      "{1:1}",
      "{'a':1}",
      "{null:1}",
      "{\"a\":1,2}",
      "{[]:1}",
      "'a'",
      "// comment\n1",
      "1 // comment",
      "[1]x",
      "[1]]",
      "{}}",
      "\xEF\xBB\xBF{}",  // a byte-order mark is no whitespace
      "\xC2\xA0{}",      // a no-break space is no whitespace either
      "\v[]",
      "\f[]",
      "[\v]",
      "\0"sv,
      "1\0"sv,
      "[]\0"sv,
  };
  for (const auto text : cases) EXPECT_FALSE(Parses(text)) << text;
}

TEST(JsonReader, ReadsTheThreeWordsAndNoOthers) {
  const struct {
    std::string_view text;
    bool reads;
  } cases[] = {
      {"true", true},         {" true ", true},    {"truex", false},    {"true1", false},
      {"tru", false},         {"t", false},        {"tRUE", false},     {"True", false},
      {"false", true},        {"falsey", false},   {"fals", false},     {"f", false},
      {"null", true},         {"nullnull", false}, {"nul", false},      {"n", false},
      {"nil", false},         {"NaN", false},      {"Infinity", false}, {"-Infinity", false},
      {"[truefalse]", false}, {"[true]", true},    {"[truex]", false},  {"[tru]", false},
      {"[true,false]", true}, {"[nul", false},     {"[null", false},
  };
  for (const auto& c : cases) EXPECT_EQ(Parses(c.text), c.reads) << c.text;
}

TEST(JsonReader, SetsTheFieldsOfEachKind) {
  Json value;
  ASSERT_TRUE(Parse("[null,true,false,-1.50,\"x\",[1],{\"k\":2}]", value));
  ASSERT_EQ(value.kind, kJsonArray);
  ASSERT_EQ(value.items.size(), 7u);
  EXPECT_TRUE(value.members.empty());
  EXPECT_EQ(value.items[0].kind, kJsonNull);
  EXPECT_EQ(value.items[1].kind, kJsonBool);
  EXPECT_TRUE(value.items[1].boolean);
  EXPECT_EQ(value.items[2].kind, kJsonBool);
  EXPECT_FALSE(value.items[2].boolean);
  EXPECT_EQ(value.items[3].kind, kJsonNumber);
  EXPECT_EQ(value.items[3].number, -1.5);
  EXPECT_EQ(value.items[3].text, "-1.50");
  EXPECT_EQ(value.items[4].kind, kJsonString);
  EXPECT_EQ(value.items[4].text, "x");
  EXPECT_EQ(value.items[5].kind, kJsonArray);
  EXPECT_EQ(value.items[5].items.size(), 1u);
  EXPECT_EQ(value.items[6].kind, kJsonObject);
  ASSERT_EQ(value.items[6].members.size(), 1u);
  EXPECT_EQ(value.items[6].members[0].first, "k");
  EXPECT_EQ(value.items[6].members[0].second.number, 2);
}

TEST(JsonReader, KeepsDuplicateKeysInOrder) {
  Json value;
  ASSERT_TRUE(Parse("{\"a\":1,\"b\":3,\"a\":2}", value));
  ASSERT_EQ(value.members.size(), 3u);
  EXPECT_EQ(value.members[0].first, "a");
  EXPECT_EQ(value.members[1].first, "b");
  EXPECT_EQ(value.members[2].first, "a");
  ASSERT_NE(value.Find("a"), nullptr);
  EXPECT_EQ(value.Find("a")->number, 1);
  EXPECT_EQ(value.Find("b")->number, 3);
  EXPECT_EQ(value.Find("c"), nullptr);
}

TEST(JsonReader, DecodesEscapes) {
  const struct {
    std::string_view text;
    std::string_view content;
  } cases[] = {
      {R"("\"")", "\""},
      {R"("\/")", "/"},
      {R"("\\")", "\\"},
      {R"("\b\f\n\r\t")", "\b\f\n\r\t"},
      {R"("\u0041")", "A"},
      {R"("\u007f")", "\x7F"},
      {R"("\u0080")", "\xC2\x80"},
      {R"("\u00e9")", "\xC3\xA9"},
      {R"("\u00E9")", "\xC3\xA9"},
      {R"("\u07ff")", "\xDF\xBF"},
      {R"("\u0800")", "\xE0\xA0\x80"},
      {R"("\u2028")", "\xE2\x80\xA8"},
      {R"("\uffff")", "\xEF\xBF\xBF"},
      {R"("\uFfFf")", "\xEF\xBF\xBF"},
      {R"("\uD7FF")", "\xED\x9F\xBF"},
      {R"("\uE000")", "\xEE\x80\x80"},
      {R"("\u0000")", "\0"sv},
      {R"("a\u0000b")", "a\0b"sv},
      {R"("\ud83d\ude00")", "\xF0\x9F\x98\x80"},
      {R"("\uD800\uDC00")", "\xF0\x90\x80\x80"},
      {R"("\uDBFF\uDFFF")", "\xF4\x8F\xBF\xBF"},
      // Lone surrogates are kept.
      {R"("\ud83d")", "\xED\xA0\xBD"},
      {R"("\ude00")", "\xED\xB8\x80"},
      {R"("\ud83dx")", "\xED\xA0\xBDx"},
      {R"("\ud83d\n")", "\xED\xA0\xBD\n"},
      {R"("\ud83d\u0041")",
       "\xED\xA0\xBD"
       "A"},
      {R"("\ud83d\ud83d")", "\xED\xA0\xBD\xED\xA0\xBD"},
      {R"("\ud83d\ud83d\ude00")", "\xED\xA0\xBD\xF0\x9F\x98\x80"},
      {R"("\ude00\ud83d")", "\xED\xB8\x80\xED\xA0\xBD"},
      {R"("\ud83d\uE000")", "\xED\xA0\xBD\xEE\x80\x80"},
      {R"("\\u0041")", "\\u0041"},
      {R"("a\\")", "a\\"},
      {R"("a\\\"b")", "a\\\"b"},
      {R"("before\tbehind, and more than a block of plain text in between\n")",
       "before\tbehind, and more than a block of plain text in between\n"},
  };
  for (const auto& c : cases) {
    Json value;
    ASSERT_TRUE(Parse(c.text, value)) << c.text;
    EXPECT_EQ(value.kind, kJsonString) << c.text;
    EXPECT_EQ(value.text, c.content) << c.text;
    // The same string as an item and as a key.
    ASSERT_TRUE(Parse("[" + std::string(c.text) + "]", value)) << c.text;
    EXPECT_EQ(value.items[0].text, c.content) << c.text;
    ASSERT_TRUE(Parse("{" + std::string(c.text) + ":0}", value)) << c.text;
    EXPECT_EQ(value.members[0].first, c.content) << c.text;
  }
}

TEST(JsonReader, TakesRawBytesAsTheyAre) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) {
    if (byte != '"' && byte != '\\') all += static_cast<char>(byte);
  }
  Json value;
  ASSERT_TRUE(Parse("[\"" + all + "\"]", value));
  EXPECT_EQ(value.items[0].text, all);
}

TEST(JsonReader, RefusesBadEscapes) {
  const std::string_view strings[] = {
      R"("a\x")",          R"("\x")",       R"("\a")",     R"("\0")",        R"("\ ")",
      R"("\'")",           R"("\N")",       R"("\U0041")", R"("\u")",        R"("\u1")",
      R"("\u12")",         R"("\u123")",    R"("\u123g")", R"("\ug123")",    R"("\u 123")",
      R"("\u-123")",       R"("\u+123")",   R"("\u0x12")", R"("\ud83d\u")",  R"("\ud83d\ude0")",
      R"("\ud83d\ude0x")", R"("\ud83d\x")", "\"a\\\n\"",   "\"\\\xC3\xA9\"",
  };
  for (const auto text : strings) {
    EXPECT_FALSE(Parses(text)) << text;
    EXPECT_FALSE(Parses("[" + std::string(text) + "]")) << text;
    EXPECT_FALSE(Parses("{" + std::string(text) + ":1}")) << text;
    EXPECT_FALSE(Parses("{\"k\":" + std::string(text) + "}")) << text;
  }
}

// The reader stops at the backslash of a bad escape. It must not take the byte after it for a
// separator or a bracket.
TEST(JsonReader, NeverTakesTheByteOfABadEscapeForPunctuation) {
  const std::string_view cases[] = {
      R"(["a\,1])",         R"(["a\])",   R"(["a\],1])",      R"({"a":"b\})",
      R"({"a":"b\,"c":1})", R"({"a\:1})", R"({"a\:1,"b":2})", R"([["a\]])",
      R"({"a":["b\]})",     R"(["a\ ])",  R"(["\u12,1])",     R"(["\u,"b"])",
  };
  for (const auto text : cases) EXPECT_FALSE(Parses(text)) << text;
}

TEST(JsonReader, AcceptsAnUnterminatedStringOnlyAsTheWholeText) {
  const struct {
    std::string_view text;
    bool reads;
    std::string_view content;
  } cases[] = {
      {"\"abc", true, "abc"},
      {"\"", true, ""},
      {"  \"abc", true, "abc"},
      {"\"abc  ", true, "abc  "},
      {"\"abc\n", true, "abc\n"},
      {"\"abc\\", true, "abc"},  // a backslash is the last byte of the text
      {"\"\\", true, ""},
      {"\"a\\n", true, "a\n"},
      {"\"a\\n\\", true, "a\n"},
      {"\"a\\\"", true, "a\""},
      {"\"a\\\\", true, "a\\"},
      {"\"\\u0041", true, "A"},
      {"\"\\ud83d", true, "\xED\xA0\xBD"},
      {"\"abc\"x", false, ""},
      {"\"abc\"\"", false, ""},
      {"\"a\\x", false, ""},
      {"\"a\\u", false, ""},
      {"\"a\\u1", false, ""},
      {"\"a\\u12", false, ""},
      {"\"a\\u123", false, ""},
      {"\"\\ud83d\\", true, "\xED\xA0\xBD"},
      {"\"\\ud83d\\u", false, ""},
      {"\"\\ud83d\\ude0", false, ""},
      {"[\"abc", false, ""},
      {"[\"abc\\", false, ""},
      {"[\"abc]", false, ""},
      {"[1,\"abc", false, ""},
      {"{\"a", false, ""},
      {"{\"a\\", false, ""},
      {"{\"a\":\"b", false, ""},
      {"{\"a\":\"b\\", false, ""},
      {"{\"a\":\"b}", false, ""},
  };
  for (const auto& c : cases) {
    Json value;
    ASSERT_EQ(Parse(c.text, value), c.reads) << c.text;
    if (!c.reads) continue;
    EXPECT_EQ(value.kind, kJsonString) << c.text;
    EXPECT_EQ(value.text, c.content) << c.text;
  }
}

// Escapes and the ends of strings are at every offset in a block.
TEST(JsonReader, DecodesTheSameAtEveryOffset) {
  for (std::size_t before = 0; before < 70; ++before) {
    for (std::size_t behind = 0; behind < 40; ++behind) {
      const std::string head(before, 'a');
      const std::string tail(behind, 'z');
      Json value;
      ASSERT_TRUE(Parse("\"" + head + "\\n" + tail + "\\ud83d\\ude00\"", value));
      ASSERT_EQ(value.text, head + "\n" + tail + "\xF0\x9F\x98\x80");
      ASSERT_TRUE(Parse("\"" + head + "\"" + std::string(behind, ' '), value));
      ASSERT_EQ(value.text, head);
      ASSERT_TRUE(Parse("[\"" + head + "\",\"" + tail + "\"]", value));
      ASSERT_EQ(value.items[0].text, head);
      ASSERT_EQ(value.items[1].text, tail);
      ASSERT_TRUE(Parse("\"" + head + "\\t" + tail, value));
      ASSERT_EQ(value.text, head + "\t" + tail);
      ASSERT_FALSE(Parse("\"" + head + "\\n" + tail + "\\x\"", value));
    }
  }
}

TEST(JsonReader, SkipsWhitespaceOfEveryLength) {
  for (std::size_t length = 0; length < 70; ++length) {
    const std::string blanks(length, ' ');
    const std::string mixed = blanks + "\r\n\t" + blanks;
    EXPECT_EQ(
        Rewritten(mixed + "[" + mixed + "1" + mixed + "," + mixed + "2" + mixed + "]" + mixed),
        "[1,2]");
    EXPECT_FALSE(Parses(mixed));
    EXPECT_FALSE(Parses(mixed + "\v1"));
  }
}

TEST(JsonReader, FailsOnEveryPrefixOfADocument) {
  const std::string text =
      R"( {"name" : "x\u00e9\ud83d\ude00\n", "list":[1,-2.5e+3,true,false,null,[],{}], "o":{"k":[""]}})";
  ASSERT_TRUE(Parses(text));
  for (std::size_t length = 0; length < text.size(); ++length) {
    EXPECT_FALSE(Parses(text.substr(0, length))) << length;
  }
}

TEST(JsonReader, ReplacesTheOldContentOfTheValue) {
  Json value;
  ASSERT_TRUE(Parse("{\"a\":[1,2],\"b\":\"text\"}", value));
  ASSERT_TRUE(Parse("[true]", value));
  EXPECT_EQ(value.kind, kJsonArray);
  EXPECT_EQ(value.items.size(), 1u);
  EXPECT_TRUE(value.members.empty());
  ASSERT_TRUE(Parse("null", value));
  EXPECT_EQ(value.kind, kJsonNull);
  EXPECT_TRUE(value.items.empty());
  ASSERT_TRUE(Parse("1", value));
  ASSERT_TRUE(Parse("\"x\"", value));
  EXPECT_EQ(value.number, 0);
  ASSERT_TRUE(Parse("null", value));
  EXPECT_TRUE(value.text.empty());
}

TEST(JsonReader, ReadsTextThatLiesInsideTheValue) {
  const std::string_view inners[] = {"[1,2]", "{\"a\":[\"a text that needs memory of its own\"]}"};
  for (const auto inner : inners) {
    Json value(inner);
    ASSERT_TRUE(Parse(value.text, value));
    std::string written;
    Serialize(value, written);
    EXPECT_EQ(written, inner);

    Json deeper = Json::Object();
    deeper.members.emplace_back("k", Json::Array());
    deeper.members[0].second.items.emplace_back(inner);
    ASSERT_TRUE(Parse(deeper.members[0].second.items[0].text, deeper));
    written.clear();
    Serialize(deeper, written);
    EXPECT_EQ(written, inner);
  }
}

TEST(JsonReader, ReadsIntoAValueAgainAfterAFailure) {
  Json value;
  EXPECT_FALSE(Parse("{\"a\":[1,{\"b\":[2,", value));
  ASSERT_TRUE(Parse("[3]", value));
  EXPECT_EQ(value.items[0].number, 3);
  EXPECT_THROW(Parse("{\"a\":[1,{\"b\":1e999", value), std::out_of_range);
  ASSERT_TRUE(Parse("[4]", value));
  EXPECT_EQ(value.items[0].number, 4);
}

TEST(JsonReader, ReadsStringsOf16MiB) {
  constexpr std::size_t kBytes = std::size_t{16} << 20;
  Json value;
  const std::string plain(kBytes, 'x');
  ASSERT_TRUE(Parse("\"" + plain + "\"", value));
  EXPECT_TRUE(value.text == plain);
  ASSERT_TRUE(Parse("[\"" + plain + "\"]", value));
  EXPECT_TRUE(value.items[0].text == plain);

  std::string escaped, content;
  while (content.size() < kBytes) {
    escaped += R"(line \"quoted\"\n\t\u00e9)";
    content += "line \"quoted\"\n\t\xC3\xA9";
  }
  ASSERT_TRUE(Parse("[\"" + escaped + "\"]", value));
  EXPECT_TRUE(value.items[0].text == content);
}

}  // namespace
}  // namespace wendra
