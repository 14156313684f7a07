#include "tests/bench/mcp_callers_win.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "json/objects.h"
#include "mcp/json_rpc.h"
#include "mcp/stdio/command_line.h"
#include "win/wide.h"

#include <winhttp.h>

namespace wendra {
namespace {

constexpr double kCallTimeoutSeconds = 120;

using Clock = std::chrono::steady_clock;

double MicrosecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

[[noreturn]] void End(const std::string& what) {
  std::fprintf(stderr, "%s\n", what.c_str());
  std::_Exit(1);
}

// The same text as in mcp_sdk_client.mjs.
std::string EchoText(size_t bytes) {
  const std::string line = "A line of text, with \"quotes\" in it, such as a tool may return.\n";
  std::string text;
  while (text.size() < bytes) text += line;
  text.resize(bytes);
  return text;
}

Json EchoParams(const EchoCall& call) {
  return MakeObject(
      {{"name", "echo"},
       {"arguments", MakeObject({{"message", EchoText(call.messageBytes)},
                                 {"bytes", static_cast<long long>(call.resultBytes)}})}});
}

size_t ResultBytes(const Json& reply) {
  const Json* result = reply.Find("result");
  const Json* content = result ? result->Find("content") : nullptr;
  if (!content || content->items.empty()) return 0;
  const Json* text = content->items[0].Find("text");
  return text ? text->text.size() : 0;
}

}  // namespace

HostCaller::HostCaller(const std::wstring& configPath) : window_(configPath) {
  window_.Start();
  bool isInitialized = false;
  Server().EnsureMcpInitialized([&](const Json* failure) {
    if (failure) End("the server cannot be called: " + ToText(*failure));
    isInitialized = true;
  });
  MSG message;
  while (!isInitialized && GetMessageW(&message, nullptr, 0, 0)) DispatchMessageW(&message);
}

HostCaller::~HostCaller() { window_.Client().Stop(); }

Times HostCaller::Call(const EchoCall& call, int count) {
  const Json params = EchoParams(call);
  Times times;
  for (int i = 0; i < count; ++i) {
    Json copy = params;
    const auto start = Clock::now();
    const Json reply = WaitForReply(std::move(copy));
    times.push_back(MicrosecondsSince(start));
    if (ResultBytes(reply) != call.resultBytes) End("the host got " + ToText(reply));
  }
  return times;
}

Json HostCaller::WaitForReply(Json params) {
  std::optional<Json> result;
  Server().SendMcpRequest("tools/call", std::move(params), kCallTimeoutSeconds,
                          [&](Json reply) { result = std::move(reply); });
  MSG message;
  while (!result && GetMessageW(&message, nullptr, 0, 0)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return std::move(*result);
}

OtherCaller::OtherCaller(const std::wstring& program, const std::vector<std::wstring>& arguments)
    : child_(
          StartChild({.program = program, .commandLine = *ChildCommandLine(program, arguments)})) {
  if (child_.start != ChildStart::kStarted) End("cannot start " + Narrow(program));
  if (ReadLine() != "ready") End("the other client does not become ready: " + ReadError());
}

Times OtherCaller::Call(const EchoCall& call, int count) {
  std::ostringstream line;
  line << count << ' ' << call.messageBytes << ' ' << call.resultBytes << '\n';
  DWORD written = 0;
  (void)WriteFile(child_.input.Get(), line.str().data(), static_cast<DWORD>(line.str().size()),
                  &written, nullptr);
  std::istringstream answer(ReadLine());
  Times times;
  for (double time = 0; answer >> time;) times.push_back(time);
  if (times.size() != static_cast<size_t>(count)) End("the other client failed: " + ReadError());
  return times;
}

std::string OtherCaller::ReadLine() {
  std::array<char, 65536> buffer;
  for (;;) {
    if (const size_t end = read_.find('\n'); end != read_.npos) {
      std::string line = read_.substr(0, end);
      read_.erase(0, end + 1);
      return line;
    }
    DWORD got = 0;
    if (!ReadFile(child_.output.Get(), buffer.data(), buffer.size(), &got, nullptr)) return {};
    read_.append(buffer.data(), got);
  }
}

// The first bytes that the other client has written to standard error.
std::string OtherCaller::ReadError() {
  std::array<char, 4096> buffer;
  DWORD got = 0;
  (void)ReadFile(child_.error.Get(), buffer.data(), buffer.size(), &got, nullptr);
  return {buffer.data(), got};
}

void BareCaller::HttpTraits::Close(Raw handle) { WinHttpCloseHandle(handle); }

BareCaller::BareCaller(const std::string& address) {
  const std::wstring url = Widen(address);
  URL_COMPONENTS parts{};
  parts.dwStructSize = sizeof(parts);
  parts.dwHostNameLength = parts.dwUrlPathLength = static_cast<DWORD>(-1);  // point into the url
  if (!WinHttpCrackUrl(url.c_str(), 0, 0, &parts)) End("not a url: " + address);
  path_.assign(parts.lpszUrlPath, parts.dwUrlPathLength);
  headers_ = L"Content-Type: application/json\r\nAccept: application/json, text/event-stream";
  session_.Reset(WinHttpOpen(L"bare", WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
  const std::wstring host(parts.lpszHostName, parts.dwHostNameLength);
  connection_.Reset(WinHttpConnect(session_.Get(), host.c_str(), parts.nPort, 0));
  BeginSession();
}

void BareCaller::BeginSession() {
  const char version[] = "2025-11-25";
  const Json client = MakeObject({{"name", "bare"}, {"version", "1"}});
  (void)Exchange(ToText(RpcRequest("initialize", "bare",
                                   MakeObject({{"protocolVersion", version},
                                               {"capabilities", Json::Object()},
                                               {"clientInfo", client}}))));
  if (sessionId_.empty()) End("the server gives the bare exchange no session");
  headers_ += Widen(std::string("\r\nMCP-Protocol-Version: ") + version + "\r\nMcp-Session-Id: ") +
              sessionId_;
  (void)Exchange(ToText(RpcNotification("notifications/initialized", Json::Object())));
}

Times BareCaller::Call(const EchoCall& call, int count) {
  const std::string body = ToText(RpcRequest("tools/call", "bare", EchoParams(call)));
  Times times;
  for (int i = 0; i < count; ++i) {
    const auto start = Clock::now();
    const size_t bytes = Exchange(body);
    times.push_back(MicrosecondsSince(start));
    if (bytes <= call.resultBytes) End("the bare exchange has failed");
  }
  return times;
}

// Makes one request. Gives the size of the response's body; 0 after a failure.
size_t BareCaller::Exchange(const std::string& body) {
  const HttpHandle request(
      WinHttpOpenRequest(connection_.Get(), L"POST", path_.c_str(), nullptr, nullptr, nullptr, 0));
  const auto size = static_cast<DWORD>(body.size());
  if (!WinHttpSendRequest(request.Get(), headers_.c_str(), static_cast<DWORD>(-1),
                          const_cast<char*>(body.data()), size, size, 0)) {
    return 0;
  }
  if (!WinHttpReceiveResponse(request.Get(), nullptr)) return 0;
  if (sessionId_.empty()) {
    std::array<wchar_t, 1024> id;
    auto idBytes = static_cast<DWORD>(sizeof(id));
    if (WinHttpQueryHeaders(request.Get(), WINHTTP_QUERY_CUSTOM, L"Mcp-Session-Id", id.data(),
                            &idBytes, WINHTTP_NO_HEADER_INDEX)) {
      sessionId_.assign(id.data(), idBytes / sizeof(wchar_t));
    }
  }
  size_t total = 0;
  std::vector<char> chunk;
  for (DWORD bytes = 0; WinHttpQueryDataAvailable(request.Get(), &bytes) && bytes > 0;) {
    if (chunk.size() < bytes) chunk.resize(bytes);
    if (!WinHttpReadData(request.Get(), chunk.data(), bytes, &bytes)) return 0;
    total += bytes;
  }
  return total;
}

}  // namespace wendra
