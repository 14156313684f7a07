#include "mcp/http/answer_scanner.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace wendra {
namespace {

bool IsAnswer(std::string_view text, size_t chunkBytes, const char* id) {
  AnswerScanner scanner(id);
  for (; !text.empty(); text.remove_prefix(std::min(chunkBytes, text.size()))) {
    scanner.Feed(text.substr(0, chunkBytes));
  }
  return scanner.IsAnswer();
}

TEST(AnswerScanner, GivesTheSameVerdictForEveryChunkSize) {
  const struct {
    const char* why;
    std::string_view text;
    bool want;
  } cases[] = {
      {"the usual", R"({"jsonrpc":"2.0","id":"12","result":{}})", true},
      {"id at the end", R"({"jsonrpc":"2.0","result":{},"id":"12"})", true},
      {"an error", R"({"error":{"code":-1},"id":"12"})", true},
      {"whitespace everywhere", " \r\n{ \"id\" \t: \"12\" , \"result\" : [ ] } \n", true},
      {"a number", R"({"id":12,"result":1})", true},
      {"a number at the end", "{\"result\":1,\"id\" : 12 }", true},
      {"another id", R"({"id":"13","result":{}})", false},
      {"a longer id", R"({"id":"123","result":{}})", false},
      {"a shorter id", R"({"id":"1","result":{}})", false},
      {"a very long id", R"({"id":"12345678901234567890","result":{}})", false},
      {"no id", R"({"result":{}})", false},
      {"null", R"({"id":null,"result":{}})", false},
      {"an object", R"({"id":{"id":"12"}})", false},
      {"an array", R"({"id":["12"]})", false},
      {"the first id counts", R"({"id":"1","id":"12"})", false},
      {"the second does not", R"({"id":"12","id":"1"})", true},
      {"id within the result", R"({"result":{"id":"12"}})", false},
      {"id within a text", R"({"result":"\"id\":\"12\""})", false},
      {"brackets within a text", R"({"id":"12","result":"}{]["})", true},
      {"quotes within a text", R"({"result":"a\"}","id":"12"})", true},
      {"backslashes at its end", R"({"result":"a\\","id":"12"})", true},
      {"escaped backslash and quote", R"({"result":"\\\"","id":"12"})", true},
      {"a key that ends like it", R"({"xid":"12"})", false},
      {"a value like the key", R"({"a":"id","b":"12"})", false},
      {"a request", R"({"id":"12","method":"ping"})", false},
      {"a request, the other way round", R"({"method":"ping","id":"12"})", false},
      {"a method within", R"({"id":"12","result":{"method":1}})", true},
      {"not whole", R"({"id":"12","result":{})", false},
      {"ends within a text", R"({"id":"12","result":"})", false},
      {"two values", R"({"id":"12"}{"id":"12"})", false},
      {"something behind", R"({"id":"12"} x)", false},
      {"something before", R"(x {"id":"12"})", false},
      {"a list of answers", R"([{"id":"12"}])", false},
      {"a text", R"("{\"id\":\"12\"}")", false},
      {"nothing", "", false},
      {"an empty object", "{}", false},
  };
  for (const auto& c : cases) {
    for (size_t chunkBytes = 1; chunkBytes <= c.text.size() + 1; ++chunkBytes) {
      EXPECT_EQ(IsAnswer(c.text, chunkBytes, "12"), c.want) << c.why << ", " << chunkBytes;
    }
  }
}

TEST(AnswerScanner, FindsTheAnswerAsSoonAsTheObjectHasEnded) {
  const std::string_view text = R"({"id":"12","result":{"a":[1,"}"]}})";
  AnswerScanner scanner("12");
  for (size_t at = 0; at < text.size(); ++at) {
    EXPECT_FALSE(scanner.IsAnswer()) << at;
    scanner.Feed(text.substr(at, 1));
  }
  EXPECT_TRUE(scanner.IsAnswer());
}

TEST(AnswerScanner, FindsNoAnswerWithoutARequestId) {
  for (const char* text : {R"({"id":"","result":1})", R"({"result":1})", R"({"id":"1"})"}) {
    EXPECT_FALSE(IsAnswer(text, 99, "")) << text;
  }
}

}  // namespace
}  // namespace wendra
