#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {
namespace {

using namespace std::string_view_literals;

std::string Written(const Json& value) {
  std::string out;
  Serialize(value, out);
  return out;
}

TEST(JsonWriter, WritesEveryKindWithoutWhitespace) {
  Json list = Json::Array();
  list.items = {Json(),    Json(true),    Json(false),   Json(-1),
                Json("x"), Json::Array(), Json::Object()};
  Json object = Json::Object();
  object.members.emplace_back("list", list);
  object.members.emplace_back("", Json(0));
  object.members.emplace_back("list", Json());
  EXPECT_EQ(Written(object), "{\"list\":[null,true,false,-1,\"x\",[],{}],\"\":0,\"list\":null}");
}

TEST(JsonWriter, Appends) {
  std::string out = "before ";
  Serialize(Json("x"), out);
  Serialize(Json(1), out);
  EXPECT_EQ(out, "before \"x\"1");
}

TEST(JsonWriter, WritesNumbersAsTheyAreSpelled) {
  for (const auto text : {"01", "1.50", "-0", "1E+2", "1e2", "1.0", "-12.5e-03"}) {
    Json value;
    ASSERT_TRUE(Parse(text, value));
    EXPECT_EQ(Written(value), text);
  }
  Json made(5);
  made.text = "written verbatim";  // code that sets the field itself is responsible for the text
  EXPECT_EQ(Written(made), "written verbatim");
}

TEST(JsonWriter, EscapesOnlyCharactersThatMustBeEscaped) {
  const struct {
    std::string_view content;
    std::string_view written;
  } cases[] = {
      {"", R"("")"},
      {"abc", R"("abc")"},
      {"\x01\x1F\t\xE2\x80\xA8", R"("\u0001\u001f\t\u2028")"},
      {"\0"sv, R"("\u0000")"},
      {"\b\t\n\f\r\"\\", R"("\b\t\n\f\r\"\\")"},
      {"\v\x0E\x1A\x1B\x7F", "\"\\u000b\\u000e\\u001a\\u001b\x7F\""},
      {"/", R"("/")"},
      {"\xC3\xA9", "\"\xC3\xA9\""},
      {"\xE2\x80\xA8\xE2\x80\xA9", R"("\u2028\u2029")"},
      {"a\xE2\x80\xA9z", R"("a\u2029z")"},
      {"\xE2\x80\xA7\xE2\x80\xAA\xE2\x81\xA8", "\"\xE2\x80\xA7\xE2\x80\xAA\xE2\x81\xA8\""},
      {"\xE2", "\"\xE2\""},
      {"\xE2\x80", "\"\xE2\x80\""},
      {"\xE2\x80\xE2\x80\xA8", "\"\xE2\x80\\u2028\""},
      {"\xE2\xE2\x80\xA8", "\"\xE2\\u2028\""},
      {"\x80\xA8", "\"\x80\xA8\""},
      {"\xE1\x80\xA8", "\"\xE1\x80\xA8\""},
      {"\xFF\xFE\x80\xC0", "\"\xFF\xFE\x80\xC0\""},
      {"\xED\xA0\xBD", "\"\xED\xA0\xBD\""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Written(Json(c.content)), c.written);
    Json object = Json::Object();
    object.members.emplace_back(c.content, Json());
    EXPECT_EQ(Written(object), "{" + std::string(c.written) + ":null}");
  }
}

// The rules written a second time, byte by byte, for comparison.
std::string WrittenByTheBook(std::string_view content) {
  constexpr char kHex[] = "0123456789abcdef";
  std::string out = "\"";
  for (std::size_t i = 0; i < content.size(); ++i) {
    const char c = content[i];
    const std::size_t named = "\b\t\n\f\r\"\\"sv.find(c);
    const std::string_view separator = content.substr(i, 3);
    if (named != std::string_view::npos) {
      out += '\\';
      out += "btnfr\"\\"[named];
    } else if (separator == "\xE2\x80\xA8" || separator == "\xE2\x80\xA9") {
      out += separator[2] == '\xA8' ? "\\u2028" : "\\u2029";
      i += 2;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      out += std::string("\\u00") + kHex[c >> 4] + kHex[c & 0xF];
    } else {
      out += c;
    }
  }
  return out + "\"";
}

TEST(JsonWriter, EscapesTheSameAtEveryOffset) {
  const std::string_view specials[] = {"\n",       "\x01",         "\"",
                                       "\\",       "\xE2\x80\xA8", "\xE2\x80\xA9",
                                       "\xE2\x80", "\xE2",         "\xE2\x80\xE2\x80\xA8",
                                       "\x7F",     "\"\"\"\""};
  for (const auto special : specials) {
    for (std::size_t before = 0; before < 70; ++before) {
      for (std::size_t behind = 0; behind < 40; ++behind) {
        const std::string content =
            std::string(before, 'a') + std::string(special) + std::string(behind, 'z');
        ASSERT_EQ(Written(Json(content)), WrittenByTheBook(content)) << before << " " << behind;
      }
    }
  }
}

TEST(JsonWriter, WritesEveryByteByTheRules) {
  std::string all;
  for (int round = 0; round < 40; ++round) {
    for (int byte = 0; byte < 256; ++byte) all += static_cast<char>((byte * 37 + round) & 0xFF);
  }
  EXPECT_EQ(Written(Json(all)), WrittenByTheBook(all));
}

// The end of a buffer inside the writer falls into parts of the output of many sizes.
TEST(JsonWriter, WritesLongDocumentsCompletely) {
  for (std::size_t length = 0; length < 5'000; length += 7) {
    Json list = Json::Array();
    std::string want = "[";
    for (std::size_t i = 0; i < 3; ++i) {
      const std::string content = std::string(length, 'x') + "\n\x01" + std::string(i, '"');
      list.items.emplace_back(content);
      want += (i ? "," : "") + WrittenByTheBook(content);
    }
    Json number(1);
    number.text = std::string(length + 1, '7');
    list.items.push_back(number);
    want += "," + number.text + "]";
    ASSERT_EQ(Written(list), want);
  }
}

TEST(JsonWriter, WritesManySmallValues) {
  Json list = Json::Array();
  std::string want = "[";
  for (int i = 0; i < 20'000; ++i) {
    Json object = Json::Object();
    object.members.emplace_back("k", Json(i));
    object.members.emplace_back("t", Json(i % 2 == 0));
    list.items.push_back(object);
    want += std::string(i ? "," : "") + "{\"k\":" + std::to_string(i) +
            ",\"t\":" + (i % 2 == 0 ? "true" : "false") + "}";
  }
  EXPECT_EQ(Written(list), want + "]");
}

TEST(JsonWriter, WritesStringsOf16MiB) {
  constexpr std::size_t kBytes = std::size_t{16} << 20;
  const std::string plain(kBytes, 'x');
  EXPECT_TRUE(Written(Json(plain)) == "\"" + plain + "\"");
  const std::string breaks(kBytes, '\n');
  const std::string written = Written(Json(breaks));
  ASSERT_EQ(written.size(), 2 * kBytes + 2);
  for (std::size_t i = 1; i + 1 < written.size(); i += 2) {
    ASSERT_TRUE(written[i] == '\\' && written[i + 1] == 'n') << i;
  }
  const std::string controls(kBytes / 4, '\x01');
  EXPECT_EQ(Written(Json(controls)).size(), kBytes / 4 * 6 + 2);
}

}  // namespace
}  // namespace wendra
