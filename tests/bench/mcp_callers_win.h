// Three ways to call the tool "echo" of one MCP server, one call after the other: the host's
// client, the client of another program, and a bare HTTP exchange without a client.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/bench/mcp_window_win.h"
#include "win/child_process.h"

#include <windows.h>

namespace wendra {

struct EchoCall {
  size_t messageBytes;  // length of the text that is sent
  size_t resultBytes;   // length of the text that comes back
};

// The microseconds of each call.
using Times = std::vector<double>;

class EchoCaller {
 public:
  virtual ~EchoCaller() = default;
  // Makes `count` calls. If a call fails, prints why and ends the program.
  virtual Times Call(const EchoCall& call, int count) = 0;
};

// The host's client, with a window of its own, calls the first server of a config.json. A call
// takes from the connection's request to its response on the UI thread.
class HostCaller : public EchoCaller {
 public:
  explicit HostCaller(const std::wstring& configPath);
  ~HostCaller() override;

  Times Call(const EchoCall& call, int count) override;

  Connection& Server() { return *window_.Client().Servers().at(0); }

 private:
  Json WaitForReply(Json params);

  McpWindow window_;
};

// Another program makes the calls. mcp_sdk_client.mjs describes what it reads and writes.
class OtherCaller : public EchoCaller {
 public:
  OtherCaller(const std::wstring& program, const std::vector<std::wstring>& arguments);

  Times Call(const EchoCall& call, int count) override;

 private:
  std::string ReadLine();
  std::string ReadError();

  Child child_;
  std::string read_;  // bytes after the last line that was taken
};

// Sends the same bytes as the host's client and reads the whole response, with WinHTTP in its
// simplest use: one session and one connection for all calls, and each call blocks.
class BareCaller : public EchoCaller {
 public:
  // Begins a session with the server at `url`.
  explicit BareCaller(const std::string& url);

  Times Call(const EchoCall& call, int count) override;

 private:
  void BeginSession();
  size_t Exchange(const std::string& body);

  struct HttpTraits {
    using Raw = void*;
    static Raw Empty() { return nullptr; }
    static void Close(Raw handle);
  };
  using HttpHandle = Unique<HttpTraits>;

  std::wstring path_;
  std::wstring headers_;
  std::wstring sessionId_;  // "" before BeginSession
  HttpHandle session_;
  HttpHandle connection_;
};

}  // namespace wendra
