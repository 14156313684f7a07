// Three ways to call the tool "echo" of one MCP server, one call after the other: the host's own
// client, another program's client, and the bare exchange without a client.
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
  size_t messageBytes;  // of the text that is sent
  size_t resultBytes;   // of the text that comes back
};

// Microseconds of each call.
using Times = std::vector<double>;

class EchoCaller {
 public:
  virtual ~EchoCaller() = default;
  // Ends the program with a line of what went wrong when a call fails.
  virtual Times Call(const EchoCall& call, int count) = 0;
};

// The client of config.json's first server, on a window of its own: from the session's request to
// its reply on the UI thread.
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

// A program that makes the calls itself; see mcp_sdk_client.mjs for what it reads and writes.
class OtherCaller : public EchoCaller {
 public:
  OtherCaller(const std::wstring& program, const std::vector<std::wstring>& arguments);

  Times Call(const EchoCall& call, int count) override;

 private:
  std::string ReadLine();
  std::string ReadError();

  Child child_;
  std::string read_;  // beyond the last line
};

// The same bytes as the host's, sent and read to the end with WinHTTP in its simplest use: one
// session and one connection for all, each call waiting in place.
class BareCaller : public EchoCaller {
 public:
  // Makes a session of its own with the server at `url`.
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
