#include "app/window_log_win.h"

#include <memory>

#include "win/messages.h"
#include "win/owned_message.h"
#include "win/wide.h"

namespace wendra {
namespace {

void WriteToDebugger(std::string_view line) {
  std::string text = "[Wendra] ";
  text += line;
  text += '\n';
  OutputDebugStringW(Widen(text).c_str());
}

}  // namespace

void WindowLog::Line(std::string_view line) {
  text_ += line;
  text_ += "\r\n";
  if (panel_) panel_->OnLogGrown();
  WriteToDebugger(line);
}

void WindowLog::LineFromAnyThread(std::string_view line) {
  const HWND window = window_;
  if (!window) return WriteToDebugger(line);
  // Posted on the UI thread too, so that lines keep their order. If the window is just being
  // destroyed or its queue is full, the line is lost.
  (void)PostOwned(window, kLogLineMessage, 0, std::make_unique<std::string>(line));
}

}  // namespace wendra
