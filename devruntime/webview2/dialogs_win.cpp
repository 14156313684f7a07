#include "devruntime/webview2/dialogs_win.h"

#include <utility>

#include "base/thread.h"
#include "win/wide.h"

#include <windows.h>

namespace wendra {
namespace {

std::wstring BoxText(const std::string& type, const std::string& message) {
  if (type == "beforeunload") return L"Leave this page? Changes may not be saved.";
  return Widen(message);
}

}  // namespace

void AnswerDialog(DialogAnswer answer, const std::string& type, const std::string& message,
                  const std::string& defaultText, DialogDone done) {
  if (answer != DialogAnswer::kAsk) {
    done(answer == DialogAnswer::kAccept, defaultText);
    return;
  }
  // No owner window: it belongs to another thread, and the two threads would wait for each other.
  (void)StartDetachedThread([text = BoxText(type, message), isAlert = type == "alert", defaultText,
                             done = std::move(done)] {
    const UINT buttons = isAlert ? MB_OK : MB_OKCANCEL;
    const int pressed = MessageBoxW(nullptr, text.c_str(), L"Page", buttons | MB_TOPMOST);
    done(pressed == IDOK, defaultText);
  });
}

}  // namespace wendra
