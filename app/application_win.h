// Owns the program's subsystems: builds one object for each in order, destroys them in reverse.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "app/main_window_win.h"
#include "app/window_inbox_win.h"
#include "app/window_log_win.h"
#include "app/window_timers_win.h"
#include "bridge/bridge.h"
#include "bridge/pick_directory_win.h"
#include "bridge/replies.h"
#include "config/config_file_win.h"
#include "mcp/client.h"
#include "mcp/starter_win.h"
#include "update/updater_win.h"
#include "webview/page_host_win.h"

#include <windows.h>

namespace wendra {

// UI thread only.
class Application {
 public:
  // `server` is the chosen address. Borrows `log` and `config`.
  Application(HINSTANCE instance, std::string server, WindowLog& log, ConfigFile& config);

  // Shows the window and runs the message loop until the window is gone. Returns the exit code; 1
  // if there is no window.
  int Run();

 private:
  ActionTable MakeActions();
  WindowHandlers MakeWindowHandlers();
  void OnWindowCreated();
  void OnWindowDestroyed();
  void OnTimer(std::uint64_t timer);
  void OnHttpPosted();
  void CreateWebView();
  void CheckForUpdates();
  void OnPageMessage(const PageMessage& message);

  const std::string server_;
  WindowLog& log_;
  ConfigFile& config_;
  PageHost page_;
  Replies replies_;
  FolderPicker folderPicker_;
  SystemServerStarter starter_;
  WindowTimers timers_;
  McpClient mcp_;
  Bridge bridge_;
  std::shared_ptr<WindowInbox> inbox_;  // null before the window's creation
  bool hasWebView_ = false;             // the control has been requested
  MainWindow window_;
  std::optional<Updater> updater_;  // set when the window is shown
};

}  // namespace wendra
