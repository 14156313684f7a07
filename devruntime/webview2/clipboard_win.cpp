#include "devruntime/webview2/clipboard_win.h"

#include <cstring>

namespace wendra {
namespace {

class OpenedClipboard {
 public:
  explicit OpenedClipboard(HWND owner) : open_(OpenClipboard(owner)) {}
  ~OpenedClipboard() {
    if (open_) CloseClipboard();
  }
  OpenedClipboard(const OpenedClipboard&) = delete;
  OpenedClipboard& operator=(const OpenedClipboard&) = delete;
  explicit operator bool() const { return open_ != FALSE; }

 private:
  BOOL open_;
};

}  // namespace

std::wstring ReadClipboardText(HWND owner) {
  const OpenedClipboard clipboard(owner);
  const HANDLE data = clipboard ? GetClipboardData(CF_UNICODETEXT) : nullptr;
  if (!data) return {};
  const auto* text = static_cast<const wchar_t*>(GlobalLock(data));
  std::wstring copy = text ? text : L"";
  GlobalUnlock(data);
  return copy;
}

void WriteClipboardText(HWND owner, const std::wstring& text) {
  const OpenedClipboard clipboard(owner);
  if (!clipboard || !EmptyClipboard()) return;
  const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
  if (!memory) return;
  std::memcpy(GlobalLock(memory), text.c_str(), bytes);
  GlobalUnlock(memory);
  if (!SetClipboardData(CF_UNICODETEXT, memory)) GlobalFree(memory);  // else the system's now
}

}  // namespace wendra
