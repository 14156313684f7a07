// Measures how long it takes to cut the messages out of an 8 MiB body that arrives in chunks of the
// size of a network packet, without the time to put the chunks together. The target is at most 50
// ms of processor time.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>

#include "mcp/http/response_body.h"

namespace wendra {
namespace {

constexpr size_t kChunkBytes = 1'460;
constexpr double kMsPerSecond = 1000;

// A response of the largest size that is read, with many short strings.
std::string Answer(std::string_view before, std::string_view after) {
  std::string text(before);
  text += R"({"jsonrpc":"2.0","result":{"records":[)";
  const std::string record = R"({"id":"7","name":"a","tags":["b","c\"d"]},)";
  const std::string_view end = R"("end"]},"id":"1"})";
  while (text.size() + record.size() + end.size() + after.size() <= ResponseBody::kMaxBytes) {
    text += record;
  }
  return text.append(end).append(after);
}

void ForEachChunk(std::string_view body, const std::function<void(std::string_view)>& use) {
  for (size_t at = 0; at < body.size(); at += kChunkBytes) use(body.substr(at, kChunkBytes));
}

double BestMs(int rounds, const std::function<void()>& work) {
  double best = 1e300;
  for (int i = 0; i < rounds; ++i) {
    const std::clock_t start = std::clock();  // processor time of this program only
    work();
    best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
  }
  return best * kMsPerSecond;
}

}  // namespace

int Main(bool isOnce) {
  const int rounds = isOnce ? 1 : 15;
  const struct {
    const char* name;
    const char* type;
    std::string body;
  } cases[] = {
      {"JSON", "application/json", Answer("", "")},
      {"event stream", "text/event-stream", Answer("event: message\ndata: ", "\n\n")},
      {"event stream, not said so", "", Answer("event: message\ndata: ", "\n\n")},
  };
  for (const auto& c : cases) {
    size_t readBytes = 0;
    const double bareMs = BestMs(rounds, [&] {
      std::string read;
      ForEachChunk(c.body, [&](std::string_view chunk) { read += chunk; });
      readBytes = read.size();
    });
    size_t messages = 0;
    bool isAnswered = false;
    const double ourMs = BestMs(rounds, [&] {
      ResponseBody body(c.type, "1");
      messages = 0;
      ForEachChunk(c.body, [&](std::string_view chunk) { messages += body.Feed(chunk).size(); });
      messages += body.Finish().size();
      isAnswered = body.IsAnswered();
    });
    if (readBytes != c.body.size() || messages != 1 || !isAnswered) return 1;
    std::printf("%-26s %zu bytes: %6.2f ms beyond %5.2f ms of reading (reach: 50)\n", c.name,
                c.body.size(), ourMs - bareMs, bareMs);
  }
  return 0;
}

}  // namespace wendra

int main(int argc, char** argv) {
  return wendra::Main(argc > 1 && std::strcmp(argv[1], "--once") == 0);
}
