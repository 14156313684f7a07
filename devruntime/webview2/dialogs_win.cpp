#include "devruntime/webview2/dialogs_win.h"

#include <thread>
#include <utility>

#include "win/wide.h"

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
  // Without an owner window: an owner on another thread would make the two wait for each other.
  std::thread([text = BoxText(type, message), alert = type == "alert", defaultText,
               done = std::move(done)] {
    const UINT buttons = alert ? MB_OK : MB_OKCANCEL;
    const int pressed = MessageBoxW(nullptr, text.c_str(), L"Page", buttons | MB_TOPMOST);
    done(pressed == IDOK, defaultText);
  }).detach();
}

}  // namespace wendra
