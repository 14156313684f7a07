// Measures calls of one MCP server: by the host's client, by the client of the official SDK and,
// for a remote server, by a bare HTTP exchange. They take turns. Started by mcp_bench.mjs.
//
//   mcp_latency CALLS CONFIG MESSAGE:RESULT[,MESSAGE:RESULT...] PROGRAM [ARGUMENT...]
//
// CONFIG: a config.json with the server. MESSAGE, RESULT: the bytes of the text that is sent and of
// the text that comes back; MESSAGE 0 means as many as RESULT. PROGRAM with its arguments: the
// SDK's client.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "tests/bench/mcp_callers_win.h"

namespace wendra {
namespace {

constexpr int kBlocks = 10;
constexpr int kWarmUpCalls = 30;

struct Percentiles {
  double p50;
  double p99;
};

Percentiles PercentilesOf(Times times) {
  std::sort(times.begin(), times.end());
  return {times[times.size() / 2], times[times.size() * 99 / 100]};
}

struct Measured {
  const char* name;
  EchoCaller& caller;
  Times times = {};
};

// The callers take turns, in blocks of calls, so that other work of the machine disturbs all.
void Measure(std::vector<Measured>& all, const EchoCall& call, int calls) {
  for (Measured& one : all) (void)one.caller.Call(call, std::min(kWarmUpCalls, calls));
  for (int block = 0; block < kBlocks; ++block) {
    for (Measured& one : all) {
      const Times times = one.caller.Call(call, std::max(1, calls / kBlocks));
      one.times.insert(one.times.end(), times.begin(), times.end());
    }
  }
}

void Show(const std::vector<Measured>& all, const EchoCall& call) {
  std::printf("%zu bytes there, %zu back, %zu calls each\n", call.messageBytes, call.resultBytes,
              all[0].times.size());
  const Percentiles host = PercentilesOf(all[0].times);
  for (const Measured& one : all) {
    const auto [p50, p99] = PercentilesOf(one.times);
    std::printf("  %-6s p50 %9.0f us   p99 %9.0f us", one.name, p50, p99);
    if (&one != &all[0])
      std::printf("   host / %s %.2f, %.2f", one.name, host.p50 / p50, host.p99 / p99);
    std::printf("\n");
  }
  std::fflush(stdout);
}

std::vector<EchoCall> ReadCalls(const wchar_t* text) {
  std::vector<EchoCall> calls;
  wchar_t* at = const_cast<wchar_t*>(text);
  while (*at) {
    EchoCall call{};
    call.messageBytes = std::wcstoul(at, &at, 10);
    call.resultBytes = *at == L':' ? std::wcstoul(at + 1, &at, 10) : 0;
    if (call.messageBytes == 0) call.messageBytes = call.resultBytes;
    calls.push_back(call);
    if (*at) ++at;
  }
  return calls;
}

}  // namespace

int Main(int argc, wchar_t** argv) {
  if (argc < 5) return 2;
  const int calls = static_cast<int>(std::wcstol(argv[1], nullptr, 10));
  HostCaller host(argv[2]);
  OtherCaller sdk(argv[4], {argv + 5, argv + argc});
  std::unique_ptr<BareCaller> bare;
  const ServerSettings& settings = host.Server().Settings();
  if (settings.kind == TransportKind::kHttp) bare = std::make_unique<BareCaller>(settings.url);
  for (const EchoCall& call : ReadCalls(argv[3])) {
    std::vector<Measured> all = {{"host", host}, {"SDK", sdk}};
    if (bare) all.push_back({"bare", *bare});
    Measure(all, call, calls);
    Show(all, call);
  }
  return 0;
}

}  // namespace wendra

int wmain(int argc, wchar_t** argv) { return wendra::Main(argc, argv); }
