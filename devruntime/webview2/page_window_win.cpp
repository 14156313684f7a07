#include "devruntime/webview2/page_window_win.h"

#include <string>
#include <thread>
#include <utility>

#include "devruntime/webview2/clipboard_win.h"
#include "devruntime/webview2/key_input_win.h"
#include "devruntime/webview2/module_win.h"
#include "devruntime/webview2/ui_queue_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr wchar_t kClassName[] = L"WendraDevRuntimePage";
constexpr UINT kQuitMessage = WM_APP + 1;
constexpr UINT kFocusMessage = WM_APP + 2;
constexpr UINT kBitmapMessage = WM_APP + 3;
constexpr UINT kCopyMessage = WM_APP + 4;  // lparam: a std::wstring, ours from then on
constexpr DWORD kCloseTimeoutMs = 2'000;
// Wine keeps what was painted in memory for up to 50 ms before it is on the display.
constexpr UINT_PTR kPaintedTimer = 1;
constexpr UINT kPaintedDelayMs = 100;

void RegisterPageClass() {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.style = CS_DBLCLKS;
  windowClass.hInstance = ThisModule();
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.lpszClassName = kClassName;
  windowClass.lpfnWndProc = &DefWindowProcW;  // each window sets its own, with its object
  RegisterClassExW(&windowClass);             // fails from the second time on, which does no harm
}

// The characters that TranslateMessage has just made of a key.
std::wstring TranslatedText(HWND window) {
  std::wstring text;
  MSG message;
  while (PeekMessageW(&message, window, WM_CHAR, WM_CHAR, PM_REMOVE)) {
    text += static_cast<wchar_t>(message.wParam);
  }
  return text;
}

}  // namespace

std::shared_ptr<PageWindow> PageWindow::Open(HWND parent, std::shared_ptr<const EventFile> events,
                                             std::function<void(bool)> onOpened) {
  std::shared_ptr<PageWindow> window(new PageWindow(std::move(events)));
  window->finished_.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  window->decoder_ = FrameDecoder::Start([weak = std::weak_ptr<PageWindow>(window)](auto bitmap) {
    if (const auto self = weak.lock()) self->TakeBitmap(std::move(bitmap));
  });
  // The thread owns a share until its window is gone.
  std::thread([window, parent, onOpened = std::move(onOpened)] {
    window->Run(parent, onOpened);
  }).detach();
  return window;
}

void PageWindow::Run(HWND parent, const std::function<void(bool)>& onOpened) {
  const bool created = Create(parent);
  onOpened(created);
  if (created) Pump();
  window_ = nullptr;
  decoder_->Stop();
  SetEvent(finished_.Get());
}

bool PageWindow::Create(HWND parent) {
  RegisterPageClass();
  const HWND window =
      CreateWindowExW(WS_EX_NOPARENTNOTIFY, kClassName, L"", WS_CHILD | WS_CLIPSIBLINGS, 0, 0, 0, 0,
                      parent, nullptr, ThisModule(), nullptr);
  if (!window) return false;
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&PageWindow::WindowProc));
  window_ = window;
  return true;
}

void PageWindow::Pump() {
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (message.message == WM_KEYDOWN || message.message == WM_SYSKEYDOWN) {
      TakeKeyDown(message);
      if (message.message == WM_KEYDOWN) continue;
    }
    DispatchMessageW(&message);  // Alt+F4 and its like go on to the system
  }
}

void PageWindow::TakeKeyDown(const MSG& message) {
  TranslateMessage(&message);
  std::wstring text = TranslatedText(message.hwnd);
  const auto page = Page();
  if (!page || TakeEditingKey(message.wParam)) return;
  page->SendInput("Input.dispatchKeyEvent",
                  KeyDown(message.wParam, message.lParam, std::move(text)));
}

// Characters beyond the first 65,536 come as two messages.
void PageWindow::TakeCharacter(wchar_t unit) {
  characters_ += unit;
  if (IS_HIGH_SURROGATE(unit)) return;
  const auto page = Page();
  if (page) page->SendInput("Input.dispatchKeyEvent", Character(characters_));
  characters_.clear();
}

// The browser has a clipboard of its own, which nobody else sees: text is carried between it and
// the Windows clipboard here. F5 and Ctrl+R are the browser's keys, not the page's. True: the page
// does not get the key.
bool PageWindow::TakeEditingKey(WPARAM key) {
  const bool control = KeyModifiers() == kControlModifier;
  const auto page = Page();
  if (key == VK_F5 || (control && key == 'R')) {
    page->Reload();
    return true;
  }
  if (control && key == 'V') {
    page->SendInput("Input.insertText", MakeObject({{"text", Narrow(ReadClipboardText(window_))}}));
    return true;
  }
  if (control && (key == 'C' || key == 'X')) {
    page->ReadSelection([window = window_.load()](const std::string& selection) {
      if (selection.empty() || !window) return;
      auto text = std::make_unique<std::wstring>(Widen(selection));
      if (PostMessageW(window, kCopyMessage, 0, reinterpret_cast<LPARAM>(text.get()))) {
        (void)text.release();  // the window's from here
      }
    });
  }
  return false;
}

