#include "devruntime/webview2/page_window_win.h"

#include <mutex>
#include <utility>

#include "base/thread.h"
#include "devruntime/webview2/clipboard_win.h"
#include "devruntime/webview2/key_input_win.h"
#include "devruntime/webview2/module_win.h"
#include "devruntime/webview2/ui_queue_win.h"
#include "json/objects.h"
#include "win/owned_message.h"
#include "win/wide.h"
#include "win/window_class.h"

namespace wendra {
namespace {

constexpr wchar_t kWindowClass[] = L"WendraDevRuntimePage";
constexpr UINT kQuitMessage = WM_APP + 1;
constexpr UINT kFocusMessage = WM_APP + 2;
constexpr UINT kBitmapMessage = WM_APP + 3;
constexpr UINT kCopyMessage = WM_APP + 4;  // lParam: an owned std::wstring
constexpr DWORD kCloseTimeoutMs = 2'000;
// Wine keeps painted pixels in memory for up to 50 ms before they are on the display.
constexpr UINT_PTR kPaintedTimer = 1;
constexpr UINT kPaintedDelayMs = 100;

void RegisterWindowClass() {
  // Each window gets its own procedure once it has its object.
  WNDCLASSEXW windowClass = MakeWindowClass(ThisModule(), kWindowClass, &DefWindowProcW);
  windowClass.style = CS_DBLCLKS;
  (void)RegisterClassExW(&windowClass);  // fails the second time: the class exists already
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

void DrawBitmap(HDC dc, const Bitmap& bitmap) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = bitmap.widthPx;
  info.bmiHeader.biHeight = -bitmap.heightPx;  // negative: the top row is the first
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  const auto rows = static_cast<UINT>(bitmap.heightPx);
  SetDIBitsToDevice(dc, 0, 0, static_cast<DWORD>(bitmap.widthPx), rows, 0, 0, 0, rows,
                    bitmap.pixels.data(), &info, DIB_RGB_COLORS);
}

}  // namespace

std::shared_ptr<PageWindow> PageWindow::Open(HWND parent, std::shared_ptr<const EventFile> events,
                                             std::function<void(bool)> onOpened,
                                             FocusReceivers focus) {
  std::shared_ptr<PageWindow> window(new PageWindow(std::move(events), std::move(focus)));
  window->finished_.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  window->decoder_ = FrameDecoder::Start([weak = std::weak_ptr<PageWindow>(window)](auto bitmap) {
    if (const auto self = weak.lock()) self->OnBitmap(std::move(bitmap));
  });
  // The thread owns a share until its window is gone.
  (void)StartDetachedThread(
      [window, parent, onOpened = std::move(onOpened)] { window->Run(parent, onOpened); });
  return window;
}

void PageWindow::Run(HWND parent, const std::function<void(bool)>& onOpened) {
  const bool isCreated = Create(parent);
  onOpened(isCreated);
  if (isCreated) RunMessageLoop();
  window_ = nullptr;
  decoder_->Stop();
  SetEvent(finished_.Get());
}

bool PageWindow::Create(HWND parent) {
  RegisterWindowClass();
  const HWND window =
      CreateWindowExW(WS_EX_NOPARENTNOTIFY, kWindowClass, L"", WS_CHILD | WS_CLIPSIBLINGS, 0, 0, 0,
                      0, parent, nullptr, ThisModule(), nullptr);
  if (!window) return false;
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&PageWindow::WindowProcedure));
  window_ = window;
  return true;
}

void PageWindow::RunMessageLoop() {
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (message.message == WM_KEYDOWN || message.message == WM_SYSKEYDOWN) {
      OnKeyDown(message);
      if (message.message == WM_KEYDOWN) continue;
    }
    DispatchMessageW(&message);  // also WM_SYSKEYDOWN: the system handles Alt+F4 and the like
  }
}

LRESULT CALLBACK PageWindow::WindowProcedure(HWND window, UINT message, WPARAM wparam,
                                             LPARAM lparam) {
  auto* self = reinterpret_cast<PageWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) return DefWindowProcW(window, message, wparam, lparam);
  return self->OnMessage(message, wparam, lparam);
}

