// Fuzzes ResponseBody: a body in any chunks gives the same messages as in one chunk, and
// AnswerScanner agrees with the JSON reader on which message is the answer.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "json/json.h"
#include "mcp/http/answer_scanner.h"
#include "mcp/http/response_body.h"
#include "tests/fuzz/cuts.h"

namespace {

using wendra::Json;

constexpr std::string_view kTypes[] = {"application/json", "text/event-stream", ""};
constexpr char kRequestId[] = "1";

struct Extracted {
  std::vector<std::string> messages;
  bool isAnswered = false;
  bool operator==(const Extracted&) const = default;
};

Extracted Extract(std::string_view type, std::string_view text, std::string_view cuts) {
  wendra::ResponseBody body(type, kRequestId);
  Extracted result;
  const auto add = [&](std::vector<std::string> more) {
    result.messages.insert(result.messages.end(), more.begin(), more.end());
  };
  wendra::FeedInChunks(text, cuts, [&](std::string_view chunk) { add(body.Feed(chunk)); });
  add(body.Finish());
  result.isAnswered = body.IsAnswered();
  return result;
}

bool ScansAsAnswer(std::string_view text) {
  wendra::AnswerScanner scanner(kRequestId);
  scanner.Feed(text);
  return scanner.IsAnswer();
}

// Leaves out messages with a backslash: the scanner does not know keys that are written with
// escapes. No server writes them so.
void CheckScanner(const std::string& message) {
  Json value;
  try {
    if (message.find('\\') != message.npos || !wendra::Parse(message, value)) return;
  } catch (const std::out_of_range&) {
    return;
  }
  if (value.kind != wendra::kJsonObject) {
    if (ScansAsAnswer(message)) std::abort();
    return;
  }
  const Json* id = value.Find("id");
  const bool isAnswer = id &&
                        (id->kind == wendra::kJsonString || id->kind == wendra::kJsonNumber) &&
                        id->text == kRequestId && !value.Find("method");
  if (ScansAsAnswer(message) != isAnswer) std::abort();
}

}  // namespace

// The first byte is the content type, the next four are the cuts, the rest is the body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 5) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string_view type = kTypes[data[0] % 3];
  const std::string_view text = input.substr(5);
  const Extracted whole = Extract(type, text, wendra::kInOneChunk);
  for (const std::string_view cuts : {input.substr(1, 4), wendra::kByteByByte}) {
    if (!(Extract(type, text, cuts) == whole)) std::abort();
  }
  for (const std::string& message : whole.messages) CheckScanner(message);
  return 0;
}
