// The window that the page is seen in: a child of the host's window, on a thread of its own, so
// that keys pressed in the page do not pass through the host's message loop.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <windows.h>

#include "devruntime/webview2/event_file_win.h"
#include "devruntime/webview2/frame_decoder_win.h"
#include "devruntime/webview2/mouse_input_win.h"
#include "devruntime/webview2/page_session_win.h"
#include "win/unique.h"

namespace wendra {

class PageWindow : public std::enable_shared_from_this<PageWindow> {
 public:
  // Makes the window, hidden and without size, and tells `onOpened` on the window's thread whether
  // that went well. Making it sends messages to `parent`, whose thread must therefore go on
  // answering them.
  static std::shared_ptr<PageWindow> Open(HWND parent, std::shared_ptr<const EventFile> events,
                                          std::function<void(bool)> onOpened);

  // The page that mouse and keyboard act on. Any thread.
  void Connect(std::shared_ptr<PageSession> page);

  // Any thread; none of them waits for the window's thread.
  void Place(const RECT& bounds);  // in pixels of the parent's client area
  void Show(bool visible);
  void TakeFocus();
  void SetParentWindow(HWND parent);
  void ShowFrame(PageFrame frame);

  // Destroys the window and waits for it, on a thread that may own the parent. Idempotent.
  void Close();

  // Null until it is made and after it is gone.
  HWND Handle() const { return window_; }

 private:
  explicit PageWindow(std::shared_ptr<const EventFile> events) : events_(std::move(events)) {}

  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  void Run(HWND parent, const std::function<void(bool)>& onOpened);
  bool Create(HWND parent);
  void Pump();
  void TakeKeyDown(const MSG& message);
  void TakeCharacter(wchar_t unit);
  bool TakeEditingKey(WPARAM key);
  LRESULT Handle(UINT message, WPARAM wparam, LPARAM lparam);
  void Paint();
  void TellPainted();
  void TakeBitmap(std::shared_ptr<const Bitmap> bitmap);
  void Post(UINT message);
  std::shared_ptr<PageSession> Page();

  const std::shared_ptr<const EventFile> events_;
  std::shared_ptr<FrameDecoder> decoder_;
  KernelHandle finished_;  // signalled when the thread has done with the window
  std::atomic<HWND> window_ = nullptr;
  MouseInput mouse_;         // window's thread
  std::wstring characters_;  // likewise: the first half of a character that comes in two

  std::mutex mutex_;
  std::shared_ptr<PageSession> page_;
  std::shared_ptr<const Bitmap> bitmap_;
  bool paintedOwed_ = false;  // a bitmap from after a load has come and was not yet painted
};

}  // namespace wendra
