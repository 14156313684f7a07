// Dialogs of a page: alert, confirm, prompt, beforeunload. The page stops until each is answered.
#pragma once

#include <functional>
#include <string>

#include "devruntime/webview2/settings_win.h"

namespace wendra {

// Gets the answer, and the text of a prompt. Called once. When the settings give the answer, it is
// called before AnswerDialog returns; otherwise later, on a thread of its own.
using DialogDone = std::function<void(bool isAccepted, const std::string& text)>;

// Does not block. `type` is the protocol's word. A message box has no edit field, so an accepted
// prompt answers with its default text. Any thread.
void AnswerDialog(DialogAnswer answer, const std::string& type, const std::string& message,
                  const std::string& defaultText, DialogDone done);

}  // namespace wendra
