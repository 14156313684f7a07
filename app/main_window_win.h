// The one top-level window: its messages, its keys, and what lies in it.
#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "app/log_panel_win.h"
#include "app/window_log_win.h"

#include <windows.h>

namespace wendra {

// What the owners of the program's features do when something happens to the window.
struct WindowHandlers {
  using OnMessage = std::function<void(WPARAM wparam, LPARAM lparam)>;

  // All handlers of a message run, in this order; those of WM_CREATE and WM_DESTROY before the
  // window creates and destroys what lies in it. The owner of a message's payload frees it.
  std::vector<std::pair<UINT, OnMessage>> messages;
  std::function<void(const RECT& bounds)> placePage;  // in client coordinates, pixels
  std::function<void()> reload;                       // Ctrl+R
  std::function<void()> checkForUpdates;              // Ctrl+U
};

// UI thread only.
class MainWindow {
 public:
  // Makes the window, still hidden; Handle() is null if that failed. Borrows `log`.
  MainWindow(HINSTANCE instance, WindowLog& log, WindowHandlers handlers);
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
  void OnCommand(WORD command);
  void OnGetMinMaxInfo(MINMAXINFO& info) const;
  void OnDpiChanged(const RECT& suggested);
  void ToggleLogPanel();

  const HINSTANCE instance_;
  WindowLog& log_;
  const WindowHandlers handlers_;
  HWND window_ = nullptr;          // from WM_NCCREATE to WM_NCDESTROY
  bool isCreated_ = false;         // the window has been made: its DPI can be asked for
  std::optional<LogPanel> panel_;  // from WM_CREATE to WM_DESTROY
};

}  // namespace wendra