LRESULT CALLBACK PageWindow::WindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  auto* self = reinterpret_cast<PageWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) return DefWindowProcW(window, message, wparam, lparam);
  return self->Handle(message, wparam, lparam);
}

LRESULT PageWindow::Handle(UINT message, WPARAM wparam, LPARAM lparam) {
  const HWND window = window_;
  if (const auto event = mouse_.Translate(window, message, wparam, lparam)) {
    if (message == WM_LBUTTONDOWN || message == WM_LBUTTONDBLCLK) {
      SetFocus(window);
      SetCapture(window);
    }
    if (message == WM_LBUTTONUP) ReleaseCapture();
    if (const auto page = Page()) page->SendInput("Input.dispatchMouseEvent", *event);
    return 0;
  }
  switch (message) {
    case WM_PAINT:
      Paint();
      return 0;
    case WM_ERASEBKGND:
      return 1;  // Paint covers everything
    case WM_KEYUP:
      if (const auto page = Page()) {
        page->SendInput("Input.dispatchKeyEvent", KeyUp(wparam, lparam));
      }
      return 0;
    case WM_CHAR:
      TakeCharacter(static_cast<wchar_t>(wparam));
      return 0;
    case WM_TIMER:
      KillTimer(window, wparam);
      TellPainted();
      return 0;
    case kBitmapMessage:
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case kFocusMessage:
      SetFocus(window);
      return 0;
    case kCopyMessage: {
      const std::unique_ptr<std::wstring> text(reinterpret_cast<std::wstring*>(lparam));
      WriteClipboardText(window, *text);
      return 0;
    }
    case kQuitMessage:
      DestroyWindow(window);
      return 0;
    case WM_NCDESTROY:
      SetWindowLongPtrW(window, GWLP_USERDATA, 0);
      PostQuitMessage(0);
      break;
    default:
      break;
  }
  return DefWindowProcW(window, message, wparam, lparam);
}

void PageWindow::Paint() {
  std::shared_ptr<const Bitmap> bitmap;
  bool owed = false;
  {
    const std::lock_guard lock(mutex_);
    bitmap = bitmap_;
    owed = std::exchange(paintedOwed_, false);
  }
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(window_, &paint);
  RECT client{};
  GetClientRect(window_, &client);
  if (bitmap) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = bitmap->width;
    info.bmiHeader.biHeight = -bitmap->height;  // top row first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    SetDIBitsToDevice(
        dc, 0, 0, static_cast<DWORD>(bitmap->width), static_cast<DWORD>(bitmap->height), 0, 0, 0,
        static_cast<UINT>(bitmap->height), bitmap->pixels.data(), &info, DIB_RGB_COLORS);
    ExcludeClipRect(dc, 0, 0, bitmap->width, bitmap->height);
  }
  FillRect(dc, &client, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  EndPaint(window_, &paint);
  if (owed) SetTimer(window_, kPaintedTimer, kPaintedDelayMs, nullptr);
}

void PageWindow::TellPainted() { events_->Write(MakeObject({{"event", "painted"}})); }

void PageWindow::TakeBitmap(std::shared_ptr<const Bitmap> bitmap) {
  {
    const std::lock_guard lock(mutex_);
    paintedOwed_ = paintedOwed_ || bitmap->afterLoad;
    bitmap_ = std::move(bitmap);
  }
  Post(kBitmapMessage);
}

// Without a window nothing may be posted: it would end up in the caller's own queue.
void PageWindow::Post(UINT message) {
  if (const HWND window = window_) PostMessageW(window, message, 0, 0);
}

std::shared_ptr<PageSession> PageWindow::Page() {
  const std::lock_guard lock(mutex_);
  return page_;
}

void PageWindow::Connect(std::shared_ptr<PageSession> page) {
  const std::lock_guard lock(mutex_);
  page_ = std::move(page);
}

void PageWindow::Place(const RECT& bounds) {
  SetWindowPos(window_, nullptr, bounds.left, bounds.top, bounds.right - bounds.left,
               bounds.bottom - bounds.top, SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
}

void PageWindow::Show(bool visible) { ShowWindowAsync(window_, visible ? SW_SHOWNA : SW_HIDE); }

void PageWindow::TakeFocus() { Post(kFocusMessage); }

void PageWindow::SetParentWindow(HWND parent) { SetParent(window_, parent); }

void PageWindow::ShowFrame(PageFrame frame) { decoder_->Push(std::move(frame)); }

void PageWindow::Close() {
  Connect(nullptr);
  Post(kQuitMessage);
  WaitAnsweringSentMessages(finished_.Get(), kCloseTimeoutMs);
}

}  // namespace wendra
