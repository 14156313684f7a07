// The program's log: keeps all lines of the run, copies them to the debugger, updates the panel.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "app/log_panel_win.h"
#include "base/log.h"

#include <windows.h>

namespace wendra {

// There is no log file and no limit of size: the text stays in memory until the process ends.
class WindowLog : public Log {
 public:
  void Line(std::string_view line) override;
  void LineFromAnyThread(std::string_view line) override;

  // Sets the window that gets kLogLineMessage; null when it is gone. UI thread.
  void SetWindow(HWND window) { window_ = window; }

  // Borrows `panel` until the next call; null: no panel. Earlier lines appear with the next line
  // that is logged. UI thread.
  void SetPanel(LogPanel* panel) { panel_ = panel; }

  // All lines so far, each ended by CR LF. UI thread.
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
  LogPanel* panel_ = nullptr;
  std::atomic<HWND> window_ = nullptr;
};

}  // namespace wendra
