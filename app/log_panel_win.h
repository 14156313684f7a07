// The read-only text at the bottom of the window that shows the log.
#pragma once

#include <cstddef>
#include <string>

#include "app/layout.h"
#include "win/unique.h"

namespace wendra {

// UI thread only.
//
// To everyone who looks, by eye or by message, the panel holds the whole log after every line, with
// the caret at its end. A line nevertheless costs the same after a day as in the first minute: the
// control takes over what is new only when it is looked at (by any message, or 50 ms later while it
// is visible), and then all of it at once.
class LogPanel {
 public:
  // Makes the hidden control in `parent`. Borrows `logText`, which only ever grows.
  LogPanel(HWND parent, HINSTANCE instance, const std::string& logText);
  ~LogPanel();
  LogPanel(const LogPanel&) = delete;
  LogPanel& operator=(const LogPanel&) = delete;

  // `logText` has grown.
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
  size_t shownBytes_ = 0;  // of logText_, that the control holds
  bool isStale_ = false;   // the control must take over the rest before anyone looks
  bool isVisible_ = false;
  Font font_;
  HWND edit_ = nullptr;  // a child: goes with its parent
};

}  // namespace wendra
