// A window that handles the messages of MCP servers as the main window does.
#pragma once

#include <memory>
#include <string>

#include "app/window_inbox_win.h"
#include "app/window_timers_win.h"
#include "config/config_file_win.h"
#include "mcp/client.h"
#include "mcp/starter_win.h"
#include "tests/support/shared_log.h"
#include "tests/support/test_window_win.h"
#include "win/messages.h"
#include "win/owned_message.h"

#include <windows.h>

namespace wendra {

// The MCP client of a config.json, and the window that gets its servers' messages. The thread that
// makes this object has to dispatch them.
class McpWindow {
 public:
  explicit McpWindow(const std::wstring& configPath)
      : config_(configPath, log_),
        client_(config_, starter_, timers_, log_),
        window_([this](UINT message, WPARAM wparam, LPARAM lparam) {
          OnMessage(message, wparam, lparam);
        }) {}

  void Start() {
    inbox_ = std::make_shared<WindowInbox>(window_.Handle());
    client_.Start(inbox_);
  }
  McpClient& Client() { return client_; }

 private:
  void OnMessage(UINT message, WPARAM wparam, LPARAM lparam) {
    switch (message) {
      case kMcpMessage:
        return client_.OnText(ServerId{wparam}, *TakeOwned<std::string>(lparam));
      case kMcpClosedMessage:
        return client_.OnClosed(ServerId{wparam});
      case kHttpPostedMessage:
        for (const auto& [server, status] : inbox_->TakeStatuses()) {
          client_.OnPosted(server, status);
        }
        return;
      case WM_TIMER:
        return client_.OnTimer(wparam);
      default:
        return;
    }
  }

  SharedLog log_;
  ConfigFile config_;
  SystemServerStarter starter_{log_};
  WindowTimers timers_{[this] { return window_.Handle(); }};
  McpClient client_;
  std::shared_ptr<WindowInbox> inbox_;
  TestWindow window_;
};

}  // namespace wendra