LRESULT PageWindow::OnMessage(UINT message, WPARAM wparam, LPARAM lparam) {
  if (OnMouse(message, wparam, lparam)) return 0;
  const HWND window = window_;
  switch (message) {
    case WM_PAINT:
      Paint();
      return 0;
    case WM_ERASEBKGND:
      return 1;  // Paint covers everything
    case WM_KEYUP:
      OnKeyUp(wparam, lparam);
      return 0;
    case WM_CHAR:
      OnCharacter(static_cast<wchar_t>(wparam));
      return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      focus_.onFocus(message == WM_SETFOCUS);
      return 0;
    case WM_TIMER:
      KillTimer(window, wparam);
      ReportPainted();
      return 0;
    case kBitmapMessage:
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case kFocusMessage:
      SetFocus(window);
      return 0;
    case kCopyMessage: {
      const auto text = TakeOwned<std::wstring>(lparam);
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

// False: the message is not of the mouse.
bool PageWindow::OnMouse(UINT message, WPARAM wparam, LPARAM lparam) {
  const HWND window = window_;
  const auto event = mouse_.Translate(window, message, wparam, lparam);
  if (!event) return false;
  if (message == WM_LBUTTONDOWN || message == WM_LBUTTONDBLCLK) {
    SetFocus(window);
    SetCapture(window);
  }
  if (message == WM_LBUTTONUP) ReleaseCapture();
  if (const auto page = Page()) page->SendInput("Input.dispatchMouseEvent", *event);
  return true;
}

void PageWindow::OnKeyDown(const MSG& message) {
  TranslateMessage(&message);
  std::wstring text = TranslatedText(message.hwnd);
  const auto page = Page();
  if (!page || HandleEditingKey(*page, message.wParam)) return;
  const Json keyDown = KeyDown(message.wParam, message.lParam, std::move(text));
  if (message.wParam != VK_TAB) return page->SendInput("Input.dispatchKeyEvent", keyDown);
  const bool isBackward = GetKeyState(VK_SHIFT) < 0;
  page->PressTab(keyDown, [onTabOut = focus_.onTabOut, isBackward] { onTabOut(isBackward); });
}

void PageWindow::OnKeyUp(WPARAM wparam, LPARAM lparam) {
  if (const auto page = Page()) page->SendInput("Input.dispatchKeyEvent", KeyUp(wparam, lparam));
}

// A character beyond U+FFFF comes as two messages.
void PageWindow::OnCharacter(wchar_t unit) {
  characters_ += unit;
  if (IS_HIGH_SURROGATE(unit)) return;
  if (const auto page = Page()) page->SendInput("Input.dispatchKeyEvent", Character(characters_));
  characters_.clear();
}

// True: the page does not get the key. F5 and Ctrl+R belong to the browser. The browser has a
// clipboard of its own, so copy, cut and paste move text between it and the Windows clipboard.
bool PageWindow::HandleEditingKey(PageSession& page, WPARAM key) {
  const bool isControl = KeyModifiers() == kControlModifier;
  if (key == VK_F5 || (isControl && key == 'R')) {
    page.Reload();
    return true;
  }
  if (isControl && key == 'V') {
    page.SendInput("Input.insertText", MakeObject({{"text", Narrow(ReadClipboardText(window_))}}));
    return true;
  }
  if (isControl && (key == 'C' || key == 'X')) CopySelection(page);
  return false;
}

// The selection comes on the connection's thread; the window's thread writes it to the clipboard.
void PageWindow::CopySelection(PageSession& page) {
  page.ReadSelection([window = window_.load()](const std::string& selection) {
    if (selection.empty()) return;
    (void)PostOwned(window, kCopyMessage, 0, std::make_unique<std::wstring>(Widen(selection)));
  });
}

void PageWindow::Paint() {
  std::shared_ptr<const Bitmap> bitmap;
  bool owesReport = false;
  {
    const std::lock_guard<Lock> lock(lock_);
    bitmap = bitmap_;
    owesReport = std::exchange(owesPaintedReport_, false);
  }
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(window_, &paint);
  RECT client{};
  GetClientRect(window_, &client);
  if (bitmap) {
    DrawBitmap(dc, *bitmap);
    ExcludeClipRect(dc, 0, 0, bitmap->widthPx, bitmap->heightPx);
  }
  FillRect(dc, &client, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  EndPaint(window_, &paint);
  if (owesReport) SetTimer(window_, kPaintedTimer, kPaintedDelayMs, nullptr);
}

void PageWindow::ReportPainted() { events_->Write(MakeObject({{"event", "painted"}})); }

void PageWindow::OnBitmap(std::shared_ptr<const Bitmap> bitmap) {
  {
    const std::lock_guard<Lock> lock(lock_);
    if (bitmap->isAfterLoad) owesPaintedReport_ = true;
    bitmap_ = std::move(bitmap);
  }
  Post(kBitmapMessage);
}

// A message to no window would go into the calling thread's own queue.
void PageWindow::Post(UINT message) {
  if (const HWND window = window_) (void)PostMessageW(window, message, 0, 0);
}

std::shared_ptr<PageSession> PageWindow::Page() {
  const std::lock_guard<Lock> lock(lock_);
  return page_;
}

void PageWindow::Connect(std::shared_ptr<PageSession> page) {
  const std::lock_guard<Lock> lock(lock_);
  page_ = std::move(page);
}

void PageWindow::Place(const RECT& bounds) {
  SetWindowPos(window_, nullptr, bounds.left, bounds.top, bounds.right - bounds.left,
               bounds.bottom - bounds.top, SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
}

void PageWindow::Show(bool isVisible) { ShowWindowAsync(window_, isVisible ? SW_SHOWNA : SW_HIDE); }

void PageWindow::TakeFocus() { Post(kFocusMessage); }

void PageWindow::SetParentWindow(HWND parent) { SetParent(window_, parent); }

void PageWindow::ShowFrame(PageFrame frame) { decoder_->Push(std::move(frame)); }

void PageWindow::Close() {
  Connect(nullptr);
  Post(kQuitMessage);
  (void)WaitAnsweringSentMessages(finished_.Get(), kCloseTimeoutMs);
}

}  // namespace wendra
