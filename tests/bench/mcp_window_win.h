// The main window as far as MCP servers know it.
#pragma once

#include <string>

#include "mcp/mcp_client_win.h"
#include "tests/support/recording_log.h"
#include "tests/support/test_window_win.h"
#include "win/messages.h"
#include "win/owned_message.h"

#include <windows.h>

namespace wendra {

// The client of a config.json and the window to which its servers' messages go, on the thread that
// made it and that has to dispatch them.
class McpWindow {
 public:
  explicit McpWindow(const std::wstring& configPath)
      : config_(configPath, log_),
        client_(config_, log_),
        window_([this](UINT message, WPARAM wparam, LPARAM lparam) {
          OnMessage(message, wparam, lparam);
        }) {}

  void Start() { client_.Start(window_.Handle()); }
  McpClient& Client() { return client_; }

 private:
  void OnMessage(UINT message, WPARAM wparam, LPARAM lparam) {
    auto& server = *reinterpret_cast<McpServer*>(wparam);  // only where the message says so
    switch (message) {
      case kMcpMessage:
        return client_.OnMessage(server, TakeOwned<std::string>(lparam));
      case kMcpClosedMessage:
        return client_.OnClosed(server);
      case kHttpPostedMessage:
        return client_.OnHttpPosted();
      case WM_TIMER:
        return client_.OnTimer(wparam);
      default:
        return;
    }
  }

  RecordingLog log_;
  ConfigFile config_;
  McpClient client_;
  TestWindow window_;
};

}  // namespace wendra
