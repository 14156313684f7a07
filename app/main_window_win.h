// The one top-level window: its messages, its keys, and what lies in it.
#pragma once

#include <functional>
#include <optional>

#include "app/log_panel_win.h"
#include "app/window_log_win.h"
#include "bridge/pick_directory_win.h"
#include "bridge/replies.h"
#include "mcp/mcp_client_win.h"
#include "webview/page_host_win.h"

#include <windows.h>

namespace wendra {

// UI thread only.
class MainWindow {
 public:
  // Makes the window, still hidden; Handle() is null if that failed. Borrows everything.
  // `checkForUpdates` is what Ctrl+U does.
  MainWindow(HINSTANCE instance, WindowLog& log, McpClient& mcp, PageHost& page, Replies& replies,
             FolderPicker& folderPicker, std::function<void()> checkForUpdates);
  ~MainWindow();
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  HWND Handle() const { return window_; }
  void Show();

  // Gives the page and the log panel their places.
  void LayOut();

  // The keys Ctrl+L, Ctrl+R and Ctrl+U, as the commands that OnCommand takes.
  static AcceleratorTable MakeAccelerators();

 private:
  static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  void OnMessage(UINT message, WPARAM wparam, LPARAM lparam);
  void OnCreate();
  void OnDestroy();
  void OnCreateWebView();
  void OnCommand(WORD command);
  void OnTimer(UINT_PTR timer);
  void OnGetMinMaxInfo(MINMAXINFO& info) const;
  void OnDpiChanged(const RECT& suggested);
  void ToggleLogPanel();

  const HINSTANCE instance_;
  WindowLog& log_;
  McpClient& mcp_;
  PageHost& page_;
  Replies& replies_;
  FolderPicker& folderPicker_;
  const std::function<void()> checkForUpdates_;
  HWND window_ = nullptr;          // from WM_NCCREATE to WM_NCDESTROY
  bool isCreated_ = false;         // the window has been made: its DPI can be asked for
  bool hasWebView_ = false;        // the control has been asked for
  std::optional<LogPanel> panel_;  // from WM_CREATE to WM_DESTROY
};

}  // namespace wendra
