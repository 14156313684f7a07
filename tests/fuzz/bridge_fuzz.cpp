// Fuzzes the page's messages: for any bytes, the bridge logs one line, and it sends one reply to
// the origin that asked if the message is a request, otherwise none.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "bridge/bridge.h"
#include "tests/support/recording_log.h"
#include "tests/support/recording_page.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wendra;
  constexpr std::string_view kOrigin = "http://localhost:80";
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  RecordingLog log;
  RecordingPage page;
  Replies replies(page);
  Bridge bridge(
      {{"echo", [&](const std::string& id, const Json& args) { replies.Succeed(id, args); }}},
      replies, log);
  try {
    bridge.HandleMessage(kOrigin, text);
  } catch (const std::out_of_range&) {  // a number like 1e400, thrown before any log line or reply
    if (!log.lines.empty() || !page.scripts.empty()) std::abort();
    return 0;
  }
  if (log.lines.size() != 1) std::abort();
  const bool isRequest = log.lines[0].starts_with("[JS->Native] action '");
  if (page.scripts.size() != (isRequest ? 1u : 0u)) std::abort();
  for (const std::string& origin : page.origins) {
    if (origin != kOrigin) std::abort();
  }
  return 0;
}
