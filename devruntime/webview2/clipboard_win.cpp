#include "devruntime/webview2/clipboard_win.h"

#include <cstring>

namespace wendra {
namespace {

// Opens the clipboard for one scope; false when another program has it open.
class OpenedClipboard {
 public:
  explicit OpenedClipboard(HWND owner) : isOpen_(OpenClipboard(owner) != FALSE) {}
  ~OpenedClipboard() {
    if (isOpen_) CloseClipboard();
  }
  OpenedClipboard(const OpenedClipboard&) = delete;
  OpenedClipboard& operator=(const OpenedClipboard&) = delete;

  explicit operator bool() const { return isOpen_; }

 private:
  const bool isOpen_;
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
  // On success the system owns the memory.
  if (!SetClipboardData(CF_UNICODETEXT, memory)) GlobalFree(memory);
}

}  // namespace wendra
