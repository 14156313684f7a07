// The main window: its messages, its keys, the page and the log panel in it.
#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "app/log_panel_win.h"
#include "app/window_log_win.h"

#include <windows.h>

namespace wendra {

// What the window calls when it gets a message or a command.
struct WindowHandlers {
  using OnMessage = std::function<void(WPARAM wparam, LPARAM lparam)>;

  // All handlers of a message run, in this order, before the window handles the message itself. So
  // on WM_CREATE they run before the log panel is made, on WM_DESTROY before it is destroyed. A
  // handler takes and frees the message's payload.
  std::vector<std::pair<UINT, OnMessage>> messages;
  std::function<void(const RECT& bounds)> placePage;  // pixels of the client area
  std::function<void()> reload;                       // Ctrl+R and the system menu
  std::function<void()> checkForUpdates;              // Ctrl+U and the system menu
};

// UI thread only.
class MainWindow {
 public:
  // Makes the hidden window. If that fails, Handle() is null. Borrows `log`.
  MainWindow(HINSTANCE instance, WindowLog& log, WindowHandlers handlers);
  ~MainWindow();
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  HWND Handle() const { return window_; }
  void Show();

  // Places the page and the log panel.
  void LayOut();

  // The keys Ctrl+L, Ctrl+R and Ctrl+U. Empty if the system makes no table.
  static AcceleratorTable MakeAccelerators();

 private:
  static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  void OnMessage(UINT message, WPARAM wparam, LPARAM lparam);
  void OnCreate();
  void OnDestroy();
  void OnCommand(WORD command);
  void OnGetMinMaxInfo(MINMAXINFO& info) const;
  void OnDpiChanged(const RECT& suggested);
  void ToggleLogPanel();

  const HINSTANCE instance_;
  WindowLog& log_;
  const WindowHandlers handlers_;
  HWND window_ = nullptr;          // from WM_NCCREATE to WM_NCDESTROY
  bool isCreated_ = false;         // CreateWindowExW has returned the window
  bool isGoing_ = false;           // from WM_DESTROY on
  std::optional<LogPanel> panel_;  // from WM_CREATE to WM_DESTROY
};

}  // namespace wendra
