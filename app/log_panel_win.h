// Shows the log as read-only text at the bottom of the main window.
#pragma once

#include <cstddef>
#include <string>

#include "app/layout.h"
#include "win/unique.h"

namespace wendra {

// UI thread only.
//
// For the user and for every message to the control, the panel holds the whole log with the caret
// at its end. But the control's text is not changed for every line, because a long text is
// expensive to extend: the panel takes over all new text at once, before the control handles its
// next message, and 50 ms after a new line at the latest while it is visible.
class LogPanel {
 public:
  // Makes the hidden control in `parent`. Borrows `logText`, which must only grow. If the system
  // makes no control, the panel does nothing.
  LogPanel(HWND parent, HINSTANCE instance, const std::string& logText);
  ~LogPanel();
  LogPanel(const LogPanel&) = delete;
  LogPanel& operator=(const LogPanel&) = delete;

  // Call after `logText` has grown.
  void OnLogGrown();

  void SetVisible(bool isVisible);
  bool IsVisible() const { return isVisible_; }
  void Move(const Box& box);

 private:
  static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam,
                                    UINT_PTR id, DWORD_PTR self);
  void TakeOverNewText();
  void MoveCaretToEnd();

  const std::string& logText_;
  size_t shownBytes_ = 0;  // how much of logText_ the control holds
  bool isStale_ = false;   // logText_ holds more than the control
  bool isVisible_ = false;
  Font font_;
  HWND edit_ = nullptr;  // the parent window destroys it
};

}  // namespace wendra
