#include "bridge/bridge.h"

#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/recording_log.h"
#include "tests/support/recording_page.h"

namespace wendra {
namespace {

using Lines = std::vector<std::string>;
constexpr std::string_view kOrigin = "http://localhost:80";

// A bridge with two actions "echo": the first replies with its arguments, the second never runs.
class BridgeTest : public testing::Test {
 protected:
  ActionTable Actions() {
    return {
        {"echo", [this](const std::string& id, const Json& args) { replies_.Succeed(id, args); }},
        {"echo", [this](const std::string& id, const Json&) { replies_.Fail(id, "second"); }}};
  }
  static std::string Script(const std::string& call) {
    return "window.__wendra && window.__wendra.__resolve ? window.__wendra.__resolve(" + call +
           ") : 0;";
  }

  RecordingLog log_;
  RecordingPage page_;
  Replies replies_{page_};
  Bridge bridge_{Actions(), replies_, log_};
};

TEST_F(BridgeTest, LogsAndNeverAnswersAMessageThatIsNoRequest) {
  const std::string noObject = "[JS->Native] non-object message";
  const std::string noId = "[JS->Native] message without __reqId";
  const struct {
    std::string_view message;
    const std::string& line;
  } cases[] = {
      {"", noObject},
      {"[1,2]", noObject},
      {"5", noObject},
      {"null", noObject},
      {"true", noObject},
      {"{", noObject},
      {"{} x", noObject},
      {"\"{\\\"__reqId\\\":\\\"a\\\",\\\"name\\\":\\\"echo\\\"}\"", noObject},  // a JSON string
      {"{}", noId},
      {"{\"name\":\"echo\"}", noId},
      {"{\"__reqId\":7,\"name\":\"echo\"}", noId},
      {"{\"__reqId\":null,\"name\":\"echo\"}", noId},
      {"{\"__reqid\":\"a\",\"name\":\"echo\"}", noId},
      {"{\"__reqId\":7,\"__reqId\":\"a\",\"name\":\"echo\"}", noId},  // the first member counts
  };
  for (const auto& c : cases) {
    log_.lines.clear();
    bridge_.HandleMessage(kOrigin, c.message);
    EXPECT_EQ(log_.lines, Lines{c.line}) << c.message;
  }
  EXPECT_TRUE(page_.scripts.empty());
}

TEST_F(BridgeTest, LogsAndAnswersEveryRequestOnce) {
  const struct {
    std::string_view message;
    std::string line, call;
  } cases[] = {
      {"{\"__reqId\":\"r1\",\"name\":\"nope\",\"args\":[]}", "[JS->Native] action 'nope' (req r1)",
       "'r1', 0, \"unknown native action 'nope'\""},
      {"{\"__reqId\":\"r2\"}", "[JS->Native] action '' (req r2)",
       "'r2', 0, \"unknown native action ''\""},
      {"{\"__reqId\":\"r3\",\"name\":5}", "[JS->Native] action '' (req r3)",
       "'r3', 0, \"unknown native action ''\""},
      {"{\"__reqId\":\"r4\",\"name\":\"Echo\"}", "[JS->Native] action 'Echo' (req r4)",
       "'r4', 0, \"unknown native action 'Echo'\""},
      {" {\"args\":[1.50,\"x\"],\"name\":\"echo\",\"__reqId\":\"r5\"} ",
       "[JS->Native] action 'echo' (req r5)", "'r5', 1, [1.50,\"x\"]"},
      {"{\"__reqId\":\"\",\"name\":\"echo\"}", "[JS->Native] action 'echo' (req )", "'', 1, null"},
      {"{\"__reqId\":\"a\",\"__reqId\":\"b\",\"name\":\"echo\",\"name\":\"x\",\"args\":1,\"args\":"
       "2}",
       "[JS->Native] action 'echo' (req a)", "'a', 1, 1"},
      {"{\"__reqId\":\"ü\\\\\",\"name\":\"echo\",\"args\":\"\\u2028\"}",
       "[JS->Native] action 'echo' (req ü\\)", "'ü\\', 1, \"\\u2028\""},
      {"{\"__reqId\":\"q\",\"name\":\"a'b\"}", "[JS->Native] action 'a'b' (req q)",
       "'q', 0, \"unknown native action 'a'b'\""},
  };
  for (const auto& c : cases) {
    log_.lines.clear();
    page_.scripts.clear();
    bridge_.HandleMessage(kOrigin, c.message);
    EXPECT_EQ(log_.lines, Lines{c.line}) << c.message;
    EXPECT_EQ(page_.scripts, Lines{Script(c.call)}) << c.message;
  }
}

// Pages of several origins use the same id for their requests, and the replies come in another
// order.
TEST_F(BridgeTest, AnswersTheOriginThatAsked) {
  std::vector<std::string> asked;
  Bridge bridge({{"later", [&](const std::string& id, const Json&) { asked.push_back(id); }}},
                replies_, log_);
  for (const char* origin : {"http://a:80", "http://b:80", ""}) {
    bridge.HandleMessage(origin, R"({"__reqId":"r1","name":"later"})");
  }
  bridge.HandleMessage("http://c:80", R"({"__reqId":"r1","name":"nope"})");
  ASSERT_EQ(asked.size(), 3u);
  replies_.Succeed(asked[1], Json(1));
  replies_.Fail(asked[0], "no");
  replies_.Succeed(asked[2], Json(2));
  EXPECT_EQ(page_.origins, (Lines{"http://c:80", "http://b:80", "http://a:80", ""}));
  EXPECT_EQ(page_.scripts,
            (Lines{Script("'r1', 0, \"unknown native action 'nope'\""), Script("'r1', 1, 1"),
                   Script("'r1', 0, \"no\""), Script("'r1', 1, 2")}));
}

TEST_F(BridgeTest, ThrowsForANumberOutOfRange) {
  for (const char* message : {"{\"__reqId\":\"a\",\"name\":\"echo\",\"args\":[1e400]}",
                              "{\"x\":1e400}", "[1e400]", "1e400"}) {
    EXPECT_THROW(bridge_.HandleMessage(kOrigin, message), std::out_of_range) << message;
  }
  EXPECT_TRUE(log_.lines.empty());
  EXPECT_TRUE(page_.scripts.empty());
}

TEST_F(BridgeTest, HandlesAMessageOfOneMebibyte) {
  const std::string content(1 << 20, 'x');
  bridge_.HandleMessage(kOrigin,
                        "{\"__reqId\":\"a\",\"name\":\"echo\",\"args\":\"" + content + "\"}");
  EXPECT_EQ(page_.scripts, Lines{Script("'a', 1, \"" + content + "\"")});
}

}  // namespace
}  // namespace wendra
