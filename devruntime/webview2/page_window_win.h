// The window that shows the page: a child of the host's window. It has a thread of its own, so keys
// pressed in the page do not pass through the host's message loop.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "base/lock.h"
#include "devruntime/base/event_file_win.h"
#include "devruntime/webview2/frame_decoder_win.h"
#include "devruntime/webview2/mouse_input_win.h"
#include "devruntime/webview2/page_session_win.h"
#include "win/unique.h"

#include <windows.h>

namespace wendra {

class PageWindow : public std::enable_shared_from_this<PageWindow> {
 public:
  // Any of the stand-in's threads calls them.
  struct FocusReceivers {
    std::function<void(bool)> onFocus;   // the window has got (true) or lost the keyboard
    std::function<void(bool)> onTabOut;  // Tab, or Shift+Tab (true), has left the page
  };

  // Makes the window, hidden and without size. `onOpened` is called on the window's thread; false
  // when the window cannot be made. Making it sends messages to `parent`, so the parent's thread
  // must go on answering them.
  static std::shared_ptr<PageWindow> Open(HWND parent, std::shared_ptr<const EventFile> events,
                                          std::function<void(bool)> onOpened, FocusReceivers focus);

  // The page that gets mouse and keyboard. Any thread.
  void Connect(std::shared_ptr<PageSession> page);

  // Any thread. None of them waits for the window's thread.
  void Place(const RECT& bounds);  // in pixels of the parent's client area
  void Show(bool isVisible);
  void TakeFocus();
  void SetParentWindow(HWND parent);
  void ShowFrame(PageFrame frame);

  // Destroys the window and waits for that, on a thread that may own the parent. The second call
  // does nothing.
  void Close();

  // Null before the window is made and after it is gone.
  HWND Handle() const { return window_; }

 private:
  PageWindow(std::shared_ptr<const EventFile> events, FocusReceivers focus)
      : events_(std::move(events)), focus_(std::move(focus)) {}

  static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  void Run(HWND parent, const std::function<void(bool)>& onOpened);
  bool Create(HWND parent);
  void RunMessageLoop();
  LRESULT OnMessage(UINT message, WPARAM wparam, LPARAM lparam);
  bool OnMouse(UINT message, WPARAM wparam, LPARAM lparam);
  void OnKeyDown(const MSG& message);
  void OnKeyUp(WPARAM wparam, LPARAM lparam);
  void OnCharacter(wchar_t unit);
  bool HandleEditingKey(PageSession& page, WPARAM key);
  void CopySelection(PageSession& page);
  void Paint();
  void ReportPainted();
  void OnBitmap(std::shared_ptr<const Bitmap> bitmap);
  void Post(UINT message);
  std::shared_ptr<PageSession> Page();

  const std::shared_ptr<const EventFile> events_;
  const FocusReceivers focus_;
  std::shared_ptr<FrameDecoder> decoder_;
  KernelHandle finished_;  // signalled when the thread no longer uses the window
  std::atomic<HWND> window_ = nullptr;

  // The window's thread only.
  MouseInput mouse_;
  std::wstring characters_;  // the first half of a surrogate pair

  Lock lock_;  // guards the members below
  std::shared_ptr<PageSession> page_;
  std::shared_ptr<const Bitmap> bitmap_;
  bool owesPaintedReport_ = false;  // a bitmap from after a load has not been painted yet
};

}  // namespace wendra
