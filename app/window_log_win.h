// The program's log: one text for the whole run, the debugger output, and the panel.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "app/log_panel_win.h"
#include "base/log.h"

#include <windows.h>

namespace wendra {

// There is no file and no limit: the text lives as long as the process.
class WindowLog : public Log {
 public:
  void Line(std::string_view line) override;
  void LineFromAnyThread(std::string_view line) override;

  // The window that takes kLogLineMessage; null when it is gone. UI thread.
  void SetWindow(HWND window) { window_ = window; }

  // Borrowed until the next call; null when there is none. What was logged before shows with the
  // first line logged after. UI thread.
  void SetPanel(LogPanel* panel) { panel_ = panel; }

  // Every line so far, each with CR LF. UI thread.
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
  LogPanel* panel_ = nullptr;
  std::atomic<HWND> window_ = nullptr;
};

}  // namespace wendra
