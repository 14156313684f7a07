// Everything the program is made of, one object a subsystem, built in order, destroyed in reverse.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/main_window_win.h"
#include "app/window_log_win.h"
#include "bridge/bridge.h"
#include "bridge/pick_directory_win.h"
#include "bridge/replies.h"
#include "config/config_file_win.h"
#include "mcp/mcp_client_win.h"
#include "update/updater_win.h"
#include "webview/page_host_win.h"

#include <windows.h>

namespace wendra {

// UI thread only.
class Application {
 public:
  // `server` is the chosen address. Borrows `log` and `config`, which served the choice.
  Application(HINSTANCE instance, std::string server, WindowLog& log, ConfigFile& config);

  // Shows the window and runs the message loop until the window is gone: the exit code.
  int Run();

 private:
  ActionTable MakeActions();
  void CheckForUpdates();
  void OnPageMessage(const PageMessage& message);

  const std::string server_;
  WindowLog& log_;
  ConfigFile& config_;
  PageHost page_;
  Replies replies_;
  FolderPicker folderPicker_;
  McpClient mcp_;
  Bridge bridge_;
  MainWindow window_;
  std::optional<Updater> updater_;  // from the window's showing to the end
};

}  // namespace wendra
